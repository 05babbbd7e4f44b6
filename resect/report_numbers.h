#pragma once

#include <string>

#include "resect/resection.h"

namespace vyn {

/// The numbers of one view of an adjustment that is done; `marker_id` and `dot_id` are still
/// indices.
ViewResult view_numbers(const Adjustment& problem, const AdjustmentReport& report,
                        std::size_t view);
/// The residual of a pair that took no part.
MarkerResult marker_numbers(const ViewResult& view, const DotPair& pair);

/// The angle between a plane's normal and the line of sight to its middle, degrees.
double tilt_of(const Pose& pose, const Spread& spread);

/// The freed intrinsic that the markers tell least of, where they do not tell it well enough:
/// sigma above 2 % of the focus, 2 % of the picture's width for the centre, 1 px for the lens at
/// the edge of the markers' hull, or a condition of the normal matrix above 1e8.
struct WeakIntrinsic {
    bool found = false;
    Intrinsic which = Intrinsic::focus;
    std::string words;  ///< "σ 22 %"
};
WeakIntrinsic weakest_intrinsic(const Adjustment& problem, const AdjustmentReport& report);

}  // namespace vyn
