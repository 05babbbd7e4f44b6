#include "process/steps/temperature_step.h"

#include <algorithm>
#include <cmath>

#include "align/image_map.h"
#include "api/image_parts.h"
#include "api/resample.h"
#include "calib/camera.h"
#include "calib/recovery_temperature.h"
#include "calib/units.h"
#include "core/ascii.h"
#include "core/errors.h"
#include "core/log.h"
#include "core/numbers.h"
#include "process/point/experiment_type.h"
#include "process/point/image_sizes.h"
#include "process/point/marker_frames.h"
#include "process/point/picture_warnings.h"
#include "process/report/image_statistics.h"
#include "process/steps/field_quantity.h"
#include "process/steps/step_settings.h"
#include "uncertainty/displacement_variance.h"

namespace vyn {

namespace names = image_names;

namespace {

using Picture = std::shared_ptr<const image>;

/// The unit of the temperatures; the test's when none is entered.
std::string unit_of(dataSetInterface& data) {
    std::string unit = read(data, keys::temperature_unit);
    if (!unit.empty()) return unit;
    flowFeatures flow;
    read(data, std::string(keys::flow), flow);
    return flow.t_unit;
}

std::string file_of(const image& picture) {
    return picture.file_name.empty() ? picture.name : picture.file_name;
}

/// A temperature map as it lies in its file, with the standard deviation of its pixels.
struct TemperatureMap {
    Picture values;
    image sigma;
};

TemperatureMap map_of(const StepRun& run) {
    const imagesList& images = run.session.images;
    TemperatureMap map{images.find(names::temperature_map), {}};
    if (!map.values) throw StateError("State error!", "the temperature map is not loaded any more");
    if (const Picture sigma = images.find(names::temperature_map_sigma)) {
        require_same_size(*sigma, *map.values);
        map.sigma = *sigma;
        return map;
    }
    map.sigma = *map.values;
    const auto everywhere = static_cast<float>(read(run.session.data, keys::temperature_sigma));
    for (int y = 0; y < map.sigma.height(); ++y)
        std::fill_n(map.sigma.values().row(y), map.sigma.width(), everywhere);
    return map;
}

/// Adds what an uncertain place makes of a slope, central differences over valid neighbours.
void add_registration(const image& temperature, const DisplacementVariance& places,
                      double map_per_frame, image& sigma) {
    const Bitmap<float>& t = temperature.values();
    const Bitmap<std::uint8_t>& mask = temperature.mask();
    std::vector<float> var_x(static_cast<std::size_t>(t.width()));
    std::vector<float> var_y(var_x.size());
    const auto slope = [&](int x0, int y0, int x1, int y1, int apart) {
        return mask(x0, y0) != 0 || mask(x1, y1) != 0
                   ? 0.0
                   : (double(t(x1, y1)) - double(t(x0, y0))) / (apart * map_per_frame);
    };
    for (int y = 0; y < t.height(); ++y) {
        places.row(t.width(), y, var_x.data(), var_y.data());
        const int above = std::max(0, y - 1);
        const int below = std::min(t.height() - 1, y + 1);
        for (int x = 0; x < t.width(); ++x) {
            const int left = std::max(0, x - 1);
            const int right = std::min(t.width() - 1, x + 1);
            const double along_x = slope(left, y, right, y, std::max(1, right - left));
            const double along_y = slope(x, above, x, below, std::max(1, below - above));
            const auto column = static_cast<std::size_t>(x);
            const double variance = along_x * along_x * double(var_x[column]) +
                                    along_y * along_y * double(var_y[column]);
            float& value = sigma.values()(x, y);
            value = static_cast<float>(std::sqrt(double(value) * double(value) + variance));
        }
    }
}

/// The mapping from the frame of the results to the map, by their markers.
MarkerMatch match_map(const StepRun& run, const image& frame, const image& map) {
    dataSetInterface& data = run.session.data;
    MarkerMatchOptions options = match_options(data);
    options.order =
        order_of_mapping(read(data, keys::temperature_order), frame.markers, map.markers, options);
    MarkerMatch match = match_markers(frame.markers, map.markers, options);
    for (const std::string& note : match.notes)
        warn(run.report, WarningKind::alignment, note);
    for (const std::string& line : report_lines(match, frame.name, map.name))
        get_log().write(LogLevel::progress, line);
    if (!match.ok)
        throw AlgoError("Algorithm error!", file_of(map) +
                                                ": the temperature map cannot be aligned by its "
                                                "markers: " +
                                                match.failure);
    return match;
}

/// The frame of the results where it is seen in the map: sampled once, through its camera's lens.
TemperatureMap sampled(const StepRun& run, const image& frame, const TemperatureMap& map,
                       const ImageMap& map_from_frame) {
    const auto moved = [&](const image& source) {
        image soft = source;
        soft.edges = SplineEdges::extended;  // what is beside the model has any temperature
        image result =
            resample(soft, frame.width(), frame.height(), map_from_frame.rows(), run.context);
        result.markers = frame.markers;
        return result;
    };
    return {std::make_shared<const image>(moved(*map.values)), moved(map.sigma)};
}

/// Pixel on pixel when it has no markers, but for the lens.
TemperatureMap in_frame(const StepRun& run, const image& frame, const TemperatureMap& map) {
    const image& values = *map.values;
    cameraFeatures camera;
    read(run.session.data, std::string(keys::temperature_camera), camera);
    const Distortion lens = lens_of(camera);
    if (const std::string text = lens_warning(run.session.data, keys::temperature_camera, values);
        !text.empty())
        warn(run.report, WarningKind::missing_correction, text);
    if (values.markers.markers.empty()) {
        if (!values.values().same_size(frame.values()))
            throw IndexError(
                file_of(values) + ": the temperature map has " + std::to_string(values.width()) +
                " x " + std::to_string(values.height()) + " pixels, the results have " +
                std::to_string(frame.width()) + " x " + std::to_string(frame.height()) +
                ": name its markers by " + std::string(keys::temperature_map_mark_file.path) +
                ", or give a map of their size");
        return lens.none() ? map : sampled(run, frame, map, ImageMap().then(lens));
    }
    run.context.status("Aligning the temperature map");
    image ideal = values;  // with its markers where they were without the lens
    ideal.markers = to_ideal_frame(ideal.markers, lens);
    const MarkerMatch match = match_map(run, frame, ideal);
    TemperatureMap result =
        sampled(run, frame, map, ImageMap().then(match.moved_from_reference).then(lens));
    const Jacobian scale =
        poly_derivative(match.moved_from_reference, {0.5 * frame.width(), 0.5 * frame.height()});
    add_registration(
        *result.values,
        variance_of_markers(match, read(run.session.data, keys::uncertainty_marker_sigma),
                            frame.width(), frame.height()),
        std::sqrt(std::abs(scale.xx * scale.yy - scale.xy * scale.yx)), result.sigma);
    run.report.temperature.emplace().alignment = match;
    return result;
}

TemperatureMap recovery(const StepRun& run, const image& ratio) {
    dataSetInterface& data = run.session.data;
    const UnitMessagesOff quiet;  // the field step complains of the units
    paintFeatures paint;
    flowFeatures flow;
    read(data, std::string(keys::sens_paint), paint);
    read(data, std::string(keys::flow), flow);
    // Conversions are by the units' names; those of a law in Celsius are in capitals.
    const std::string unit = lower_case(unit_of(data));
    RecoveryFlow of_flow;
    of_flow.total = convert_temperature(read(data, keys::temperature_total), unit, "k");
    of_flow.mach = flow.mach;
    of_flow.factor = read(data, keys::temperature_recovery_factor);
    if (!(of_flow.total > 0) || !(of_flow.mach > 0) || !(flow.static_p > 0))
        throw AlgoError("Algorithm error!", "the recovery temperature needs " +
                                                std::string(keys::temperature_total.path) + ", " +
                                                std::string(keys::flow) + "mach and " +
                                                std::string(keys::flow) + "static_p above zero");
    const WindOffRule rule = uses_wind_off(data, run.session.images)
                                 ? wind_off_rule(read(data, keys::convert_wind_off_ratio))
                                 : WindOffRule::unity;
    const PreparedConversion prepared =
        prepare_conversion(FieldQuantity::pressure, paint, flow, rule);
    of_flow.static_pressure = flow.static_p;
    const auto in_law = [&](double kelvin) {
        return convert_temperature(convert_temperature(kelvin, "k", unit), unit_of(data),
                                   prepared.paint.temperature_unit);
    };
    const double offset = in_law(0);
    image kelvin = recovery_temperatures(
        ratio, of_flow, prepared, {prepared.paint.gamma, in_law(1) - offset, offset}, run.context);
    for (int y = 0; y < kelvin.height(); ++y)
        for (int x = 0; x < kelvin.width(); ++x) {
            float& value = kelvin.values()(x, y);
            value = static_cast<float>(convert_temperature(value, "k", unit));
        }
    TemperatureMap map{std::make_shared<const image>(kelvin), std::move(kelvin)};
    const auto sigma = static_cast<float>(read(data, keys::temperature_sigma));
    for (int y = 0; y < map.sigma.height(); ++y)
        std::fill_n(map.sigma.values().row(y), map.sigma.width(), sigma);
    return map;
}

void publish(const StepRun& run, image picture, const char* name, const std::string& unit,
             bool deviation) {
    picture.name = name;
    picture.file_name.clear();
    picture.file_sha256.clear();
    picture.quantity = {Quantity::Kind::temperature, deviation};
    picture.unit = unit;
    picture.displacement.reset();
    run.publish(std::move(picture));
}

}  // namespace

StepFacts temperature_facts(const StepView& view) {
    const dataSetInterface& data = view.data;
    StepFacts facts;
    SettingPaths settings;
    settings.add(keys::convert_field);
    facts.gives = {{names::temperature, {}}, {names::temperature_sigma, {}}};
    if (field_takes_law(data)) settings.add(keys::temperature_source);
    if (!temperature_wanted(data)) {
        facts.settings = settings.take();
        return facts;
    }
    settings.add(keys::temperature_unit);
    if (read(data, keys::temperature_unit).empty()) settings.add(keys::flow, {"t_unit"});
    facts.told.emplace_back(keys::flow);
    const bool map = read(data, keys::temperature_source) == "map";
    facts.takes = {{.name = names::ratio, .markers = map}};
    if (map) {
        facts.takes.push_back({.name = names::temperature_map, .markers = true});
        settings.add(keys::temperature_camera, {"cx", "cy", "a2", "a4"});
        facts.told.emplace_back(keys::temperature_camera);
        facts.takes.push_back(
            {.name = names::temperature_map_sigma, .need = StepImage::Need::if_there});
        if (!view.images.find(names::temperature_map_sigma)) settings.add(keys::temperature_sigma);
        const auto loaded = view.images.find(names::temperature_map);
        if (loaded && !loaded->markers.markers.empty()) {
            settings.add(keys::temperature_order, keys::uncertainty_marker_sigma, keys::markers_box,
                         keys::markers_geometry);
            facts.told.emplace_back(keys::markers_order.path);
            if (read(data, keys::markers_geometry) == 0)
                settings.add(keys::markers_fix, keys::markers_link);
        }
    } else {
        settings.add(keys::temperature_total, keys::temperature_recovery_factor,
                     keys::temperature_sigma);
        settings.add(keys::flow,
                     {"mach", "static_p", "wind_off_p", "wind_off_t", "p_unit", "t_unit"});
        settings.add(keys::sens_paint,
                     {"gamma11", "gamma12", "gamma13", "gamma21", "gamma22", "gamma23", "gamma31",
                      "gamma32", "gamma33", "default_pressure_unit", "default_temperature_unit"});
        facts.told.emplace_back(keys::sens_paint);
        facts.behind = {experiment_flags};
        if (uses_wind_off(data, view.images)) settings.add(keys::convert_wind_off_ratio);
        if (experiment_type(data) == ExperimentType::lifetime)
            facts.takes.push_back({.name = names::wind_off_sens,
                                   .need = StepImage::Need::if_there,
                                   .use = StepImage::Use::behind});
    }
    facts.settings = settings.take();
    return facts;
}

TaskOutcome find_temperature(const StepRun& run) {
    imagesList& images = run.session.images;
    dataSetInterface& data = run.session.data;
    for (const char* name : {names::temperature, names::temperature_sigma})
        images.remove(name);
    if (!temperature_wanted(data)) return TaskOutcome::done;
    const std::string source = read(data, keys::temperature_source);
    const Picture ratio = images.find(names::ratio);
    if (!ratio) return TaskOutcome::failed;
    run.context.status("Finding the wind-on temperature");
    TemperatureMap found =
        source == "map" ? in_frame(run, *ratio, map_of(run)) : recovery(run, *ratio);
    const std::string unit = unit_of(data);
    if (!run.report.temperature) run.report.temperature.emplace();
    run.report.temperature->from =
        source == "map" ? "the map " + file_of(*found.values) : "the recovery of the local flow";
    publish(run, *found.values, names::temperature, unit, false);
    publish(run, std::move(found.sigma), names::temperature_sigma, unit, true);
    const TemperatureSpan span = temperature_span(*images.find(names::temperature));
    run.report.temperature->span = span;
    get_log().write(LogLevel::progress, "Wind-on temperature by " + run.report.temperature->from +
                                            ": " + format_general(span.lowest, 5) + " to " +
                                            format_general(span.highest, 5) + " " + unit);
    return TaskOutcome::done;
}

TemperatureSpan temperature_span(const image& temperature) {
    const ImageStatistics values = image_statistics(temperature);
    if (values.valid == 0)
        throw AlgoError("Algorithm error!", "no pixel of " + temperature.name + " is valid");
    return {temperature.unit, values.mean, values.minimum, values.maximum};
}

}  // namespace vyn
