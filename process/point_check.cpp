#include "process/point_check.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "calib/port_sampling.h"
#include "core/errors.h"
#include "core/keys.h"
#include "process/experiment_type.h"
#include "process/field_quantity.h"
#include "process/page_rows.h"
#include "process/raw_images.h"

namespace vyn {

namespace names = image_names;

namespace {

constexpr int port_side = 5;  // pixels

std::string title_of(dataSetInterface& data) {
    std::string title;
    const auto add = [&](const char* head, const std::string& text) {
        if (!text.empty()) title += (title.empty() ? "" : ", ") + std::string(head) + text;
    };
    add("", std::filesystem::path(read(data, keys::head_file)).filename().string());
    add("test ", read(data, keys::test_id));
    add("model ", read(data, keys::model_id));
    add("point ", read(data, keys::test_point_id));
    return title;
}

const char* experiment_text(ExperimentType type) {
    switch (type) {
        case ExperimentType::single:
            return "single channel";
        case ExperimentType::binary:
            return "binary channel";
        case ExperimentType::lifetime:
            return "lifetime";
        case ExperimentType::s3f:
            break;
    }
    return "not evaluated";
}

std::string quantity_text(FieldQuantity quantity, const flowFeatures& flow) {
    switch (quantity) {
        case FieldQuantity::pressure:
            return "pressure in " + flow.p_unit;
        case FieldQuantity::p_over_static:
            return "pressure over static pressure";
        case FieldQuantity::cp:
            return "pressure coefficient";
        case FieldQuantity::ratio:
            break;
    }
    return "intensity ratio";
}

std::vector<AlignmentCheck> alignments_of(const RunReport& report, ExperimentType type) {
    std::vector<AlignmentCheck> checks;
    const auto add = [&](const std::optional<MarkerMatch>& match, const char* moved,
                         const char* reference) {
        if (match)
            checks.push_back(
                {image_label(type, moved) + " to " + image_label(type, reference), *match});
    };
    add(report.alignment, names::wind_on_sens, names::wind_off_sens);
    if (!report.channels) return checks;
    add(report.channels->reference, names::wind_on_refe, names::wind_off_refe);
    add(report.channels->cameras, names::wind_off_refe, names::wind_off_sens);
    return checks;
}

/// Inputs first, then the results in the order of computation.
std::vector<StageCheck> stages_of(const imagesList& images, ExperimentType type) {
    const auto& results = names::results;
    std::vector<std::shared_ptr<const image>> pictures = images.all();
    const auto place = [&](const std::shared_ptr<const image>& picture) {
        const auto found = std::ranges::find(results, picture->name);
        return found == results.end() ? 0 : 1 + (found - results.begin());
    };
    std::ranges::stable_sort(pictures, {}, place);
    std::vector<StageCheck> stages;
    for (const auto& picture : pictures)
        if (picture->has_values() && picture->has_mask())
            stages.push_back({picture->name, image_label(type, picture->name), picture->width(),
                              picture->height(), image_statistics(*picture)});
    return stages;
}

double in_quantity(FieldQuantity quantity, double pressure, const flowFeatures& flow) {
    switch (quantity) {
        case FieldQuantity::p_over_static:
            return pressure / flow.static_p;
        case FieldQuantity::cp:
            return (pressure - flow.static_p) / flow.dynamic_p;
        case FieldQuantity::pressure:
        case FieldQuantity::ratio:
            break;
    }
    return pressure;
}

PortComparison compare_ports(const image& field, const MarkerSet& ports, FieldQuantity quantity,
                             const flowFeatures& flow) {
    PortComparison result;
    PortSamples samples = sample_ports(field, ports, port_side);
    result.left_out = std::move(samples.left_out);
    double squares = 0;
    for (const CalibrationPoint& sample : samples.points) {
        const PortCheck port{sample.number, in_quantity(quantity, sample.pressure, flow),
                             sample.ratio};
        squares += port.difference() * port.difference();
        result.max = std::max(result.max, std::abs(port.difference()));
        result.ports.push_back(port);
    }
    if (!result.ports.empty())
        result.rms = std::sqrt(squares / static_cast<double>(result.ports.size()));
    return result;
}

}  // namespace

MarkerSet ports_of_point(dataSetInterface& data, const imagesList& images) {
    for (const char* name : {names::field, names::ratio})
        if (const auto picture = images.find(name); picture && picture->markers.hasF)
            return picture->markers;
    const auto ratio = images.find(names::ratio);
    if (!ratio || read(data, keys::port_file).empty()) return {};
    try {
        return load_markers(data, keys::port_file, ratio->height());
    } catch (const FileError&) {
        return {};  // logged when it was raised; the point can be checked without
    }
}

PointCheck check_point(const RunReport& report, dataSetInterface& data, const imagesList& images,
                       const MarkerSet& ports) {
    const ExperimentType type = experiment_type(data);
    const FieldQuantity quantity = field_quantity(read(data, keys::convert_field));
    flowFeatures flow;
    read(data, std::string(keys::flow), flow);

    PointCheck check;
    check.title = title_of(data);
    check.experiment = experiment_text(type);
    check.quantity = quantity_text(quantity, flow);
    check.aligned = report.aligned;
    check.alignments = alignments_of(report, type);
    if (report.channels) {
        check.consistency = report.channels->consistency;
        check.noise = ratio_of_ratios_noise;
    }
    check.stages = stages_of(images, type);
    const auto field = images.find(names::field);
    if (field && ports.hasF && quantity != FieldQuantity::ratio)
        check.ports = compare_ports(*field, ports, quantity, flow);
    check.conversion = report.conversion;
    check.warnings = report.warnings;
    return check;
}

}  // namespace vyn
