#pragma once

#include <vector>

#include "api/filters.h"

namespace vyn {

/// How often a value is interpolated before and after a filter: (lens and alignment at once, then
/// the filter) or (lens, filter, alignment).
enum class Samplings { none, one, two };

/// What pixels a resampled and filtered value is made of, along one axis, and what that does to
/// noise of neighbours that are independent.
///
/// A sampling at a place between pixels weighs them by the cardinal spline of its degree at the
/// place's phase (Unser, Aldroubi & Eden 1993), a filter by its window, both by their convolution.
/// A phase is a number of 32nd parts of a pixel. Excluded neighbours are left out of account.
class ResamplingWeights {
  public:
    static constexpr int phases = 32;

    /// Interpolation of degree 2 to 5; the window of `filter` along this axis has `filter_width`
    /// pixels (below 2: none).
    ResamplingWeights(int degree, Samplings samplings, const FilterOptions* filter,
                      int filter_width);

    Samplings samplings() const { return samplings_; }
    /// Weights of the pixels from -reach() to reach() about the one at or before the place: of the
    /// first sampling at `first`, of the second at `second`.
    const std::vector<double>& at(int first, int second) const;
    int reach() const { return reach_; }
    int firsts() const { return samplings_ == Samplings::none ? 1 : phases; }
    int seconds() const { return samplings_ == Samplings::two ? phases : 1; }

    /// Sum of the squared weights: the variance that is left; entry first * seconds() + second.
    std::vector<float> gains() const;

  private:
    Samplings samplings_;
    int reach_ = 0;
    std::vector<std::vector<double>> weights_;
};

/// How two values hang together by their common pixels, along one axis: the correlation coefficient
/// of what independent errors of the pixels make of them.
class SharedWeights {
  public:
    /// Whole pixels apart up to which anything is shared.
    static constexpr int most_apart = 4;
    static constexpr int phases = 16;

    SharedWeights(const ResamplingWeights& a, const ResamplingWeights& b);

    /// Entry ((a_first * b_firsts + b_first) * b_seconds + b_second) * (2 most_apart + 1) + apart +
    /// most_apart, the phases in 16th parts, `apart` the whole pixels of b's place less a's.
    const std::vector<float>& table() const { return table_; }
    int b_firsts() const { return b_firsts_; }
    int b_seconds() const { return b_seconds_; }
    int a_firsts() const { return a_firsts_; }

  private:
    int a_firsts_ = 1;
    int b_firsts_ = 1;
    int b_seconds_ = 1;
    std::vector<float> table_;
};

}  // namespace vyn
