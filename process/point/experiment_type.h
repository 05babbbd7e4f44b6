#pragma once

#include <string>
#include <vector>

#include "api/image_list.h"
#include "core/data_set.h"
#include "process/point/raw_images.h"

namespace vyn {

/// What kind of paint and pictures a project evaluates.
enum class ExperimentType {
    single,    ///< one channel: wind-off and wind-on
    binary,    ///< signal and reference channel, wind-off and wind-on
    lifetime,  ///< two gates: signal = gate 2, reference = gate 1; wind-off pictures optional
    s3f,       ///< offered and stored, but not evaluated
};

/// The type that the project's flags stand for: the fourth type first, then lifetime, single, else
/// binary.
ExperimentType experiment_type(const dataSetInterface& data);

/// Sets the flags for a type as the user chose it; the fourth type leaves the other two as they
/// are.
void choose_experiment_type(dataSetInterface& data, ExperimentType type);

/// The raw images whose markers align a point of this type.
std::vector<const RawImage*> aligned_images(ExperimentType type);

/// The raw image whose camera record and flat field hold for this one: itself, but of a lifetime
/// project, whose gates come from one camera, the one of the signal channel.
const RawImage& camera_partner(const dataSetInterface& data, const RawImage& raw);

/// False where the ratio is formed without wind-off pictures: of two gates that have none.
bool uses_wind_off(const dataSetInterface& data, const imagesList& images);

/// What is said of a project of the fourth type.
inline constexpr const char* not_evaluated_text =
    "The evaluation of this experiment type is not available; choose another type in a new project";

}  // namespace vyn
