#pragma once

#include <array>

#include "api/image.h"

namespace vyn {

/// A pixel of an image: column x, row y.
struct Pixel {
    int x = 0;
    int y = 0;
    bool operator==(const Pixel&) const = default;
};

/// Coefficients of I(x, y) = c0 + c1 x + c2 y + c3 x^2 + c4 y^2 + c5 x y in whole-image pixels.
using SurfaceCoefficients = std::array<double, 6>;

/// Least-squares surface over the valid pixels of the box from one corner to the other, both
/// inclusive; what lies outside the image is left out. A curvature too small for 32-bit pixels to
/// show is exactly 0. The outcome goes to the log; false, with the coefficients unchanged, when
/// the pixels do not determine a surface. Raises AlgoError when the image lacks values or mask.
bool Approx_surface(const image& picture, Pixel corner0, Pixel corner1,
                    SurfaceCoefficients& coefficients);

}  // namespace vyn
