#pragma once

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "api/image.h"

namespace vyn {

/// Remembers something computed from each image for as long as the image lives. Any thread.
template <class T>
class PerImage {
  public:
    template <class Compute>
    T get(const std::shared_ptr<const image>& picture, Compute compute) {
        {
            const std::lock_guard lock(mutex_);
            std::erase_if(known_, [](const auto& entry) { return entry.first.expired(); });
            for (const auto& [owner, value] : known_)
                if (owner.lock() == picture) return value;
        }
        T value = compute(*picture);
        const std::lock_guard lock(mutex_);
        known_.emplace_back(picture, value);
        return value;
    }

  private:
    std::mutex mutex_;
    std::vector<std::pair<std::weak_ptr<const image>, T>> known_;
};

}  // namespace vyn
