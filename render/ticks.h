#pragma once

#include <string>
#include <vector>

namespace vyn {

/// Round numbers on a scale.
struct Ticks {
    std::vector<double> values;  ///< ascending, multiples of `step`
    double step = 0;
    std::vector<std::string> texts;  ///< with the same number of decimals
};

/// At most so many ticks (from 2) between two finite numbers, ends included, a step of 1, 2 or 5
/// times a power of ten apart. None when there is no room between the numbers.
Ticks make_ticks(double low, double high, int most);

}  // namespace vyn
