#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "api/image.h"
#include "core/progress.h"

namespace vyn {

/// Limits of display.
struct Limits {
    double minimum = 0;
    double maximum = 1;
    bool operator==(const Limits&) const = default;
};

/// What is wrong with limits that a user gave, in words; empty when nothing is.
std::string complaint_about(const Limits& limits);

/// The limits, or some room about the one value that both are: no colours span nothing.
Limits with_room(const Limits& limits);

/// All of the following look at the valid pixels with finite values only, take planes of 16
/// megapixels in well below 0.1 s, and give the same bits on any number of threads.

struct ValueSummary {
    std::int64_t count = 0;  ///< valid, finite pixels; without any the rest is 0
    double minimum = 0;
    double maximum = 0;
    double mean = 0;
    double sigma = 0;  ///< standard deviation (divided by count)

    Limits extremes() const { return {minimum, maximum}; }
    /// Mean -+ three sigma, not wider than the extremes.
    Limits three_sigma() const;
};
ValueSummary summarise(const image& picture, Progress& progress);

/// The values below which `low` and `high` percent of the pixels lie (0 to 100; nearest rank,
/// exact). 0 to 0 without pixels.
Limits percentiles(const image& picture, double low, double high, Progress& progress);

/// What a picture is shown with when nobody gave limits: the 0.5 and 99.5 percentiles, so that
/// single bright pixels do not spoil it; the extremes, widened if need be, when these are equal.
Limits robust_limits(const image& picture, Progress& progress);

struct Histogram {
    Limits range;                      ///< of the bins together, which are equally wide
    std::vector<std::int64_t> counts;  ///< a value on an inner border belongs to the upper bin
    std::int64_t below = 0;
    std::int64_t above = 0;
};
/// The maximum belongs to the last bin. At least one bin; a range of no width has one value.
Histogram make_histogram(const image& picture, const Limits& range, int bins, Progress& progress);

}  // namespace vyn
