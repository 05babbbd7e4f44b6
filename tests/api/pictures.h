#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "api/image.h"
#include "core/progress.h"

namespace vyn::test {

/// Runs the kernels of one instruction set for the lifetime of the object.
class UsingIsa {
  public:
    explicit UsingIsa(const char* name);
    ~UsingIsa();
    UsingIsa(const UsingIsa&) = delete;
    UsingIsa& operator=(const UsingIsa&) = delete;
};
inline constexpr const char* isa_names[] = {"base", "avx2", "avx512"};

struct Size {
    int width;
    int height;
};
/// Shapes with one-pixel sides, less than a vector, odd remainders and more than one block.
inline constexpr Size sizes[] = {{1, 1}, {1, 9}, {9, 1}, {2, 2}, {7, 5}, {37, 41}, {301, 67}};

/// Random counts between -20 and 220 with zeros, NaN and infinities among them when `special`, and
/// some excluded pixels of mask bytes 1 and 7.
enum class Values { finite, special };
image random_image(Size size, unsigned seed, Values kind);
/// An image of one row.
image row_of(const std::vector<float>& values, const std::vector<std::uint8_t>& mask);
/// Random 0 and 1 bytes.
Bitmap<std::uint8_t> random_region(Size size, unsigned seed);

/// Of somebody who stops everything at once.
struct Stopped final : Progress {
    bool aborted() const override { return true; }
};

/// Every bit of values, mask and region, each NaN counting as the same.
std::vector<std::uint32_t> bits(const Bitmap<float>& plane);
std::vector<std::uint32_t> bits(const image& picture);

}  // namespace vyn::test
