#include "process/report/point_report.h"

#include <nlohmann/json.hpp>

#include "core/version.h"
#include "process/page/user_words.h"
#include "process/point/experiment_type.h"
#include "process/report/provenance.h"
#include "render/fashion.h"
#include "render/histogram_picture.h"
#include "render/picture.h"

namespace vyn {

namespace {

constexpr int stage_side = 260;  // pixels
constexpr int field_side = 1280;
constexpr int histogram_bins = 120;
constexpr int histogram_width = 640;
constexpr int histogram_height = 260;

}  // namespace

namespace {

/// No side of the field longer than `side` pixels.
PictureOptions looks_of(const image& picture, int side, Progress& progress) {
    PictureOptions options;
    options.limits = robust_limits(picture, progress);
    options.vectors = picture.displacement && !picture.quantity.deviation;
    options.scale = scale_for_side(picture, side);
    return options;
}

Figure with_colour_bar(const image& picture, int side, Progress& progress) {
    PictureOptions options = looks_of(picture, side, progress);
    options.limits = tidy(options.limits);
    options.colour_bar = true;
    options.label = field_label(picture).text();
    return field_figure(picture, options);
}

}  // namespace

Figure thumbnail_of(const image& picture, int side, Progress& progress) {
    return field_figure(picture, looks_of(picture, side, progress));
}

PointReport make_point_report(const RunReport& report, const dataSetInterface& data,
                              const imagesList& images, const field_data<double>& mesh,
                              const MarkerSet& ports, Progress& progress) {
    const ExperimentType type = experiment_type(data);
    PointReport result;
    result.check = check_point(report, data, images, ports);
    const auto& stages = result.check.stages;
    Progress quiet;
    for (std::size_t i = 0; i < stages.size(); ++i) {
        throw_if_aborted(progress);
        const auto picture = images.find(stages[i].name);
        result.stages.push_back(picture ? with_colour_bar(*picture, stage_side, quiet) : Figure());
        progress.fraction(static_cast<double>(i + 1) / static_cast<double>(stages.size()));
    }
    if (const auto field = images.find(image_names::field)) {
        result.field = with_colour_bar(*field, field_side, quiet);
        result.histogram = histogram_figure(
            make_histogram(*field, robust_limits(*field, quiet), histogram_bins, quiet),
            field_label(*field).text(), histogram_width, histogram_height);
    }
    result.model = make_model_report(report, type, images, mesh, progress);
    const auto for_reader = [&](std::string& text) {
        text = user_words(type, for_report(std::move(text), data, images));
    };
    for (Warning& warning : result.check.warnings)
        for_reader(warning.text);
    for_reader(result.check.unaligned);
    for (std::string& remark : result.model.remarks)
        for_reader(remark);
    const nlohmann::json source = provenance(data, images);
    for (const auto& input : source.at("inputs"))
        result.inputs.emplace_back(input.value("file", input.value("role", "")),
                                   input["sha256"].get<std::string>());
    result.program = std::string("VynLite ") + program_version;
    return result;
}

TaskOutcome PointReportTask::run(TaskContext& context) {
    context.status("Checking the point");
    const MarkerSet ports =
        ports_.markers.empty() ? ports_of_point(session_.data, session_.images) : ports_;
    *result_ =
        make_point_report(*report_, session_.data, session_.images, session_.field, ports, context);
    return TaskOutcome::done;
}

}  // namespace vyn
