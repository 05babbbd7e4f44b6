#pragma once

#include <QObject>
#include <cstdint>
#include <memory>
#include <string>

#include "api/image_list.h"

namespace vyn {

/// Tells when the image of a name in a list was replaced or removed, by whatever thread: looks ten
/// times a second whether the list changed at all.
class ImageWatcher : public QObject {
    Q_OBJECT
  public:
    explicit ImageWatcher(QObject* parent = nullptr);

    /// Starts afresh with the image that the list holds now.
    void watch(std::shared_ptr<const imagesList> list, std::string name);
    /// The image as of the last look; null when there is none.
    const std::shared_ptr<const image>& current() const { return current_; }
    /// Looks now.
    void look();

  Q_SIGNALS:
    /// `current` is another image, or none any more.
    void changed();

  protected:
    void timerEvent(QTimerEvent* event) override;

  private:
    std::shared_ptr<const imagesList> list_;
    std::string name_;
    std::shared_ptr<const image> current_;
    std::uint64_t revision_ = 0;
};

}  // namespace vyn
