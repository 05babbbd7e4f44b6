#pragma once

#include <string>

#include "process/steps/corrected_pictures.h"
#include "process/steps/step.h"

namespace vyn {

/// What a point says of the light of its pictures: lamp and exposure, wind-on against wind-off.
struct LampCorrection {
    /// By the numbers of `raw_images`: factors of the pictures, 1 for wind-off ones.
    std::array<double, 4> factors{1, 1, 1, 1};
    std::optional<LightReport> report;  ///< when a factor is not 1 or the lamp was looked at
};

/// Paths that decide on it, and the images that it looks at beside the corrected ones.
void add_lamp_facts(const StepView& view, StepFacts& facts);

/// The correction that the settings ask for: by a patch of the signal's corrected pictures that
/// shows the lamp alone, or by readings of a sensor, both of a single channel; and by the pictures'
/// exposures where both tell them. Raises AlgoError or FileError: a patch that is outside of the
/// pictures or all excluded, times that nobody tells, readings that do not reach them.
LampCorrection lamp_correction(const StepRun& run, const CorrectedPictures& pictures);

/// The pictures under one light: those with another factor than 1 replaced.
void apply_lamp_correction(const LampCorrection& correction, CorrectedPictures& pictures);

}  // namespace vyn
