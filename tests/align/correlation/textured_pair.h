#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "api/image.h"
#include "api/point.h"

namespace vyn::test {

using Displacement2d = std::function<Point(Point)>;

/// A painted plane: light 1 with a texture that is known at every point.
class Texture {
  public:
    enum class Kind {
        gaussians,  ///< sums of Gaussians of one width and random heights
        dots,       ///< dark soft dots of random radii
    };
    /// Root mean square of the texture is `strength`; `size` is the width of the Gaussians, pixels.
    Texture(Kind kind, double size, double strength, int side, std::uint64_t seed);
    double at(Point p) const;

  private:
    struct Spot {
        double x, y, height, radius;
    };
    double raw(Point p) const;
    Kind kind_;
    double size_;
    double reach_;
    double bucket_;
    int buckets_;
    double origin_;
    double mean_ = 0;
    double scale_ = 1;
    std::vector<std::vector<Spot>> spots_;
};

/// How a pair is taken.
struct PairScene {
    int size = 512;  ///< side of the pictures
    Texture::Kind kind = Texture::Kind::gaussians;
    double texture_size = 1;
    double strength = 0.15;  ///< of the texture, of the light
    double noise = 0.05;     ///< white, of the texture
    double counts = 1000;
    double electrons_per_count = 0;  ///< shot noise as well; 0 = none
    /// Wind-off pixel to displacement; smooth and invertible.
    Displacement2d displacement = [](Point) { return Point{}; };
    /// Light of the wind-on picture at a wind-off pixel.
    std::function<double(Point)> gain = [](Point) { return 1.0; };
    /// Whether a wind-off pixel is painted; the ground is `ground` counts.
    std::function<bool(Point)> painted = [](Point) { return true; };
    double ground = 20;
    /// Whether the ground is NaN.
    bool masked_ground = false;
    /// Whether a wind-off pixel's paint has no texture.
    std::function<bool(Point)> bare = [](Point) { return false; };
    std::uint64_t seed = 1;
};

struct TexturedPair {
    image off;
    image on;
};

/// Both pictures evaluated from the texture at each pixel's own point, never resampled.
TexturedPair make_textured_pair(const PairScene& scene);

/// The point that the displacement takes to `seen`.
Point displaced_from(const Displacement2d& displacement, Point seen);

}  // namespace vyn::test
