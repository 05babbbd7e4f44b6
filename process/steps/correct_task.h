#pragma once

#include <memory>
#include <string>

#include "core/keys.h"
#include "core/task.h"
#include "process/point/raw_images.h"
#include "process/report/run_report.h"

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

/// The correction of a raw image with the settings of the project.
Correction correction_of(dataSetInterface& data, const RawImage& raw, std::string result);

/// Dark level, dark image and flat field of an image, pixels where the camera saw them; the degree
/// of later resampling is set. A dark or flat image that is not loaded skips its step. Raises
/// IndexError naming the images that differ in size.
image corrected_intensity(const Correction& correction, const image& source, TaskContext& context);

/// Dark level, dark image, flat field and lens distortion of one image, published under a new name.
/// Fails when the source is not loaded; a missing dark or flat image skips its step.
class CorrectTask final : public Task {
  public:
    CorrectTask(Correction correction, std::shared_ptr<RunReport> report)
        : correction_(std::move(correction)), report_(std::move(report)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    Correction correction_;
    std::shared_ptr<RunReport> report_;
};

}  // namespace vyn
