#include "process/report/field_comparison.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/errors.h"

namespace vyn {

namespace {

/// Chessboard distance of every pixel to the next one that is excluded in either image or lies
/// outside, in two passes (Rosenfeld & Pfaltz 1966). 0 for excluded pixels.
Bitmap<int> distance_to_excluded(const image& a, const image& b) {
    const int width = a.width();
    const int height = a.height();
    Bitmap<int> distance(width, height);
    const auto at = [&](int x, int y) { return distance.contains(x, y) ? distance(x, y) : 0; };
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const bool excluded = a.mask()(x, y) != 0 || b.mask()(x, y) != 0;
            distance(x, y) = excluded ? 0
                                      : 1 + std::min({at(x - 1, y), at(x - 1, y - 1), at(x, y - 1),
                                                      at(x + 1, y - 1)});
        }
    for (int y = height - 1; y >= 0; --y)
        for (int x = width - 1; x >= 0; --x)
            distance(x, y) = std::min(
                distance(x, y),
                1 + std::min({at(x + 1, y), at(x + 1, y + 1), at(x, y + 1), at(x - 1, y + 1)}));
    return distance;
}

/// Sets the distance of the pixels near a dot to 0.
void leave_out_dot(Bitmap<int>& distance, Point dot, double reach) {
    if (!std::isfinite(dot.x) || !std::isfinite(dot.y)) return;
    // The limits of the picture come first: a dot may lie anywhere.
    const auto first = [](double low, int size) {
        return static_cast<int>(std::ceil(std::clamp(low, 0.0, double(size))));
    };
    const auto last = [](double high, int size) {
        return static_cast<int>(std::floor(std::clamp(high, -1.0, size - 1.0)));
    };
    const int x0 = first(dot.x - reach, distance.width());
    const int x1 = last(dot.x + reach, distance.width());
    const int y1 = last(dot.y + reach, distance.height());
    for (int y = first(dot.y - reach, distance.height()); y <= y1; ++y)
        for (int x = x0; x <= x1; ++x)
            if (std::hypot(x - dot.x, y - dot.y) <= reach) distance(x, y) = 0;
}

}  // namespace

FieldComparison compare_fields(const image& field, const image& truth,
                               const ComparisonOptions& options, Progress& progress) {
    field.check_planes();
    truth.check_planes();
    if (!field.values().same_size(truth.values()))
        throw IndexError("the field is " + std::to_string(field.width()) + " x " +
                         std::to_string(field.height()) + " pixels, the truth " +
                         std::to_string(truth.width()) + " x " + std::to_string(truth.height()));
    Bitmap<int> distance = distance_to_excluded(field, truth);
    throw_if_aborted(progress);
    for (const Point& dot : options.dots)
        leave_out_dot(distance, dot, options.dot_distance);

    FieldComparison result;
    result.truth_min = std::numeric_limits<double>::infinity();
    result.truth_max = -result.truth_min;
    double sum = 0;
    double sum_of_squares = 0;
    for (int y = 0; y < field.height(); ++y)
        for (int x = 0; x < field.width(); ++x) {
            if (distance(x, y) <= options.edge) continue;
            const double expected = truth.values()(x, y);
            const double error = field.values()(x, y) - expected;
            ++result.count;
            sum += error;
            sum_of_squares += error * error;
            if (!(std::abs(error) <= result.max_error)) {
                result.max_error = std::abs(error);
                result.max_x = x;
                result.max_y = y;
            }
            result.truth_min = std::min(result.truth_min, expected);
            result.truth_max = std::max(result.truth_max, expected);
        }
    if (result.count == 0) throw AlgoError("Algorithm error!", "no pixel is left to compare");
    const auto count = static_cast<double>(result.count);
    result.rms_error = std::sqrt(sum_of_squares / count);
    result.mean_error = sum / count;
    return result;
}

}  // namespace vyn
