#include "sample/synthetic_camera.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

#include "api/parallel.h"
#include "core/numbers.h"
#include "sample/synthetic_point.h"
#include "sample/synthetic_scene.h"

namespace vyn {

namespace {

constexpr double default_corner_shift = 3;  // pixels
constexpr double full_scale = 65535;
constexpr int row_block = 8;

/// Streams of the noise: four pictures of each camera.
constexpr std::uint64_t first_stream = 16;
enum Picture : std::uint64_t { off_picture, on_picture, off_dark_picture, on_dark_picture };

/// Rounded, so that the camera file's 16 digits hold it exactly.
double default_a2(int width, int height) {
    const double a2 = default_corner_shift / std::pow(0.5 * std::hypot(width, height), 3);
    return parse_double(format_general(a2, 3)).value_or(0);
}

/// What the camera gives for an expected signal (light counts) on a dark level.
class Recorder {
  public:
    Recorder(const SyntheticCamera& camera, const SyntheticOptions& options)
        : options_(options),
          width_(static_cast<std::uint64_t>(camera.width)),
          stream_(first_stream + 4 * static_cast<std::uint64_t>(camera.role)) {}

    float operator()(Picture picture, double light, double dark, int x, int y) const {
        const double expected = light + dark;
        if (options_.noise == SyntheticOptions::Noise::none) return static_cast<float>(expected);
        const double deviation = std::sqrt(
            options_.noise_variance * (light / SyntheticCamera::electrons_per_count +
                                       SyntheticCamera::read_noise * SyntheticCamera::read_noise));
        const std::uint64_t index =
            static_cast<std::uint64_t>(y) * width_ + static_cast<std::uint64_t>(x);
        const double noisy =
            expected + deviation * hashed_normal(options_.seed, stream_of(picture), index);
        return static_cast<float>(std::clamp(std::round(noisy), 0.0, full_scale));
    }

  private:
    /// The points of a run have nothing but the wind-on picture of their own.
    std::uint64_t stream_of(Picture picture) const {
        constexpr std::uint64_t streams_of_all_cameras = 64;
        const auto point = static_cast<std::uint64_t>(options_.point);
        return stream_ + picture + (picture == on_picture ? streams_of_all_cameras * point : 0);
    }

    const SyntheticOptions& options_;
    std::uint64_t width_;
    std::uint64_t stream_;
};

}  // namespace

double SyntheticCamera::flat(int x, int y) const {
    const double u = 2.0 * x / (width - 1) - 1;
    const double v = 2.0 * y / (height - 1) - 1;
    if (role == Role::reference)
        return 1.02 - 0.05 * (u * u + v * v) - 0.015 * std::sin(2 * std::numbers::pi * (u - v));
    return 1.03 - 0.06 * (u * u + v * v) +
           0.01 * std::cos(3 * std::numbers::pi * u + 2 * std::numbers::pi * v);
}

double SyntheticCamera::wind_off_dark(int x) const {
    return 308 + 40.0 * static_cast<double>(role) + 4.0 * x / width;
}

double SyntheticCamera::wind_on_dark(int y) const {
    return 318 + 40.0 * static_cast<double>(role) + 5.0 * y / height;
}

cameraFeatures SyntheticCamera::record() const {
    cameraFeatures record;
    record.camera_ID = std::string(role == Role::infrared    ? "SYN3"
                                   : role == Role::reference ? "SYN2"
                                                             : "SYN1");
    record.camera_name = std::string(role == Role::infrared    ? "synthetic infrared camera"
                                     : role == Role::reference ? "synthetic reference camera"
                                                               : "synthetic camera");
    record.focus = focus;
    record.dx = pixel_spacing;
    record.dy = pixel_spacing;
    record.ncx = record.nfx = width;
    record.ncy = record.nfy = height;
    record.cx = lens.cx;
    record.cy = lens.cy;
    record.a2 = lens.a2;
    record.a4 = lens.a4;
    return record;
}

SyntheticCamera signal_camera(const SyntheticOptions& options) {
    SyntheticCamera camera;
    camera.width = options.width;
    camera.height = options.height;
    camera.lens.cx = 0.5 * (options.width - 1) + 1.75;
    camera.lens.cy = 0.5 * (options.height - 1) - 1.5;
    camera.lens.a2 = options.a2 ? *options.a2 : default_a2(options.width, options.height);
    camera.lens.a4 = options.a4;
    return camera;
}

namespace {

/// A camera with another view of the laboratory: fewer pixels, turned, aimed beside its middle.
SyntheticCamera beside(const SyntheticOptions& options, SyntheticCamera::Role role, double scale,
                       double angle, Point off_middle) {
    SyntheticCamera camera;
    camera.role = role;
    camera.width = static_cast<int>(scale * options.width);
    camera.height = static_cast<int>(scale * options.height);
    PolyTransform& map = camera.ideal_from_laboratory;
    map.n = 3;
    map.ax[1] = map.ay[2] = scale * std::cos(angle);
    map.ax[2] = -scale * std::sin(angle);
    map.ay[1] = scale * std::sin(angle);
    const Point centre{0.5 * (options.width - 1), 0.5 * (options.height - 1)};
    map.ax[0] =
        0.5 * (camera.width - 1) + off_middle.x - map.ax[1] * centre.x - map.ax[2] * centre.y;
    map.ay[0] =
        0.5 * (camera.height - 1) + off_middle.y - map.ay[1] * centre.x - map.ay[2] * centre.y;
    return camera;
}

}  // namespace

SyntheticCamera reference_camera(const SyntheticOptions& options) {
    SyntheticCamera camera =
        beside(options, SyntheticCamera::Role::reference, 0.875, 0.012, {3.4, -2.6});
    camera.lens.cx = 0.5 * (camera.width - 1) - 2.25;
    camera.lens.cy = 0.5 * (camera.height - 1) + 0.75;
    camera.lens.a2 = -0.6 * default_a2(camera.width, camera.height);
    return camera;
}

SyntheticCamera infrared_camera(const SyntheticOptions& options) {
    SyntheticCamera camera =
        beside(options, SyntheticCamera::Role::infrared, 0.5, -0.02, {-1.7, 2.2});
    camera.lens.cx = 0.5 * (camera.width - 1) + 1.5;
    camera.lens.cy = 0.5 * (camera.height - 1) - 2;
    camera.lens.a2 = 2 * default_a2(camera.width, camera.height);
    return camera;
}

void take_pictures(const SyntheticCamera& camera, const SyntheticOptions& options,
                   const std::function<PixelLight(Point ideal)>& light, SyntheticPictures& pictures,
                   Progress& progress) {
    const auto empty_plane = [&camera](image& picture, const char* name,
                                       Quantity::Kind kind =
                                           Quantity::Kind::raw_counts) -> Bitmap<float>& {
        picture = image(camera.width, camera.height);
        picture.name = name;
        picture.quantity = {kind};
        if (kind == Quantity::Kind::raw_counts) picture.unit = count_unit;
        return picture.values();
    };
    Bitmap<float>& off = empty_plane(pictures.wind_off, "wind_off");
    Bitmap<float>& on = empty_plane(pictures.wind_on, "wind_on");
    Bitmap<float>& off_dark_plane = empty_plane(pictures.wind_off_dark, "wind_off_dark");
    Bitmap<float>& on_dark_plane = empty_plane(pictures.wind_on_dark, "wind_on_dark");
    Bitmap<float>& flat_plane = empty_plane(pictures.flat, "flat", Quantity::Kind::flat_field);
    const Recorder recorded(camera, options);
    parallel_rows(camera.height, row_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y)
            for (int x = 0; x < camera.width; ++x) {
                const double flat = camera.flat(x, y);
                const double off_dark = camera.wind_off_dark(x);
                const double on_dark = camera.wind_on_dark(y);
                const Point ideal = ideal_position(camera.lens, {double(x), double(y)});
                const PixelLight seen = light(ideal);
                flat_plane(x, y) = static_cast<float>(flat);
                off_dark_plane(x, y) = recorded(off_dark_picture, 0, off_dark, x, y);
                on_dark_plane(x, y) = recorded(on_dark_picture, 0, on_dark, x, y);
                off(x, y) = recorded(off_picture, seen.wind_off * flat, off_dark, x, y);
                on(x, y) = recorded(on_picture, seen.wind_on * flat, on_dark, x, y);
            }
    });
}

void take_pictures(const SyntheticCamera& camera, const SyntheticOptions& options,
                   const ImageMap& motion, const SyntheticLight& light, SyntheticPictures& pictures,
                   Progress& progress) {
    take_pictures(
        camera, options,
        [&](Point ideal) {
            const Point place = inverse_mapped(camera.ideal_from_laboratory, ideal);
            const Point on_model = motion.inverse(place).value();
            return PixelLight{light.wind_off(place), light.wind_on(place, on_model)};
        },
        pictures, progress);
}

}  // namespace vyn
