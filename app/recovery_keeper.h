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
    /// The user gave up what is unsaved: the copy goes, and nothing is kept any more.
    void stop();

  private:
    RecoveryCopy copy_;
    std::pair<std::uint64_t, std::uint64_t> kept_revision_;  ///< of settings and images
    bool kept_ = false;
    bool stopped_ = false;
    std::future<void> writing_;
};

}  // namespace vyn
