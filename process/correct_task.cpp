#include "process/correct_task.h"

#include "api/correction.h"
#include "core/log.h"
#include "process/image_sizes.h"
#include "process/marker_frames.h"

namespace vyn {

Correction correction_of(dataSetInterface& data, const RawImage& raw, std::string result) {
    Correction correction;
    correction.source = raw.name;
    correction.dark = raw.dark_name;
    correction.flat = raw.flat_name;
    correction.result = std::move(result);
    correction.dark_level = static_cast<float>(read(data, raw.dark_level));
    correction.camera = raw.camera;
    return correction;
}

TaskOutcome CorrectTask::run(TaskContext& context) {
    imagesList& images = get_images();
    dataSetInterface& data = vyn_db();
    const std::shared_ptr<const image> source = images.find(correction_.source);
    if (!source) {
        get_log().write(2, "Image not loaded");
        return TaskOutcome::failed;
    }
    const auto dark = correction_.use_dark ? images.find(correction_.dark) : nullptr;
    const auto flat = correction_.use_flat ? images.find(correction_.flat) : nullptr;
    if (dark) require_same_size(*dark, *source);
    if (flat) require_same_size(*flat, *source);
    if (!dark) warn(*report_, correction_.source + " is corrected without a dark image");
    if (!flat) warn(*report_, correction_.source + " is corrected without a flat field");

    context.status("Calculating corrected image");
    if (dark) get_log().write(4, "Substracting dark image");
    if (flat) get_log().write(4, "Applying flat-field image");
    image corrected =
        correct_intensity(*source, correction_.dark_level, dark.get(), flat.get(), context);

    corrected.degree = read(data, keys::spline_degree);
    const Distortion lens = lens_of(data, correction_.camera);
    if (!lens.none()) {
        context.status("Correcting image distortions");
        corrected = undistort(corrected, lens, context);
    }
    corrected.name = correction_.result;
    warn_if_empty(*report_, corrected);
    images.add(std::move(corrected));
    return TaskOutcome::done;
}

}  // namespace vyn
