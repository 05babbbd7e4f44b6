#pragma once

#include <string>
#include <string_view>

#include "core/data_set.h"

namespace vyn {

/// What the settings behind a dialog say, in a few words for the button that opens it.
std::string camera_summary(const dataSetInterface& data, std::string_view tree);
/// Of the camera's lens.
std::string lens_summary(const dataSetInterface& data, std::string_view tree);
std::string paint_summary(const dataSetInterface& data);
std::string conditions_summary(const dataSetInterface& data);
std::string alignment_summary(const dataSetInterface& data);
std::string model_summary(const dataSetInterface& data);
std::string conversion_summary(const dataSetInterface& data);
/// Of lamp, exposures and wind-on temperature.
std::string light_summary(const dataSetInterface& data);
/// Of what picture files leave open.
std::string reading_summary(const dataSetInterface& data);
std::string uncertainty_summary(const dataSetInterface& data);

}  // namespace vyn
