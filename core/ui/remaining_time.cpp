#include "core/ui/remaining_time.h"

#include <cmath>

namespace vyn {

QString RemainingTime::text(double fraction) const {
    return since_.isValid() ? text(static_cast<double>(since_.elapsed()) / 1000, fraction)
                            : QString();
}

QString RemainingTime::text(double elapsed_seconds, double fraction) {
    // The first moments of a step say nothing about its rest.
    if (elapsed_seconds < 0.5 || fraction < 0.02 || fraction >= 1) return {};
    const auto left =
        static_cast<long long>(std::ceil(elapsed_seconds * (1 - fraction) / fraction));
    if (left < 60) return tr(", %1 s left").arg(left);
    if (left < 3600) return tr(", %1 min %2 s left").arg(left / 60).arg(left % 60);
    return tr(", %1 h %2 min left").arg(left / 3600).arg(left % 3600 / 60);
}

}  // namespace vyn
