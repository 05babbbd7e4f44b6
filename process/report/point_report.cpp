#include "process/report/point_report.h"

#include <nlohmann/json.hpp>

#include "core/version.h"
#include "process/report/provenance.h"
#include "render/histogram_picture.h"
#include "render/picture.h"

namespace vyn {

namespace {

constexpr int thumbnail_side = 260;  // pixels
constexpr int histogram_bins = 120;
constexpr int histogram_width = 640;
constexpr int histogram_height = 260;

}  // namespace

Figure thumbnail_of(const image& picture, int side, Progress& progress) {
    PictureOptions options;
    options.limits = robust_limits(picture, progress);
    options.vectors = picture.displacement && !picture.quantity.deviation;
    options.scale = scale_for_side(picture, side);
    return field_figure(picture, options);
}

PointReport make_point_report(const RunReport& report, const dataSetInterface& data,
                              const imagesList& images, const field_data<double>& mesh,
                              const MarkerSet& ports, Progress& progress) {
    PointReport result;
    result.check = check_point(report, data, images, ports);
    const auto& stages = result.check.stages;
    Progress quiet;
    for (std::size_t i = 0; i < stages.size(); ++i) {
        throw_if_aborted(progress);
        const auto picture = images.find(stages[i].name);
        result.thumbnails.push_back(picture ? thumbnail_of(*picture, thumbnail_side, quiet)
                                            : Figure());
        progress.fraction(static_cast<double>(i + 1) / static_cast<double>(stages.size()));
    }
    if (const auto field = images.find(image_names::field)) {
        result.histogram = histogram_figure(
            make_histogram(*field, robust_limits(*field, quiet), histogram_bins, quiet),
            field_label(*field).text(), histogram_width, histogram_height);
    }
    result.model = make_model_report(report, images, mesh, progress);
    for (Warning& warning : result.check.warnings)
        warning.text = for_report(std::move(warning.text), data, images);
    result.check.unaligned = for_report(std::move(result.check.unaligned), data, images);
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
