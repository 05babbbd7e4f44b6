#pragma once

#include <QObject>
#include <cstdint>
#include <future>
#include <utility>

#include "process/project/recovery_copy.h"

namespace vyn {

/// Keeps a recovery copy of the project while it has unsaved changes, and none while it has not.
/// The file is written by another thread, so that a slow disk does not hold up the window.
class RecoveryKeeper : public QObject {
    Q_OBJECT
  public:
    explicit RecoveryKeeper(const std::filesystem::path& folder, QObject* parent = nullptr);
    ~RecoveryKeeper() override;

    /// Writes or removes the copy where that is due. Called by a timer.
    void look();
    /// The copy could not be written; told once until it can be again.
    Q_SIGNAL void failed();

    /// The user gave up what is unsaved: the copy goes, and nothing is kept any more.
    void stop();

  private:
    void note_written(bool well);

    RecoveryCopy copy_;
    std::pair<std::uint64_t, std::uint64_t> kept_revision_;  ///< of settings and images
    bool kept_ = false;
    bool stopped_ = false;
    std::future<bool> writing_;  ///< whether it went well
    bool told_ = false;
};

}  // namespace vyn
