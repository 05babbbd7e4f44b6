#include "process/model/view_coverage.h"

#include <cmath>
#include <limits>

namespace vyn {

std::vector<ViewCoverage> view_coverage(const field_data<double>& mesh) {
    const auto* best = mesh.find("view");
    const auto* count = mesh.find("views");
    const auto* spread = mesh.find("spread");
    std::vector<ViewCoverage> result;
    if (!best || !count || !spread) return result;
    std::size_t known = 0;
    for (const double number : best->values)
        known += std::isfinite(number);
    for (std::size_t v = 0; v < mesh.views.size(); ++v) {
        std::size_t own = 0;
        std::size_t shared = 0;
        double squares = 0;
        for (std::size_t i = 0; i < best->values.size(); ++i) {
            if (best->values[i] != static_cast<double>(v + 1)) continue;
            ++own;
            if (!(count->values[i] > 1)) continue;
            ++shared;
            squares += spread->values[i] * spread->values[i];
        }
        const auto share = [](std::size_t part, std::size_t whole) {
            return whole == 0 ? 0 : static_cast<double>(part) / static_cast<double>(whole);
        };
        result.push_back({mesh.views[v].name, mesh.views[v].rms, share(own, known),
                          share(shared, own),
                          shared == 0 ? std::numeric_limits<double>::quiet_NaN()
                                      : std::sqrt(squares / static_cast<double>(shared))});
    }
    return result;
}

}  // namespace vyn
