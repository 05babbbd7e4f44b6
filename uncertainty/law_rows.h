#pragma once

#include "uncertainty/kernels/term_kernels.h"
#include "uncertainty/uncertainty_map.h"

namespace vyn {

/// A point's law as the rows of its map need it.
struct LawRows {
    LawRow law{};
    LawOfTemperature of_temperature{};  ///< where `law.given`
};

LawRows law_rows(const UncertainPoint& point);

}  // namespace vyn
