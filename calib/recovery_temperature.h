#pragma once

#include "calib/paint_law.h"
#include "core/progress.h"

namespace vyn {

/// Air over an adiabatic wall; kelvin, and the free stream's static pressure in pascal or any unit.
struct RecoveryFlow {
    double total = 0;  ///< temperature at rest
    double mach = 0;   ///< of the free stream
    double factor = 0.89;
    double static_pressure = 0;
};

/// T = T0 - (1 - r) (T0 - T0 (p / p0)^(2/7)): the temperature of an adiabatic wall where the flow
/// has expanded without losses to the pressure p (Schlichting & Gersten 2017, recovery factor r).
/// Pressures above the total one count as that.
double recovery_temperature(const RecoveryFlow& flow, double pressure);

/// That temperature, kelvin, of every pixel of a ratio, whose pressure by the law depends on it:
/// iterated to 0.1 mK. `kelvin` says how kelvin enter the law. Excluded where the pressure is not
/// positive. Raises AlgoError when the iteration does not settle, Aborted.
image recovery_temperatures(const image& ratio, const RecoveryFlow& flow,
                            const PreparedConversion& pressures,
                            const PaintLawOfTemperature& kelvin, Progress& progress);

}  // namespace vyn
