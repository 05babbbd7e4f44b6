#include "process/synthetic_point.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "api/parallel.h"
#include "calib/paint_law.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "process/synthetic_geometry.h"
#include "process/synthetic_scene.h"

namespace vyn {

namespace {

constexpr int smallest_side = 64;
constexpr int largest_side = 16384;
constexpr double strongest_distortion = 0.2;
constexpr double default_corner_shift = 3;  // pixels

constexpr double electrons_per_count = 4;
constexpr double read_noise = 6;  // counts
constexpr double full_scale = 65535;
constexpr int first_port_number = 101;
constexpr int row_block = 8;

double half_diagonal(const SyntheticOptions& options) {
    return 0.5 * std::hypot(options.width, options.height);
}

/// Rounded, so that the camera file's 16 digits hold it exactly.
double default_a2(const SyntheticOptions& options) {
    const double a2 = default_corner_shift / std::pow(half_diagonal(options), 3);
    return parse_double(format_general(a2, 3)).value_or(0);
}

Distortion lens_of(const SyntheticOptions& options) {
    Distortion lens;
    lens.cx = 0.5 * (options.width - 1) + 1.75;
    lens.cy = 0.5 * (options.height - 1) - 1.5;
    lens.a2 = options.a2 ? *options.a2 : default_a2(options);
    lens.a4 = options.a4;
    return lens;
}

cameraFeatures camera_of(const SyntheticOptions& options, const Distortion& lens) {
    cameraFeatures camera;
    camera.camera_ID = std::string("SYN1");
    camera.camera_name = std::string("synthetic camera");
    camera.focus = 12.5;
    camera.dx = 0.0055;
    camera.dy = 0.0055;
    camera.ncx = camera.nfx = options.width;
    camera.ncy = camera.nfy = options.height;
    camera.cx = lens.cx;
    camera.cy = lens.cy;
    camera.a2 = lens.a2;
    camera.a4 = lens.a4;
    return camera;
}

paintFeatures synthetic_paint() {
    paintFeatures paint;
    paint.gamma = {{{-13000, 35, 0.15}, {93000, 210, -0.3}, {18000, -40, 0.2}}};
    paint.pressure_unit = std::string("Pa");
    paint.normalizing_pressure = 100000;
    paint.minimal_pressure = 50000;
    paint.maximal_pressure = 130000;
    paint.tolerance_pressure = 100;
    paint.temperature_unit = std::string("C");
    paint.normalizing_temperature = 20;
    paint.minimal_temperature = 0;
    paint.maximal_temperature = 60;
    paint.tolerance_temperature = 0.5;
    return paint;
}

flowFeatures synthetic_flow() {
    flowFeatures flow;
    flow.static_p = SyntheticScene::static_pressure;
    flow.dynamic_p = SyntheticScene::dynamic_pressure;
    flow.wind_off_p = 100000;
    flow.wind_off_t = 20;
    flow.wind_on_t = 26;
    flow.p_unit = std::string("Pa");
    flow.t_unit = std::string("C");
    return flow;
}

/// The paint law solved for the ratio wind-off / wind-on that a pressure gives.
class RatioOfPressure {
  public:
    RatioOfPressure(const paintFeatures& paint, const flowFeatures& flow)
        : law_(law_at(paint, flow.wind_on_t)),
          wind_off_ratio_(wind_off_ratio(paint, flow.wind_off_t, flow.wind_off_p).value) {}

    double operator()(double pressure) const {
        const double discriminant = law_.b * law_.b - 4 * law_.c * (law_.a - pressure);
        return (std::sqrt(discriminant) - law_.b) / (2 * law_.c) / wind_off_ratio_;
    }

  private:
    PaintLaw law_;
    double wind_off_ratio_;
};

/// Dark level, flat field and noise of the camera, as functions of the camera pixel.
class SyntheticCamera {
  public:
    /// Streams of the noise, one per picture.
    enum class Picture : std::uint64_t { wind_off = 16, wind_on, wind_off_dark, wind_on_dark };

    explicit SyntheticCamera(const SyntheticOptions& options) : options_(options) {}

    double flat(int x, int y) const {
        const double u = 2.0 * x / (options_.width - 1) - 1;
        const double v = 2.0 * y / (options_.height - 1) - 1;
        return 1.03 - 0.06 * (u * u + v * v) +
               0.01 * std::cos(3 * std::numbers::pi * u + 2 * std::numbers::pi * v);
    }
    double wind_off_dark(int x) const { return 308 + 4.0 * x / options_.width; }
    double wind_on_dark(int y) const { return 318 + 5.0 * y / options_.height; }

    /// What the camera gives for an expected signal (light counts) on a dark level.
    float recorded(Picture picture, double light, double dark, int x, int y) const {
        const double expected = light + dark;
        if (options_.noise == SyntheticOptions::Noise::none) return static_cast<float>(expected);
        const double deviation = std::sqrt(light / electrons_per_count + read_noise * read_noise);
        const std::uint64_t index =
            static_cast<std::uint64_t>(y) * static_cast<std::uint64_t>(options_.width) +
            static_cast<std::uint64_t>(x);
        const double noisy =
            expected +
            deviation * hashed_normal(options_.seed, static_cast<std::uint64_t>(picture), index);
        return static_cast<float>(std::clamp(std::round(noisy), 0.0, full_scale));
    }

  private:
    const SyntheticOptions& options_;
};

double in_quantity(FieldQuantity quantity, double pressure, double ratio,
                   const flowFeatures& flow) {
    switch (quantity) {
        case FieldQuantity::pressure:
            return pressure;
        case FieldQuantity::p_over_static:
            return pressure / flow.static_p;
        case FieldQuantity::cp:
            return (pressure - flow.static_p) / flow.dynamic_p;
        case FieldQuantity::ratio:
            break;
    }
    return ratio;
}

image named_image(const SyntheticOptions& options, const char* name) {
    image picture(options.width, options.height);
    picture.name = name;
    return picture;
}

void render(SyntheticPoint& point, const SyntheticScene& scene, Progress& progress) {
    const SyntheticOptions& options = point.options;
    const SyntheticCamera camera(options);
    const RatioOfPressure ratio_of(point.paint, point.flow);
    using Picture = SyntheticCamera::Picture;

    const auto render_row = [&](int y) {
        for (int x = 0; x < options.width; ++x) {
            const double flat = camera.flat(x, y);
            const double off_dark = camera.wind_off_dark(x);
            const double on_dark = camera.wind_on_dark(y);
            const Point seen = ideal_position(point.lens, {double(x), double(y)});
            const Point on_model = inverse_mapped(point.wind_on_from_wind_off, seen);
            const double off = scene.wind_off(seen);
            const double on = scene.wind_off(on_model) / ratio_of(scene.pressure(on_model));

            point.flat.values()(x, y) = static_cast<float>(flat);
            point.wind_off_dark.values()(x, y) =
                camera.recorded(Picture::wind_off_dark, 0, off_dark, x, y);
            point.wind_on_dark.values()(x, y) =
                camera.recorded(Picture::wind_on_dark, 0, on_dark, x, y);
            point.wind_off.values()(x, y) =
                camera.recorded(Picture::wind_off, off * flat, off_dark, x, y);
            point.wind_on.values()(x, y) =
                camera.recorded(Picture::wind_on, on * flat, on_dark, x, y);

            const Point ideal{double(x), double(y)};
            const double pressure = scene.pressure(ideal);
            point.truth.values()(x, y) = static_cast<float>(
                in_quantity(options.quantity, pressure, ratio_of(pressure), point.flow));
            point.truth.mask()(x, y) = scene.inside(ideal) > 0 ? 0 : 1;
        }
    };
    parallel_rows(options.height, row_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y)
            render_row(y);
    });
}

Marker marker_at(Point p, std::int32_t number) {
    Marker marker;
    marker.x = p.x;
    marker.y = p.y;
    marker.id = number;
    return marker;
}

void place_markers(SyntheticPoint& point, const SyntheticScene& scene) {
    for (MarkerSet* set :
         {&point.wind_off_markers, &point.wind_on_markers, &point.truth_markers, &point.ports})
        set->hasX = set->hasY = true;
    std::int32_t number = 0;
    for (const Point& dot : scene.dots()) {
        ++number;
        const Point moved = apply_poly(point.wind_on_from_wind_off, dot);
        point.truth_markers.markers.push_back(marker_at(dot, number));
        point.wind_off_markers.markers.push_back(
            marker_at(exact_camera_position(point.lens, dot), number));
        point.wind_on_markers.markers.push_back(
            marker_at(exact_camera_position(point.lens, moved), number));
    }
    point.ports.hasF = true;
    point.ports.functionName = std::string("P");
    number = first_port_number;
    for (const Point& port : scene.ports()) {
        Marker marker = marker_at(port, number++);
        marker.f = scene.pressure(port);
        point.ports.markers.push_back(marker);
    }
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
    const Distortion lens = lens_of(options);
    const double r2 = half_diagonal(options) * half_diagonal(options);
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
        throw AlgoError("process/synthetic_point", __LINE__, "Algorithm error!", problem);
    SyntheticPoint point;
    point.options = options;
    point.lens = lens_of(options);
    point.wind_on_from_wind_off = synthetic_motion(options.order, options.width, options.height);
    point.dark_level = 2400;
    point.camera = camera_of(options, point.lens);
    point.paint = synthetic_paint();
    point.flow = synthetic_flow();
    point.wind_off = named_image(options, "wind_off");
    point.wind_on = named_image(options, "wind_on");
    point.wind_off_dark = named_image(options, "wind_off_dark");
    point.wind_on_dark = named_image(options, "wind_on_dark");
    point.flat = named_image(options, "flat");
    point.truth = named_image(options, "truth");
    const SyntheticScene scene(options.width, options.height, options.seed);
    place_markers(point, scene);
    render(point, scene, progress);
    return point;
}

}  // namespace vyn
