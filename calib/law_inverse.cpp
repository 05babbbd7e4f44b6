#include "calib/law_inverse.h"

#include <cmath>

namespace vyn {

double pressure_of(const PaintLaw& law, double ratio) {
    return law.a + (law.b + law.c * ratio) * ratio;
}

std::optional<double> ratio_of(const PaintLaw& law, double pressure) {
    const double discriminant = law.b * law.b - 4 * law.c * (law.a - pressure);
    const double ratio =
        law.c == 0 ? (pressure - law.a) / law.b : (std::sqrt(discriminant) - law.b) / (2 * law.c);
    return std::isfinite(ratio) ? std::optional(ratio) : std::nullopt;
}

}  // namespace vyn
