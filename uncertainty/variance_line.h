#pragma once

#include <optional>
#include <vector>

namespace vyn {

/// A measured variance of equally bright pixels.
struct VariancePoint {
    double signal = 0;    ///< counts above dark
    double variance = 0;  ///< counts squared
    double freedom = 1;  ///< degrees of freedom of the variance: its relative error is sqrt(2 / it)
};

/// variance = offset + slope * signal, with the standard errors of both and what the points leave
/// of it: the largest relative departure of a point, and where.
struct VarianceLine {
    double offset = 0;
    double slope = 0;
    double offset_error = 0;
    double slope_error = 0;
    double largest_departure = 0;  ///< of a variance from the line, relative
    double departs_at = 0;         ///< signal there
};

/// Robust weighted fit: weights by the variance that the line itself gives, points beyond Huber's
/// 1.345 deviations weigh less (Huber 1964), neither number below 0. Nothing for fewer than three
/// points or points of one signal.
std::optional<VarianceLine> variance_line(const std::vector<VariancePoint>& points);

}  // namespace vyn
