#pragma once

#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include "align/displacement_field.h"
#include "align/poly_transform.h"
#include "api/lens.h"
#include "api/point.h"
#include "api/resample.h"

namespace vyn {

/// Where each pixel of an output picture is seen in a source picture, in pixels: polynomials,
/// displacement fields and a lens, gone through one after the other. However many they are, the
/// source is sampled once. Without any it is the identity.
class ImageMap {
  public:
    /// Adds what comes next on the way from the output to the source. A polynomial with a wrong
    /// number of coefficients raises AlgoError.
    ImageMap& then(const PolyTransform& map);
    /// Never null.
    ImageMap& then(std::shared_ptr<const DisplacementField> field);
    /// From the picture without distortion to what the camera saw.
    ImageMap& then(const Distortion& lens);
    /// All parts of another map.
    ImageMap& then(const ImageMap& map);

    bool empty() const { return parts_.empty(); }

    /// Where the source shows the point. Not finite where a lens diverges.
    Point at(Point output) const;

    /// The output point whose place in the source this is: the lens in closed form, polynomials and
    /// displacements by Newton's method. Nothing where that leads nowhere, as behind a fold.
    std::optional<Point> inverse(Point source) const;

    /// How the source point moves with the output point, there.
    Jacobian derivative(Point output) const;

    /// The map for whole rows: the positions of `at`, but for the rounding of a displacement and
    /// for what the iteration of a lens leaves, some 1e-7 of the offset from its centre.
    RowMap rows() const;

  private:
    using Field = std::shared_ptr<const DisplacementField>;
    using Part = std::variant<PolyTransform, Field, Distortion>;
    std::vector<Part> parts_;
};

}  // namespace vyn
