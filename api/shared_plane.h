#pragma once

#include <atomic>
#include <utility>

#include "api/bitmap.h"

namespace vyn {

/// A plane that copies of an image share until one of them is written to, so that publishing an
/// image with other markers or another mask costs no copy of its values.
///
/// Copies may be read and destroyed by different threads. `edit` from several threads at once needs
/// a plane that is not shared any more: call it once before.
template <class T>
class SharedPlane {
  public:
    SharedPlane() = default;
    explicit SharedPlane(Bitmap<T> plane) : block_(new Block(std::move(plane))) {}
    SharedPlane(const SharedPlane& other) noexcept : block_(other.block_) {
        if (block_) block_->users.fetch_add(1, std::memory_order_relaxed);
    }
    SharedPlane(SharedPlane&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
    SharedPlane& operator=(SharedPlane other) noexcept {
        std::swap(block_, other.block_);
        return *this;
    }
    ~SharedPlane() {
        // The analyser lets a std::optional destroy its content twice.
        // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDelete)
        if (block_ && block_->users.fetch_sub(1, std::memory_order_acq_rel) == 1) delete block_;
    }

    const Bitmap<T>& get() const { return block_ ? block_->plane : empty(); }

    /// The plane for writing; becomes this holder's own first.
    Bitmap<T>& edit() {
        if (!block_)
            block_ = new Block(Bitmap<T>());
        else if (block_->users.load(std::memory_order_acquire) != 1)
            *this = SharedPlane(block_->plane);
        return block_->plane;
    }

    /// True when both hold the same memory.
    bool shares_with(const SharedPlane& other) const { return block_ == other.block_; }

  private:
    struct Block {
        explicit Block(Bitmap<T> content) : plane(std::move(content)) {}
        Bitmap<T> plane;
        std::atomic<int> users{1};
    };
    static const Bitmap<T>& empty() {
        static const Bitmap<T> none;
        return none;
    }

    Block* block_ = nullptr;
};

}  // namespace vyn
