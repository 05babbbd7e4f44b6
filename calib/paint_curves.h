#pragma once

#include <array>
#include <vector>

#include "calib/paint.h"

namespace vyn {

/// The law P(R) at one temperature, for drawing: from the smallest to the largest ratio.
struct PaintCurve {
    double temperature = 0;
    std::vector<double> ratios;
    std::vector<double> pressures;
};

/// The law at three temperatures as they enter it: the bounds of the paint's range with the
/// normalizing temperature between them (their middle when it lies elsewhere), or 10 degrees to
/// either side of the normalizing one without a range. The ratios are those at which the middle
/// curve gives the paint's pressures, or 0 to 2 when it does not give them. Coldest curve first.
std::array<PaintCurve, 3> paint_curves(const paintFeatures& paint);

}  // namespace vyn
