#include "view/ui/canvas/image_watcher.h"

namespace vyn {

ImageWatcher::ImageWatcher(QObject* parent) : QObject(parent) {
    startTimer(100);
}

void ImageWatcher::watch(std::shared_ptr<const imagesList> list, std::string name) {
    list_ = std::move(list);
    name_ = std::move(name);
    revision_ = list_->revision();
    current_ = list_->find(name_);
}

void ImageWatcher::look() {
    if (!list_) return;
    const std::uint64_t revision = list_->revision();
    if (revision == revision_) return;
    revision_ = revision;
    auto found = list_->find(name_);
    if (found == current_) return;
    current_ = std::move(found);
    Q_EMIT changed();
}

void ImageWatcher::timerEvent(QTimerEvent*) {
    look();
}

}  // namespace vyn
