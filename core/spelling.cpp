#include "core/spelling.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace vyn {

namespace {
constexpr std::size_t longest_worth_comparing = 200;
}

std::size_t edit_distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

NearestWord::NearestWord(std::string_view wanted)
    : wanted_(wanted),
      least_(wanted.empty() || wanted.size() > longest_worth_comparing
                 ? 0
                 : std::max<std::size_t>(2, wanted.size() / 5) + 1) {}

bool NearestWord::offer(std::string_view word) {
    if (least_ == 0) return false;
    const auto [shorter, longer] = std::minmax({wanted_.size(), word.size()});
    if (longer - shorter >= least_) return false;  // so many letters must be inserted
    const std::size_t distance = edit_distance(wanted_, word);
    if (distance >= least_) return false;
    least_ = distance;
    return true;
}

}  // namespace vyn
