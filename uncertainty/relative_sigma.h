#pragma once

#include <string>
#include <string_view>

#include "api/image.h"

namespace vyn {

/// The name of the image whose standard deviation, or part of it, an image of this name holds:
/// "field_P" of "field_P_sigma" and "field_P_sigma_common"; empty for any other name.
std::string field_of_sigma(std::string_view name);

/// Why a standard deviation cannot be told in per cent of a field (null: there is none), as a
/// sentence's end for users; empty when it can. Both must be of one quantity, unit and size, and
/// the quantity's zero must mean nothing of it, which that of temperatures in degrees does not.
std::string objection_to_per_cent(const image& sigma, const image* field);

/// 100 sigma / |field| in the unit "%", with name, origin and markers of the standard deviation.
/// Pixels excluded in either are excluded, and those where the field is 0 or no number. Raises
/// AlgoError with what objection_to_per_cent says.
image per_cent_of_field(const image& sigma, const image& field);

}  // namespace vyn
