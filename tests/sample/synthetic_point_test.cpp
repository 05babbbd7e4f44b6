#include "sample/synthetic_point.h"

#include <array>
#include <cmath>

#include <gtest/gtest.h>

#include "api/image_io.h"
#include "api/parallel.h"
#include "core/errors.h"
#include "core/project_file.h"
#include "markers/marker_files.h"
#include "sample/synthetic_geometry.h"
#include "tests/support/project_fixture.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

SyntheticPoint make(const SyntheticOptions& options) {
    Progress progress;
    return make_synthetic_point(options, progress);
}

/// Light in counts per flat field: what the scene gave at a camera pixel.
Bitmap<float> light(const image& picture, const image& dark, const image& flat) {
    Bitmap<float> result(picture.width(), picture.height());
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            result(x, y) = (picture.values()(x, y) - dark.values()(x, y)) / flat.values()(x, y);
    return result;
}

/// Lagrange interpolation through 8 x 8 samples: on waves of 18 pixels good to 1e-6.
double interpolated(const Bitmap<float>& plane, Point p) {
    const int x0 = static_cast<int>(std::floor(p.x)) - 3;
    const int y0 = static_cast<int>(std::floor(p.y)) - 3;
    const auto weights = [](double t) {
        std::array<double, 8> w{};
        for (int i = 0; i < 8; ++i) {
            w[static_cast<std::size_t>(i)] = 1;
            for (int j = 0; j < 8; ++j)
                if (j != i) w[static_cast<std::size_t>(i)] *= (t - j) / (i - j);
        }
        return w;
    };
    const auto wx = weights(p.x - x0);
    const auto wy = weights(p.y - y0);
    double sum = 0;
    for (int j = 0; j < 8; ++j)
        for (int i = 0; i < 8; ++i)
            sum += wx[static_cast<std::size_t>(i)] * wy[static_cast<std::size_t>(j)] *
                   plane(x0 + i, y0 + j);
    return sum;
}

/// The camera position of an ideal point, by plain iteration of the lens formula.
Point seen(const Distortion& lens, Point ideal) {
    const double dx = ideal.x - lens.cx;
    const double dy = ideal.y - lens.cy;
    double d = 1;
    for (int i = 0; i < 200; ++i) {
        const double r2 = d * d * (dx * dx + dy * dy);
        d = 1 + lens.a2 * r2 + lens.a4 * r2 * r2;
    }
    return {lens.cx + d * dx, lens.cy + d * dy};
}

struct PointCase {
    int width, height, order;
    std::optional<double> a2;
    double a4;
    FieldQuantity quantity;
};

class SyntheticTruth : public testing::TestWithParam<PointCase> {};

/// Pictures to truth by a second road: at a point of the model, both pictures are looked up where
/// the lens and the motion say, and the paint law is written out.
TEST_P(SyntheticTruth, FollowsFromThePictures) {
    const PointCase& given = GetParam();
    SyntheticOptions options;
    options.width = given.width;
    options.height = given.height;
    options.order = given.order;
    options.a2 = given.a2;
    options.a4 = given.a4;
    options.quantity = given.quantity;
    const SyntheticPoint point = make(options);
    const Bitmap<float> off = light(point.wind_off, point.wind_off_dark, point.flat);
    const Bitmap<float> on = light(point.wind_on, point.wind_on_dark, point.flat);
    const auto polynomial = [&](std::size_t row, double t) {
        const auto& g = point.paint.gamma[row];
        return g[0] + g[1] * t + g[2] * t * t;
    };
    const auto law = [&](double t, double r) {
        return polynomial(0, t) + polynomial(1, t) * r + polynomial(2, t) * r * r;
    };
    double wind_off_ratio = 1;  // bisection
    for (double step = 0.5; step > 1e-12; step /= 2)
        wind_off_ratio +=
            law(point.flow.wind_off_t, wind_off_ratio) < point.flow.wind_off_p ? step : -step;
    double lowest = 1e9;
    double highest = -1e9;
    for (const Marker& port : point.ports.markers) {
        const Point x{port.x, port.y};
        const Point moved = point.wind_on_from_wind_off.at(x);
        const double ratio =
            interpolated(off, seen(point.lens, x)) / interpolated(on, seen(point.lens, moved));
        const double pressure = law(point.flow.wind_on_t, ratio * wind_off_ratio);
        EXPECT_NEAR(pressure, port.f, 1.5) << "port " << port.id;
        lowest = std::min(lowest, pressure);
        highest = std::max(highest, pressure);

        double expected = ratio;
        double tolerance = 1e-5;
        if (given.quantity == FieldQuantity::pressure) {
            expected = pressure;
            tolerance = 1.5;
        } else if (given.quantity == FieldQuantity::cp) {
            expected = (pressure - point.flow.static_p) / point.flow.dynamic_p;
        } else if (given.quantity == FieldQuantity::p_over_static) {
            expected = pressure / point.flow.static_p;
        }
        EXPECT_NEAR(interpolated(point.truth.values(), x), expected, 5 * tolerance);
        EXPECT_EQ(point.truth.mask()(int(port.x), int(port.y)), 0);
    }
    EXPECT_GT(highest - lowest, 15000);
    EXPECT_EQ(point.truth.mask()(0, 0), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Points, SyntheticTruth,
    testing::Values(PointCase{640, 480, 0, 0.0, 0, FieldQuantity::pressure},
                    PointCase{640, 480, 1, std::nullopt, 0, FieldQuantity::cp},
                    PointCase{640, 480, 2, -6e-8, 2e-13, FieldQuantity::p_over_static},
                    PointCase{480, 640, 3, 3e-7, 0, FieldQuantity::ratio},
                    PointCase{700, 500, 3, 0.0, 5e-13, FieldQuantity::pressure}));

/// Every order adds terms, or the samples of different orders would test the same thing.
TEST(SyntheticPoint, MovesByAboutTheStatedAmount) {
    for (const int order : {0, 1, 2, 3}) {
        const PolyTransform map = synthetic_motion(order, 128, 96);
        EXPECT_EQ(map.n, poly_coefficient_count(order));
        EXPECT_NE(map.ax[static_cast<std::size_t>(map.n) - 1], 0);
        for (const Point p : {Point{0, 0}, {127, 0}, {0, 95}, {127, 95}, {63.5, 47.5}}) {
            const Point moved = apply_poly(map, p);
            const double distance = std::hypot(moved.x - p.x, moved.y - p.y);
            EXPECT_GT(distance, 0.5);
            EXPECT_LT(distance, 9);
        }
    }
}

/// Centre of the dark core below 60 % of the surroundings, weighted by depth.
Point dark_core(const Bitmap<float>& plane, Point near) {
    double surroundings = 0;
    for (int k = 0; k < 16; ++k) {
        const double angle = k * std::acos(-1.0) / 8;
        surroundings +=
            interpolated(plane, {near.x + 8 * std::cos(angle), near.y + 8 * std::sin(angle)}) / 16;
    }
    double sum = 0, sum_x = 0, sum_y = 0;
    for (int y = int(near.y) - 6; y <= int(near.y) + 7; ++y)
        for (int x = int(near.x) - 6; x <= int(near.x) + 7; ++x) {
            const double depth = std::max(0.0, 0.6 * surroundings - plane(x, y));
            sum += depth;
            sum_x += depth * x;
            sum_y += depth * y;
        }
    return {sum_x / sum, sum_y / sum};
}

/// One centroid is off by what the paint's gradient does to it (a few hundredths); their mean is
/// not.
TEST(SyntheticPoint, MarkersSitOnTheDots) {
    SyntheticOptions options;
    options.order = 3;
    const SyntheticPoint point = make(options);
    const auto check = [&](const image& picture, const image& dark, const MarkerSet& markers) {
        const Bitmap<float> plane = light(picture, dark, point.flat);
        double mean_x = 0, mean_y = 0;
        for (const Marker& marker : markers.markers) {
            const Point core = dark_core(plane, {marker.x, marker.y});
            EXPECT_NEAR(std::hypot(core.x - marker.x, core.y - marker.y), 0, 0.08) << marker.id;
            mean_x += (core.x - marker.x) / static_cast<double>(markers.markers.size());
            mean_y += (core.y - marker.y) / static_cast<double>(markers.markers.size());
        }
        EXPECT_NEAR(mean_x, 0, 0.02);
        EXPECT_NEAR(mean_y, 0, 0.02);
    };
    ASSERT_EQ(point.wind_off_markers.markers.size(), 30U);
    check(point.wind_off, point.wind_off_dark, point.wind_off_markers);
    check(point.wind_on, point.wind_on_dark, point.wind_on_markers);
}

TEST(SyntheticPoint, DarkLevelPartsModelFromGround) {
    const SyntheticPoint point = make({});
    for (const image* picture : {&point.wind_off, &point.wind_on})
        for (int y = 0; y < picture->height(); y += 3)
            for (int x = 0; x < picture->width(); x += 3) {
                const float value = picture->values()(x, y);
                EXPECT_LT(value, 65535);
                // Farther than motion, distortion and blur reach from the outline.
                bool model = true, ground = true;
                for (int v = std::max(0, y - 12); v <= std::min(point.truth.height() - 1, y + 12);
                     ++v)
                    for (int u = std::max(0, x - 12);
                         u <= std::min(point.truth.width() - 1, x + 12); ++u)
                        (point.truth.mask()(u, v) ? model : ground) = false;
                if (model) {
                    EXPECT_GT(value, 2 * point.dark_level);
                }
                if (ground) {
                    EXPECT_LT(value, 0.75 * point.dark_level);
                }
            }
}

TEST(SyntheticPoint, NoiseIsThatOfTheCamera) {
    SyntheticOptions options;
    const SyntheticPoint clean = make(options);
    options.noise = SyntheticOptions::Noise::camera;
    const SyntheticPoint noisy = make(options);
    double dark = 0, shot = 0, mean = 0;
    for (int y = 0; y < options.height; ++y)
        for (int x = 0; x < options.width; ++x) {
            const double value = noisy.wind_off.values()(x, y);
            ASSERT_EQ(value, std::round(value));
            const double light = clean.wind_off.values()(x, y) - clean.wind_off_dark.values()(x, y);
            const double deviate =
                (value - clean.wind_off.values()(x, y)) / std::sqrt(light / 4 + 36);
            mean += deviate;
            shot += deviate * deviate;
            const double d = noisy.wind_on_dark.values()(x, y) - clean.wind_on_dark.values()(x, y);
            dark += d * d;
        }
    const double count = options.width * options.height;  // 3e5: deviations of 0.2 to 0.3 %
    EXPECT_NEAR(mean / count, 0, 0.01);
    EXPECT_NEAR(shot / count, 1, 0.015);
    EXPECT_NEAR(dark / count, 36, 0.5);
}

TEST(SyntheticPoint, DependsOnItsOptionsOnly) {
    SyntheticOptions options;
    options.width = 150;
    options.height = 130;
    options.noise = SyntheticOptions::Noise::camera;
    const SyntheticPoint first = make(options);
    const ThreadLimit one_thread(1);
    const SyntheticPoint second = make(options);
    options.seed = 2;
    const SyntheticPoint other = make(options);
    for (image SyntheticPoint::*picture :
         {&SyntheticPoint::wind_off, &SyntheticPoint::wind_on, &SyntheticPoint::wind_off_dark}) {
        EXPECT_TRUE(same_bits(first.*picture, second.*picture));
        EXPECT_FALSE(same_bits(first.*picture, other.*picture));
    }
    EXPECT_EQ(first.wind_on_markers, second.wind_on_markers);
    EXPECT_NE(first.wind_on_markers, other.wind_on_markers);
}

TEST(SyntheticPoint, RefusesSillyOptions) {
    const auto refused = [](auto change) {
        SyntheticOptions options;
        change(options);
        EXPECT_NE(problem_of(options), "");
        EXPECT_THROW(make(options), AlgoError);
    };
    EXPECT_EQ(problem_of({}), "");
    refused([](SyntheticOptions& o) { o.width = 63; });
    refused([](SyntheticOptions& o) { o.height = 16385; });
    refused([](SyntheticOptions& o) { o.order = 4; });
    refused([](SyntheticOptions& o) { o.a2 = -1e-5; });
    refused([](SyntheticOptions& o) { o.a4 = std::nan(""); });
}

TEST(SyntheticPoint, FilesHoldThePoint) {
    register_plugins("*.2dio");
    const TemporaryFolder folder;
    SyntheticOptions options;
    options.width = 200;
    options.height = 160;
    const SyntheticPoint point = make(options);
    Progress progress;
    write_synthetic_point(point, folder.path(), progress);
    for (const std::string& name : synthetic_file_names())
        EXPECT_TRUE(std::filesystem::exists(folder / name)) << name;

    EXPECT_TRUE(same_bits(read_image(folder / "wind_on.tif"), point.wind_on));
    const image truth = read_image(folder / "truth.tif");
    EXPECT_EQ(truth.mask()(0, 0), 1);
    EXPECT_EQ(truth.values()(100, 80), point.truth.values()(100, 80));
    MarkerSet ports;
    ASSERT_TRUE(read_markers(folder / "ports.mrk", ports, 0));
    ASSERT_EQ(ports.markers.size(), point.ports.markers.size());
    EXPECT_NEAR(ports.markers[7].f, point.ports.markers[7].f, 0.06);  // six digits

    simpleNamedDataSet data;
    load_xml(data, (folder / "project.xml").c_str());
    cameraFeatures from_project, from_file;
    read(data, std::string("project/sens_cam/"), from_project);
    read_camera(folder / "camera.ini", from_file);
    from_file.camera = from_project.camera;
    EXPECT_EQ(from_project, from_file);
    EXPECT_EQ(from_file.a2, point.lens.a2);
    paintFeatures paint;
    read_paint_calibration(folder / "paint.clb", paint);
    EXPECT_EQ(paint, point.paint);
}

}  // namespace
}  // namespace vyn::test
