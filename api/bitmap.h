#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "core/errors.h"

namespace vyn {

/// Memory of planes: 64-byte aligned, contents unspecified. A few freed blocks are kept for the
/// next planes of the same size, because the first touch of fresh memory costs more than a whole
/// per-pixel pass. Thread-safe.
namespace plane_memory {
void* allocate(std::size_t bytes);
void release(void* block, std::size_t bytes) noexcept;
/// Gives the kept blocks back to the system.
void trim() noexcept;
}  // namespace plane_memory

/// Largest width or height of a bitmap, and largest number of its elements.
inline constexpr int max_bitmap_side = 65536;
inline constexpr std::int64_t max_bitmap_count = std::int64_t{1} << 30;

/// A two-dimensional array in one aligned, contiguous allocation: element (x, y), x column and y
/// row, lies at data[y * stride + x]. The stride is padded so that rows start aligned and columns
/// do not fall on the same cache sets.
template <class T>
class Bitmap {
  public:
    Bitmap() = default;
    /// Contents unspecified. Raises DimError for negative or absurd sizes.
    Bitmap(int width, int height) : width_(width), height_(height) {
        if (width < 0 || height < 0 || width > max_bitmap_side || height > max_bitmap_side ||
            std::int64_t{width} * height > max_bitmap_count)
            throw DimError("a bitmap of " + std::to_string(width) + " x " + std::to_string(height) +
                               " elements is out of range",
                           {"api/bitmap_new", 21});
        if (width_ == 0 || height_ == 0) return;
        stride_ = padded_stride(width);
        data_ = static_cast<T*>(plane_memory::allocate(bytes()));
    }
    Bitmap(int width, int height, T value) : Bitmap(width, height) { fill(value); }
    Bitmap(const Bitmap& other) : Bitmap(other.width_, other.height_) {
        if (data_) std::memcpy(data_, other.data_, bytes());
    }
    Bitmap(Bitmap&& other) noexcept { swap(other); }
    Bitmap& operator=(Bitmap other) noexcept {
        swap(other);
        return *this;
    }
    ~Bitmap() {
        if (data_) plane_memory::release(data_, bytes());
    }

    void swap(Bitmap& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(width_, other.width_);
        std::swap(height_, other.height_);
        std::swap(stride_, other.stride_);
    }

    int width() const { return width_; }
    int height() const { return height_; }
    int stride() const { return stride_; }
    std::size_t count() const {
        return static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
    }
    bool empty() const { return data_ == nullptr; }

    T* row(int y) { return data_ + std::ptrdiff_t{y} * stride_; }
    const T* row(int y) const { return data_ + std::ptrdiff_t{y} * stride_; }
    T& operator()(int x, int y) { return row(y)[x]; }
    const T& operator()(int x, int y) const { return row(y)[x]; }
    bool contains(int x, int y) const { return x >= 0 && x < width_ && y >= 0 && y < height_; }

    template <class U>
    bool same_size(const Bitmap<U>& other) const {
        return width_ == other.width() && height_ == other.height();
    }

    void fill(T value) {
        for (std::size_t i = 0, n = bytes() / sizeof(T); i < n; ++i)
            data_[i] = value;
    }

  private:
    /// Rows of 64-byte multiples, an odd number of them.
    static int padded_stride(int width) {
        constexpr int line = 64 / static_cast<int>(sizeof(T));
        return ((width + line - 1) / line | 1) * line;
    }
    std::size_t bytes() const {
        return static_cast<std::size_t>(stride_) * static_cast<std::size_t>(height_) * sizeof(T);
    }

    T* data_ = nullptr;
    int width_ = 0;
    int height_ = 0;
    int stride_ = 0;
};

}  // namespace vyn
