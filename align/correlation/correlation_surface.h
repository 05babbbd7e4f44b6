#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace vyn {

/// What the correlations of one cell with its window say.
enum class PeakVerdict {
    clear,
    low,        ///< nothing in common
    at_border,  ///< the window may not hold the true place
    rivalled    ///< another place fits nearly as well
};

/// The correlations of one cell with its window, for shifts up to `radius` pixels each way.
class CorrelationSurface {
  public:
    struct Peak {
        int column = 0;
        int row = 0;
        double height = 0;
        double rival = 0;  ///< the next lower maximum
    };

    explicit CorrelationSurface(int radius)
        : side_(2 * radius + 1), values_(static_cast<std::size_t>(side_ * side_)) {}
    int side() const { return side_; }
    double& at(int column, int row) { return values_.data()[row * side_ + column]; }
    double at(int column, int row) const { return values_.data()[row * side_ + column]; }

    PeakVerdict judge(Peak& best) const {
        constexpr double least_peak = 0.4;
        constexpr double least_ratio = 1.2;
        best = {};
        for (int r = 0; r < side_; ++r)
            for (int c = 0; c < side_; ++c)
                if (at(c, r) > best.height) best = {c, r, at(c, r), 0};
        if (best.height < least_peak) return PeakVerdict::low;
        if (is_border(best.column) || is_border(best.row)) return PeakVerdict::at_border;
        for (int r = 0; r < side_; ++r)
            for (int c = 0; c < side_; ++c)
                if ((c != best.column || r != best.row) && at(c, r) > best.rival &&
                    is_maximum(c, r))
                    best.rival = at(c, r);
        return best.rival * least_ratio > best.height ? PeakVerdict::rivalled : PeakVerdict::clear;
    }

  private:
    bool is_border(int i) const { return i == 0 || i == side_ - 1; }
    bool is_maximum(int column, int row) const {
        for (int r = std::max(row - 1, 0); r <= std::min(row + 1, side_ - 1); ++r)
            for (int c = std::max(column - 1, 0); c <= std::min(column + 1, side_ - 1); ++c)
                if ((c != column || r != row) && at(c, r) >= at(column, row)) return false;
        return true;
    }
    int side_;
    std::vector<double> values_;
};

}  // namespace vyn
