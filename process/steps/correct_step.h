#pragma once

#include <string>

#include "process/point/raw_images.h"
#include "process/steps/step.h"

namespace vyn {

/// What one correction works on; images by their names in the image list.
struct Correction {
    std::string source;
    std::string dark;
    bool use_dark = true;
    std::string flat;
    bool use_flat = true;
    std::string result;
    float dark_level = 0;  ///< counts; 0 or less: off
    std::string camera{keys::sens_camera};
};

/// The correction of a camera picture with the settings of the project.
Correction correction_of(dataSetInterface& data, const RawImage& raw);

/// The lens of the camera that took the corrected picture.
Distortion lens_of_correction(dataSetInterface& data, const Correction& correction);

/// Dark level, dark image and flat field of a picture, pixels where the camera saw them; degree and
/// edges of later resampling are set. A dark or flat image that is not loaded skips its step.
/// Raises IndexError naming the images that differ in size.
image corrected_intensity(const Correction& correction, const image& source, const Session& session,
                          Progress& progress);

/// Of the camera picture of that number in `raw_images`: its dark level, dark image, flat field and
/// lens distortion. Fails when it is not loaded.
StepFacts correct_facts(const StepView& view, std::size_t picture);
TaskOutcome correct_picture(const StepRun& run, std::size_t picture);

}  // namespace vyn
