#pragma once

#include "align/correlation/masked_plane.h"
#include "align/displacement_field.h"
#include "api/spline.h"

namespace vyn {

/// The wind-on picture of one size, ready to be seen through displacement fields.
class WarpSource {
  public:
    WarpSource(const MaskedPlane& plane, Progress& progress);

    /// The picture whose pixel is the cubic spline at where the field sees it; valid where the
    /// pixel nearest to that is.
    MaskedPlane seen_through(const DisplacementField& field, Progress& progress) const;

  private:
    const Bitmap<std::uint8_t>& valid_;
    const bool complete_;  ///< every pixel is valid
    SplineCoefficients spline_;
};

}  // namespace vyn
