#include "api/image_list.h"

#include <utility>

#include "core/errors.h"

namespace vyn {

std::shared_ptr<const image> imagesList::find(std::string_view name) const {
    const std::lock_guard lock(mutex_);
    const auto found = images_.find(name);
    return found == images_.end() ? nullptr : found->second;
}

void imagesList::add(image&& picture) {
    add(std::make_shared<const image>(std::move(picture)));
}

void imagesList::add(std::shared_ptr<const image> picture) {
    if (!picture) throw AlgoError("Algorithm error!", "no image to publish");
    // The replaced image is freed outside the lock.
    const std::lock_guard lock(mutex_);
    images_[picture->name].swap(picture);
    ++revision_;
}

bool imagesList::remove(std::string_view name) {
    std::shared_ptr<const image> removed;
    const std::lock_guard lock(mutex_);
    const auto found = images_.find(name);
    if (found == images_.end()) return false;
    removed = std::move(found->second);
    images_.erase(found);
    ++revision_;
    return true;
}

void imagesList::clear() {
    decltype(images_) removed;
    const std::lock_guard lock(mutex_);
    images_.swap(removed);
    ++revision_;
}

std::vector<std::string> imagesList::names() const {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> result;
    result.reserve(images_.size());
    for (const auto& [name, picture] : images_)
        result.push_back(name);
    return result;
}

std::vector<std::shared_ptr<const image>> imagesList::all() const {
    const std::lock_guard lock(mutex_);
    std::vector<std::shared_ptr<const image>> result;
    result.reserve(images_.size());
    for (const auto& [name, picture] : images_)
        result.push_back(picture);
    return result;
}

std::uint64_t imagesList::revision() const {
    const std::lock_guard lock(mutex_);
    return revision_;
}

imagesList& get_images() {
    static imagesList images;
    return images;
}

}  // namespace vyn
