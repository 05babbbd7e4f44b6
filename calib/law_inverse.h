#pragma once

#include <optional>

#include "api/field_conversion.h"

namespace vyn {

/// The law's pressure at a ratio, which is scaled by the wind-off ratio; in 64-bit.
double pressure_of(const PaintLaw& law, double ratio);

/// The ratio at which the law gives a pressure: of two the larger one, which is where a paint's
/// pressure rises with the ratio. Nothing where the law never gives it.
std::optional<double> ratio_of(const PaintLaw& law, double pressure);

}  // namespace vyn
