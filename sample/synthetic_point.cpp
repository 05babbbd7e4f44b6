#include "sample/synthetic_point.h"

#include <algorithm>
#include <cmath>

#include "api/lens.h"
#include "api/parallel.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "sample/synthetic_geometry.h"
#include "sample/synthetic_light.h"
#include "sample/synthetic_records.h"
#include "sample/synthetic_scene.h"

namespace vyn {

namespace {

constexpr int smallest_side = 64;
constexpr int largest_side = 16384;
constexpr double strongest_distortion = 0.2;
constexpr double most_bending = 4;    // pixels
constexpr double steepest_ramp = 40;  // kelvin
constexpr double most_drift = 0.5;
constexpr int first_port_number = 101;
constexpr int most_ports = 20;
constexpr std::uint64_t port_stream = 0x706f727473;  // of the ports' errors
constexpr double most_gain = 2;
constexpr double most_warmer = 20;  // degrees
constexpr int row_block = 8;

/// A field in the point's quantity from pressure and ratio at each place, excluded off the model.
template <class ValueAt>
image field_of(const SyntheticOptions& options, const SyntheticScene& scene, const char* name,
               Progress& progress, ValueAt value_at) {
    image field(options.width, options.height);
    field.name = name;
    field.quantity = quantity_of(options.quantity);
    if (options.quantity == FieldQuantity::pressure) field.unit = synthetic_flow().p_unit;
    Bitmap<float>& values = field.values();
    Bitmap<std::uint8_t>& mask = field.mask();
    parallel_rows(options.height, row_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y)
            for (int x = 0; x < options.width; ++x) {
                const Point place{double(x), double(y)};
                values(x, y) = static_cast<float>(value_at(place));
                mask(x, y) = scene.inside(place) > 0 ? 0 : 1;
            }
    });
    return field;
}

/// Where the camera shows a place of the laboratory.
Point seen_by(const SyntheticCamera& camera, Point place) {
    return exact_camera_position(camera.lens, apply_poly(camera.ideal_from_laboratory, place));
}

/// The dots as a camera sees them.
void place_dots(const SyntheticScene& scene, const ImageMap& motion, const SyntheticCamera& camera,
                SyntheticPictures& pictures) {
    std::int32_t number = 0;
    for (MarkerSet* set : {&pictures.wind_off_markers, &pictures.wind_on_markers})
        set->hasX = set->hasY = true;
    for (const Point& dot : scene.dots()) {
        ++number;
        pictures.wind_off_markers.markers.push_back(marker_at(seen_by(camera, dot), number));
        pictures.wind_on_markers.markers.push_back(
            marker_at(seen_by(camera, motion.at(dot)), number));
    }
}

void place_truth_markers(const SyntheticScene& scene, SyntheticPoint& point) {
    for (MarkerSet* set : {&point.truth_markers, &point.ports})
        set->hasX = set->hasY = true;
    std::int32_t number = 0;
    for (const Point& dot : scene.dots())
        point.truth_markers.markers.push_back(marker_at(dot, ++number));
    point.ports.hasF = true;
    point.ports.functionName = std::string("P");
    for (std::size_t i = 0; i < scene.ports().size(); ++i) {
        Marker marker = marker_at(scene.ports()[i], number++);
        marker.f = scene.pressure(scene.ports()[i]) +
                   point.options.port_noise * hashed_normal(point.options.seed, port_stream, i);
        point.ports.markers.push_back(marker);
    }
    std::vector<Marker>& ports = point.ports.markers;
    const auto wanted = static_cast<std::size_t>(point.options.ports);
    if (wanted == 0 || wanted >= ports.size()) return;
    std::ranges::sort(ports, {}, &Marker::f);
    ports.resize(wanted);
    std::ranges::sort(ports, {}, &Marker::id);
}

/// What an infrared camera sees: the model's temperatures before a cold wall.
SyntheticInfrared take_infrared(const SyntheticOptions& options, const SyntheticScene& scene,
                                const ImageMap& motion, Progress& progress) {
    constexpr double colder = 12;  // kelvin
    const SyntheticCamera camera = infrared_camera(options);
    SyntheticInfrared infrared;
    infrared.camera = camera.record();
    infrared.picture = image(camera.width, camera.height);
    infrared.picture.name = "infrared";
    infrared.picture.quantity = {Quantity::Kind::temperature};
    infrared.picture.unit = synthetic_flow().t_unit;
    Bitmap<float>& values = infrared.picture.values();
    parallel_rows(camera.height, row_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y)
            for (int x = 0; x < camera.width; ++x) {
                const Point place =
                    inverse_mapped(camera.ideal_from_laboratory,
                                   ideal_position(camera.lens, {double(x), double(y)}));
                const Point on_model = motion.inverse(place).value();
                const double wall = scene.inside(on_model) > 0 ? 0 : colder;
                values(x, y) = static_cast<float>(synthetic_temperature(options, on_model) - wall);
            }
    });
    infrared.markers.hasX = infrared.markers.hasY = true;
    std::int32_t number = 0;
    for (const Point& dot : scene.dots())
        infrared.markers.markers.push_back(marker_at(seen_by(camera, motion.at(dot)), ++number));
    return infrared;
}

/// Gate 1 has the camera of gate 2.
SyntheticCamera second_camera(const SyntheticOptions& options) {
    if (options.channels == SyntheticOptions::Channels::binary) return reference_camera(options);
    SyntheticCamera camera = signal_camera(options);
    camera.role = SyntheticCamera::Role::gate_1;
    return camera;
}

}  // namespace

std::string problem_of(const SyntheticOptions& options) {
    const auto silly = [](int side) { return side < smallest_side || side > largest_side; };
    if (silly(options.width) || silly(options.height))
        return "a picture of " + std::to_string(options.width) + " x " +
               std::to_string(options.height) + " pixels: each side must be " +
               std::to_string(smallest_side) + " to " + std::to_string(largest_side);
    if (options.order < 0 || options.order > 3)
        return "the motion's order " + std::to_string(options.order) + " is not 0 to 3";
    if (!(options.bending >= 0 && options.bending <= most_bending))
        return "a bending of " + format_double(options.bending) + " pixels: 0 to " +
               format_double(most_bending) + " are possible";
    if (!(options.ratio_gain >= 1 / most_gain && options.ratio_gain <= most_gain))
        return "a gain of the ratio of " + format_double(options.ratio_gain) +
               ": 0.5 to 2 are possible";
    if (!(std::abs(options.warmer) <= most_warmer))
        return format_double(options.warmer) + " degrees warmer: -20 to 20 are possible";
    if (options.ports < 0 || options.ports > most_ports)
        return std::to_string(options.ports) + " ports: 1 to " + std::to_string(most_ports) +
               " are possible";
    if (!(options.port_noise >= 0 && options.port_noise <= SyntheticScene::static_pressure))
        return "a standard deviation of the ports of " + format_double(options.port_noise) +
               " Pa is not possible";
    if (!(std::abs(options.temperature_ramp) <= steepest_ramp))
        return "a temperature ramp of " + format_double(options.temperature_ramp) +
               " kelvin: at most " + format_double(steepest_ramp) + " are possible";
    if (!(std::abs(options.lamp_drift) <= most_drift))
        return "a drift of the lamp by " + format_double(options.lamp_drift) + ": at most " +
               format_double(most_drift) + " is possible";
    if (options.lamp_drift != 0 && options.channels != SyntheticOptions::Channels::single)
        return "a lamp that drifts is that of a single channel: two cancel it";
    const Distortion lens = signal_camera(options).lens;
    const double half_diagonal = 0.5 * std::hypot(options.width, options.height);
    const double r2 = half_diagonal * half_diagonal;
    const double strength = std::abs(lens.a2) * r2 + 2 * std::abs(lens.a4) * r2 * r2;
    if (!(strength <= strongest_distortion))
        return "the distortion a2 = " + format_double(lens.a2) +
               ", a4 = " + format_double(lens.a4) +
               " is too strong for the picture: |a2| r^2 + 2 |a4| r^4 in "
               "the corners is " +
               format_general(strength, 3) + ", at most " +
               format_general(strongest_distortion, 3) + " is possible";
    return {};
}

SyntheticPoint make_synthetic_point(const SyntheticOptions& options, Progress& progress) {
    if (const std::string problem = problem_of(options); !problem.empty())
        throw AlgoError("Algorithm error!", problem);
    SyntheticPoint point;
    point.options = options;
    const SyntheticCamera camera = signal_camera(options);
    point.lens = camera.lens;
    point.wind_on_from_wind_off = synthetic_motion(options.order, options.bending, options.width,
                                                   options.height, options.point);
    point.dark_level = synthetic_dark_level;
    point.camera = camera.record();
    point.paint = synthetic_paint();
    point.flow = synthetic_flow();
    const SyntheticScene scene(
        options.width, options.height, options.seed,
        options.bending == 0 ? SyntheticScene::Surface::plain : SyntheticScene::Surface::speckled);
    flowFeatures real_flow = point.flow;
    real_flow.wind_on_t += options.warmer;
    const PaintResponse response(point.paint, real_flow, options.ratio_gain);
    const SyntheticLights lights = lights_of(options, scene, response);
    const bool two = options.channels != SyntheticOptions::Channels::single;
    SubProgress signal(progress, 0, two ? 0.45 : 0.9);
    SubProgress reference(progress, 0.45, 0.9);
    SubProgress truth(progress, 0.9, 1);

    const ImageMap& motion = point.wind_on_from_wind_off;
    place_dots(scene, motion, camera, point);
    take_pictures(camera, options, motion, lights.signal, point, signal);
    if (two) {
        const SyntheticCamera second = second_camera(options);
        point.reference.emplace().camera = second.record();
        place_dots(scene, motion, second, *point.reference);
        take_pictures(second, options, motion, lights.reference, *point.reference, reference);
    }
    if (options.temperature_ramp != 0)
        point.infrared = take_infrared(options, scene, motion, truth);
    place_truth_markers(scene, point);
    const auto quantity = [&](double pressure, double ratio) {
        return in_quantity(options.quantity, pressure, ratio, point.flow);
    };
    point.truth = field_of(options, scene, "truth", truth, [&](Point place) {
        const double pressure = scene.pressure(place);
        return quantity(pressure, response.ratio(pressure, synthetic_temperature(options, place)));
    });
    if (options.channels == SyntheticOptions::Channels::binary)
        point.single_channel = field_of(options, scene, "single_channel", truth, [&](Point place) {
            const double ratio = response.ratio(scene.pressure(place)) *
                                 lamp_factor(options, place, motion.at(place));
            return quantity(response.pressure(ratio), ratio);
        });
    return point;
}

}  // namespace vyn
