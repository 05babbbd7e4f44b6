#include "process/steps/correct_step.h"

#include "api/correction.h"
#include "calib/camera.h"
#include "core/log.h"
#include "process/point/experiment_type.h"
#include "process/point/image_sizes.h"
#include "process/point/marker_frames.h"
#include "process/point/picture_warnings.h"
#include "process/steps/step_settings.h"

namespace vyn {

Correction correction_of(dataSetInterface& data, const RawImage& raw) {
    Correction correction;
    correction.source = raw.name;
    correction.dark = raw.dark_name;
    const RawImage& taker = camera_partner(data, raw);
    correction.flat = taker.flat_name;
    correction.result = raw.corrected_name;
    correction.dark_level = static_cast<float>(read(data, raw.dark_level));
    correction.camera = taker.camera;
    return correction;
}

Distortion lens_of_correction(dataSetInterface& data, const Correction& correction) {
    cameraFeatures record;
    read(data, correction.camera, record);
    return lens_of(record);
}

image corrected_intensity(const Correction& correction, const image& source, const Session& session,
                          Progress& progress) {
    const imagesList& images = session.images;
    const auto dark = correction.use_dark ? images.find(correction.dark) : nullptr;
    const auto flat = correction.use_flat ? images.find(correction.flat) : nullptr;
    if (dark) require_same_size(*dark, source);
    if (flat) require_same_size(*flat, source);
    image corrected =
        correct_intensity(source, correction.dark_level, dark.get(), flat.get(), progress);
    corrected.degree = read(session.data, keys::spline_degree);
    corrected.edges = read(session.data, keys::spline_edges) == "extended" ? SplineEdges::extended
                                                                           : SplineEdges::stored;
    return corrected;
}

StepFacts correct_facts(const StepView& view, std::size_t picture) {
    using Need = StepImage::Need;
    const RawImage& raw = raw_images()[picture];
    const RawImage& taker = camera_partner(view.data, raw);
    StepFacts facts;
    facts.takes = {{.name = raw.name, .need = Need::needed, .markers = true},
                   {.name = raw.dark_name, .need = Need::if_there, .markers = true},
                   {.name = taker.flat_name, .need = Need::if_there, .markers = true}};
    SettingPaths settings;
    settings.add(raw.dark_level, keys::spline_degree, keys::spline_edges);
    settings.add(taker.camera, {"cx", "cy", "a2", "a4"});
    facts.settings = settings.take();
    facts.behind = {experiment_flags};
    facts.told = picture_warning_settings();
    facts.told.emplace_back(taker.camera);
    facts.gives = {{raw.corrected_name, {}}};
    return facts;
}

TaskOutcome correct_picture(const StepRun& run, std::size_t picture) {
    const imagesList& images = run.session.images;
    TaskContext& context = run.context;
    const Correction correction = correction_of(run.session.data, raw_images()[picture]);
    const std::shared_ptr<const image> source = images.find(correction.source);
    if (!source) {
        get_log().write(LogLevel::error, "Image not loaded");
        return TaskOutcome::failed;
    }
    const auto report_part = [&](bool used, const std::string& name, const char* part,
                                 const char* what) {
        if (used && images.find(name))
            get_log().write(LogLevel::progress, part);
        else
            warn(run.report, WarningKind::missing_correction,
                 correction.source + " is corrected without " + what);
    };
    context.status("Calculating corrected image");
    report_part(correction.use_dark, correction.dark, "Substracting dark image", "a dark image");
    report_part(correction.use_flat, correction.flat, "Applying flat-field image", "a flat field");
    for (const Warning& warning :
         picture_warnings(run.session.data, raw_images()[picture], *source))
        warn(run.report, warning.kind, warning.text);
    image corrected = corrected_intensity(correction, *source, run.session, context);
    if (source->has_region()) corrected.share_region(*source);

    const Distortion lens = lens_of_correction(run.session.data, correction);
    if (!lens.none()) {
        context.status("Correcting image distortions");
        corrected = undistort(corrected, lens, context);
    }
    corrected.name = correction.result;
    warn_if_empty(run.report, corrected);
    run.publish(std::move(corrected));
    return TaskOutcome::done;
}

}  // namespace vyn
