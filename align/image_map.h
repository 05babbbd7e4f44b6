#pragma once

#include <optional>
#include <variant>
#include <vector>

#include "align/poly_transform.h"
#include "api/lens.h"
#include "api/point.h"
#include "api/resample.h"

namespace vyn {

/// Where each pixel of an output picture is seen in a source picture, in pixels: polynomials and a
/// lens, gone through one after the other. However many they are, the source is sampled once.
/// Without any it is the identity.
class ImageMap {
  public:
    /// Adds what comes next on the way from the output to the source. A polynomial with a wrong
    /// number of coefficients raises AlgoError.
    ImageMap& then(const PolyTransform& map);
    /// From the picture without distortion to what the camera saw.
    ImageMap& then(const Distortion& lens);
    /// All parts of another map.
    ImageMap& then(const ImageMap& map);

    bool empty() const { return parts_.empty(); }

    /// Where the source shows the point. Not finite where a lens diverges.
    Point at(Point output) const;

    /// The output point whose place in the source this is: the lens in closed form, polynomials by
    /// Newton's method. Nothing where that leads nowhere.
    std::optional<Point> inverse(Point source) const;

    /// How the source point moves with the output point, there.
    Jacobian derivative(Point output) const;

    /// The map for whole rows, with the bits of `at` where there is no lens (whose rows may be off
    /// by a rounding at its centre).
    RowMap rows() const;

  private:
    using Part = std::variant<PolyTransform, Distortion>;
    std::vector<Part> parts_;
};

}  // namespace vyn
