#include "process/steps/correct_task.h"

#include "api/correction.h"
#include "core/log.h"
#include "process/point/experiment_type.h"
#include "process/point/image_sizes.h"
#include "process/point/marker_frames.h"

namespace vyn {

Correction correction_of(dataSetInterface& data, const RawImage& raw, std::string result) {
    Correction correction;
    correction.source = raw.name;
    correction.dark = raw.dark_name;
    const RawImage& taker = camera_partner(data, raw);
    correction.flat = taker.flat_name;
    correction.result = std::move(result);
    correction.dark_level = static_cast<float>(read(data, raw.dark_level));
    correction.camera = taker.camera;
    return correction;
}

image corrected_intensity(const Correction& correction, const image& source, TaskContext& context) {
    const imagesList& images = get_images();
    const auto dark = correction.use_dark ? images.find(correction.dark) : nullptr;
    const auto flat = correction.use_flat ? images.find(correction.flat) : nullptr;
    if (dark) require_same_size(*dark, source);
    if (flat) require_same_size(*flat, source);
    image corrected =
        correct_intensity(source, correction.dark_level, dark.get(), flat.get(), context);
    corrected.degree = read(vyn_db(), keys::spline_degree);
    return corrected;
}

TaskOutcome CorrectTask::run(TaskContext& context) {
    imagesList& images = get_images();
    dataSetInterface& data = vyn_db();
    const std::shared_ptr<const image> source = images.find(correction_.source);
    if (!source) {
        get_log().write(LogLevel::error, "Image not loaded");
        return TaskOutcome::failed;
    }
    const auto report_step = [&](bool used, const std::string& name, const char* step,
                                 const char* what) {
        if (used && images.find(name))
            get_log().write(LogLevel::progress, step);
        else
            warn(*report_, WarningKind::missing_correction,
                 correction_.source + " is corrected without " + what);
    };
    context.status("Calculating corrected image");
    report_step(correction_.use_dark, correction_.dark, "Substracting dark image", "a dark image");
    report_step(correction_.use_flat, correction_.flat, "Applying flat-field image",
                "a flat field");
    image corrected = corrected_intensity(correction_, *source, context);

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
