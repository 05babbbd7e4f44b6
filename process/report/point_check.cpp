#include "process/report/point_check.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <filesystem>

#include "calib/port_sampling.h"
#include "calib/units.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "process/page/page_rows.h"
#include "process/point/experiment_type.h"
#include "process/point/raw_images.h"
#include "process/report/provenance.h"
#include "process/steps/result_state.h"

namespace vyn {

namespace names = image_names;

namespace {

constexpr int port_side = 5;  // pixels

std::string title_of(const dataSetInterface& data) {
    std::string title;
    if (!names_are_told()) return title;
    const auto add = [&](const char* head, const std::string& text) {
        if (!text.empty()) title += (title.empty() ? "" : ", ") + std::string(head) + text;
    };
    add("", std::filesystem::path(read(data, keys::head_file)).filename().string());
    add("test ", read(data, keys::test_id));
    add("model ", read(data, keys::model_id));
    add("point ", read(data, keys::test_point_id));
    return title;
}

/// When a picture was taken, as its file says; empty when that is not known to the day.
std::string date_of(const std::shared_ptr<const image>& picture) {
    if (!picture || !picture->taken || !picture->taken->dated) return {};
    const auto seconds = static_cast<std::time_t>(std::floor(picture->taken->seconds));
    std::tm parts{};
    char text[32];
    return gmtime_r(&seconds, &parts) && std::strftime(text, sizeof text, "%F %T", &parts) > 0
               ? text
               : std::string();
}

std::vector<std::pair<std::string, std::string>> facts_of(const dataSetInterface& data,
                                                          const imagesList& images,
                                                          const std::string& experiment,
                                                          const flowFeatures& flow) {
    std::vector<std::pair<std::string, std::string>> facts;
    const auto add = [&](const char* what, std::string value) {
        if (!value.empty()) facts.emplace_back(what, std::move(value));
    };
    if (names_are_told()) {
        add("Test", read(data, keys::test_id));
        add("Model", read(data, keys::model_id));
        add("Point", read(data, keys::test_point_id));
    }
    add("Wind-on picture taken", date_of(images.find(names::wind_on_sens)));
    add("Type of experiment", experiment);
    if (flow.mach != 0) add("Mach number", format_general(flow.mach, 6));
    add("Angle of attack α", format_general(flow.alpha, 6) + "°");
    add("Angle of sideslip β", format_general(flow.beta, 6) + "°");
    return facts;
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

std::vector<TextureCheck> textures_of(const RunReport& report, ExperimentType type) {
    std::vector<TextureCheck> checks;
    const auto add = [&](const std::optional<CorrelationReport>& found, const char* moved,
                         const char* reference) {
        if (found)
            checks.push_back(
                {image_label(type, moved) + " to " + image_label(type, reference), *found});
    };
    add(report.correlation, names::wind_on_sens, names::wind_off_sens);
    if (report.channels)
        add(report.channels->correlation, names::wind_on_refe, names::wind_off_refe);
    return checks;
}

/// Of dark images, what they belong to is said, too.
std::string stage_label(ExperimentType type, const std::string& name) {
    for (const RawImage& raw : raw_images())
        if (raw.dark_name == name)
            return image_label(type, name) + " (of " + image_label(type, raw.name) + ")";
    return image_label(type, name);
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
            stages.push_back({picture->name, stage_label(type, picture->name),
                              field_label(*picture).text(), picture->width(), picture->height(),
                              image_statistics(*picture)});
    return stages;
}

/// The test conditions that the field was computed with, as its origin tells them; the project's
/// where it does not.
flowFeatures conditions_of(const image& field, const flowFeatures& present) {
    flowFeatures used = present;
    const auto item = [&](const char* name) -> const std::string* {
        const auto found = field.origin.find(std::string(keys::flow) + name);
        return found == field.origin.end() ? nullptr : &found->second;
    };
    if (const std::string* unit = item("p_unit")) used.p_unit = *unit;
    for (const auto& [name, member] : {std::pair{"static_p", &flowFeatures::static_p},
                                       std::pair{"dynamic_p", &flowFeatures::dynamic_p}})
        if (const std::string* text = item(name))
            used.*member = parse_double(*text).value_or(used.*member);
    return used;
}

/// How sure the field's means at the ports are, where the maps of it lie beside the field.
void add_sigmas(const imagesList& images, const image& field, const MarkerSet& ports,
                PortComparison& comparison) {
    const auto area = images.find(names::sigma_area);
    const auto common = images.find(names::sigma_common);
    for (const auto& map : {area, common})
        if (!map || !map->values().same_size(field.values())) return;
    const PortSamples random = sample_ports(*area, ports, port_side);
    const PortSamples shared = sample_ports(*common, ports, port_side);
    if (random.points.size() != comparison.ports.size() ||
        shared.points.size() != comparison.ports.size())
        return;
    double sum = 0;
    for (std::size_t i = 0; i < comparison.ports.size(); ++i) {
        PortCheck& port = comparison.ports[i];
        port.sigma = std::hypot(random.points[i].ratio / port_side, shared.points[i].ratio);
        if (!(port.sigma > 0)) return;
        sum += std::pow(port.difference() / port.sigma, 2);
    }
    if (!comparison.ports.empty())
        comparison.chi_square = sum / static_cast<double>(comparison.ports.size());
}

PortComparison compare_ports(const image& field, const MarkerSet& ports, const flowFeatures& flow) {
    PortComparison result;
    if (!is_comparable(field.quantity)) {
        if (!field.quantity.known())
            result.left_out.emplace_back("all: the field does not say which quantity it holds");
        return result;
    }
    const UnitMessagesOnce once;
    PortSamples samples = sample_ports(field, ports, port_side);
    result.left_out = std::move(samples.left_out);
    double squares = 0;
    for (const CalibrationPoint& sample : samples.points) {
        const PortCheck port{sample.number, port_value(field, sample.pressure, flow), sample.ratio,
                             /*sigma=*/0};
        squares += port.difference() * port.difference();
        result.max = std::max(result.max, std::abs(port.difference()));
        result.ports.push_back(port);
    }
    if (!result.ports.empty())
        result.rms = std::sqrt(squares / static_cast<double>(result.ports.size()));
    return result;
}

/// What the field's age says of it.
void state_remark(const dataSetInterface& data, const imagesList& images,
                  std::vector<Warning>& warnings) {
    const ImageState state = ImageStates(data, images).of(names::field);
    if (state.kind == ImageState::Kind::out_of_date)
        warnings.push_back({WarningKind::out_of_date,
                            "The field is out of date: " + state.reason + ". Calculate it again"});
}

void saturation_remarks(const std::vector<StageCheck>& stages, std::vector<Warning>& warnings) {
    for (const StageCheck& stage : stages)
        if (const std::int64_t count = stage.values.saturated; count > 0)
            warnings.push_back({WarningKind::saturation,
                                stage.label + ": " + std::to_string(count) +
                                    (count == 1 ? " pixel is" : " pixels are") + " saturated"});
}

/// The field beside the pressures that the paint's calibration holds for.
void range_remark(const image& field, const PreparedConversion& prepared,
                  std::vector<Warning>& warnings) {
    constexpr double told_share = 0.01;  // less comes from edges and dots
    const paintFeatures& paint = prepared.paint;
    if (prepared.conversion.quantity == FieldQuantity::kept ||
        !(paint.minimal_pressure < paint.maximal_pressure))
        return;
    const auto in_field = [&](double pressure) {
        const FieldConversion& conversion = prepared.conversion;
        switch (conversion.quantity) {
            case FieldQuantity::p_over_static:
                return pressure / conversion.static_pressure;
            case FieldQuantity::cp:
                return (pressure - conversion.static_pressure) / conversion.dynamic_pressure;
            case FieldQuantity::pressure:
            case FieldQuantity::ratio:
            case FieldQuantity::kept:
                break;
        }
        return pressure * conversion.unit_factor;
    };
    const double low = in_field(paint.minimal_pressure);
    const double high = in_field(paint.maximal_pressure);
    std::int64_t valid = 0;
    std::int64_t outside = 0;
    for (int y = 0; y < field.height(); ++y)
        for (int x = 0; x < field.width(); ++x) {
            if (field.mask()(x, y) != 0) continue;
            ++valid;
            const auto value = static_cast<double>(field.values()(x, y));
            outside += value < low || value > high;
        }
    const double share =
        static_cast<double>(outside) / static_cast<double>(std::max<std::int64_t>(valid, 1));
    if (share > told_share)
        warnings.push_back(
            {WarningKind::paint_range,
             format_general(100 * share, 3) + " % of the field lies outside " +
                 format_general(low, 6) + " to " + format_general(high, 6) +
                 ", for which the paint is calibrated: look for exchanged pictures, wrong "
                 "test conditions or a wrong paint"});
}

}  // namespace

double port_value(const image& field, double pressure, const flowFeatures& present) {
    const flowFeatures used = conditions_of(field, present);
    if (used.p_unit != present.p_unit)
        pressure = convert_pressure(pressure, present.p_unit, used.p_unit);
    if (field.quantity.kind == Quantity::Kind::p_over_static) return pressure / used.static_p;
    if (field.quantity.kind == Quantity::Kind::cp)
        return (pressure - used.static_p) / used.dynamic_p;
    return pressure;
}

bool is_comparable(Quantity quantity) {
    using Kind = Quantity::Kind;
    return !quantity.deviation &&
           (quantity.kind == Kind::pressure || quantity.kind == Kind::p_over_static ||
            quantity.kind == Kind::cp);
}

MarkerSet ports_of_point(const dataSetInterface& data, const imagesList& images) {
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

PointCheck check_point(const RunReport& report, const dataSetInterface& data,
                       const imagesList& images, const MarkerSet& ports) {
    const ExperimentType type = experiment_type(data);
    const auto field = images.find(names::field);
    flowFeatures flow;
    read(data, std::string(keys::flow), flow);

    PointCheck check;
    check.title = title_of(data);
    check.experiment = experiment_text(type);
    check.facts = facts_of(data, images, check.experiment, flow);
    check.quantity = field ? quantity_words(*field) : "not calculated";
    if (field) check.unit = field_label(*field).unit;
    check.aligned = report.aligned;
    check.unaligned = unaligned_text(report);
    check.copied = report.copied;
    check.alignments = alignments_of(report, type);
    check.by_texture = textures_of(report, type);
    if (report.channels) {
        check.consistency = report.channels->consistency;
        check.noise = ratio_of_ratios_noise;
    }
    check.stages = stages_of(images, type);
    if (field && ports.hasF) {
        check.ports = compare_ports(*field, ports, flow);
        add_sigmas(images, *field, ports, check.ports);
    }
    check.uncertainty = report.uncertainty;
    check.conversion = report.conversion;
    check.computed = report.field || !field;
    state_remark(data, images, check.warnings);
    if (std::ranges::none_of(report.warnings, [](const Warning& warning) {
            return warning.kind == WarningKind::saturation;
        }))
        saturation_remarks(check.stages, check.warnings);
    if (field && report.conversion) range_remark(*field, *report.conversion, check.warnings);
    check.warnings.insert(check.warnings.end(), report.warnings.begin(), report.warnings.end());
    return check;
}

}  // namespace vyn
