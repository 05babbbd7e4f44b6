#include <algorithm>
#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/errors.h"
#include "resect/pairing.h"
#include "tests/resect/scene.h"
#include "tests/support/error_of.h"

namespace vyn::test {
namespace {

using testing::Contains;
using testing::HasSubstr;

const Progress silent;

ResectReport resect_scene(const ResectScene& scene, const ResectOptions& options = {}) {
    return resect(scene.markers, {scene.view()}, options, silent);
}

std::string refusal_of(const ResectScene& scene, const ResectOptions& options = {}) {
    const auto error = error_of<AlgoError>([&] { resect_scene(scene, options); });
    EXPECT_STREQ(error.text, "Resection Failed!");
    return error.detail;
}

TEST(Lens, ThereAndBackUpToTheFold) {
    for (const Distortion lens :
         {Distortion{500, 400, 4e-8, 1e-14}, Distortion{500, 400, -9e-8, 0},
          Distortion{500, 400, 3e-7, 0}, Distortion{500, 400, 1e-7, -4e-13}})
        for (double r = 0; r < 800; r += 7) {
            const Point raw{500 + 0.6 * r, 400 - 0.8 * r};
            const double q = r * r;
            const bool before_fold = 1 - (lens.a2 + 3 * lens.a4 * q) * q > 1e-6;
            const auto back = raw_from_ideal(lens, ideal_position(lens, raw));
            if (!before_fold) continue;
            ASSERT_TRUE(back);
            EXPECT_NEAR(back->x, raw.x, 1e-9);
            EXPECT_NEAR(back->y, raw.y, 1e-9);
        }
    // a2 q > 1/4: no raw point has so large an ideal radius.
    EXPECT_FALSE(raw_from_ideal({0, 0, 3e-7, 0}, {0, 1000}));
    EXPECT_TRUE(raw_from_ideal({0, 0, 3e-7, 0}, {0, 900}));
}

TEST(Lens, DerivativesAreThoseOfTheProjection) {
    const PinholeCamera camera{2400, 2395, {620, 500, 3e-8, -2e-14}, 1280, 1024};
    const Eigen::Vector3d place(180, -140, 1000);
    const auto exact = raw_projection(camera, place);
    const auto slope = [&](const PinholeCamera& more, const PinholeCamera& less,
                           const Eigen::Vector3d& step, double size) {
        const auto a = raw_pixel(more, place + step);
        const auto b = raw_pixel(less, place - step);
        return Eigen::Vector2d((a->x - b->x) / (2 * size), (a->y - b->y) / (2 * size));
    };
    for (int i = 0; i < 3; ++i)
        EXPECT_LT(
            (slope(camera, camera, 1e-3 * Eigen::Vector3d::Unit(i), 1e-3) - exact->by_place.col(i))
                .norm(),
            1e-7);
    const double steps[]{1e-6, 1e-3, 1e-3, 1e-13, 1e-19};
    for (int i = 0; i < intrinsic_count; ++i) {
        PinholeCamera more = camera;
        PinholeCamera less = camera;
        for (const double sign : {1.0, -1.0}) {
            PinholeCamera& c = sign > 0 ? more : less;
            const double change = sign * steps[i];
            if (i == 0) c.fx *= 1 + change;
            if (i == 0) c.fy *= 1 + change;
            if (i == 1) c.lens.cx += change;
            if (i == 2) c.lens.cy += change;
            if (i == 3) c.lens.a2 += change;
            if (i == 4) c.lens.a4 += change;
        }
        const Eigen::Vector2d expected = exact->by_intrinsic.col(i);
        EXPECT_LT((slope(more, less, {0, 0, 0}, steps[i]) - expected).norm(),
                  1e-5 * expected.norm() + 1e-6)
            << i;
    }
}

struct ExactCase {
    const char* label;
    int markers;
    double depth;
    StartKind start;
    bool free;
};

class ExactDots : public testing::TestWithParam<ExactCase> {};

/// Without noise everything is found to 1e-8, from a camera file that is a little wrong.
TEST_P(ExactDots, GivePoseAndIntrinsics) {
    const ExactCase& c = GetParam();
    ResectScene scene = scene_of(c.markers, c.depth);
    const PinholeCamera truth = scene.camera;
    ResectOptions options;
    options.start = c.start;
    options.loss = RobustLoss::none;
    if (c.free) {
        options.gate = 20;
        options.free_focus = options.free_centre = options.free_a2 = options.free_a4 = true;
        scene.camera.fx *= 1.002;
        scene.camera.fy *= 1.002;
        scene.camera.lens = {623, 498, 2.5e-8, 0};
    }
    ResectView view = scene.view();
    view.stored = Pose{rotation_of({0.205, -0.352, 0.1}), {16, -19, 1190}};
    const ResectReport report = resect(scene.markers, {view}, options, silent);
    const ViewResult& result = report.views[0];
    EXPECT_LT(pose_error(result.pose, scene.pose), 1e-8);
    EXPECT_EQ(result.used, std::size_t(c.markers));
    EXPECT_LT(result.rms, 1e-6);
    EXPECT_THAT(report.remarks, testing::Each(HasSubstr("two poses")));
    if (!c.free) return;
    EXPECT_NEAR(result.camera.fx / truth.fx, 1, 1e-8);
    EXPECT_NEAR(result.camera.lens.cx, truth.lens.cx, 1e-5);
    EXPECT_NEAR(result.camera.lens.cy, truth.lens.cy, 1e-5);
    EXPECT_NEAR(result.camera.lens.a2 / truth.lens.a2, 1, 1e-6);
    EXPECT_NEAR(result.camera.lens.a4 / truth.lens.a4, 1, 1e-5);
}

INSTANTIATE_TEST_SUITE_P(
    Starts, ExactDots,
    testing::Values(ExactCase{"automatic", 12, 80, StartKind::automatic, false},
                    ExactCase{"direct_linear", 12, 80, StartKind::direct_linear, false},
                    ExactCase{"two_stage", 12, 80, StartKind::two_stage, false},
                    ExactCase{"stored", 12, 80, StartKind::stored, false},
                    ExactCase{"plane", 12, 0, StartKind::plane, false},
                    ExactCase{"automatic_plane", 12, 0, StartKind::automatic, false},
                    ExactCase{"all_free", 60, 250, StartKind::automatic, true},
                    ExactCase{"all_free_direct_linear", 60, 250, StartKind::direct_linear, true}),
    [](const auto& test) { return std::string(test.param.label); });

/// The stated deviations are those that the answers scatter by.
TEST(Noise, ScattersAsTheCovarianceSays) {
    const ResectScene clean = scene_of(30, 120);
    ResectOptions options;
    options.free_focus = true;
    options.loss = RobustLoss::none;
    options.gate = 1e3;
    std::mt19937 random(7);
    constexpr int draws = 2000;
    std::array<int, 7> within{};
    double scatter = 0;
    for (int draw = 0; draw < draws; ++draw) {
        ResectScene scene = clean;
        add_noise(scene, 0.05, random);
        Adjustment problem{
            .cameras = {{scene.camera, {true}}},
            .views = {{0, scene.pose, pairs_by_number(scene.markers, scene.dots, 0.1)}},
            .loss = RobustLoss::none};
        const AdjustmentReport report = adjust(problem, silent);
        Eigen::Matrix<double, 7, 1> error;
        error << vector_of(problem.views[0].pose.rotation * clean.pose.rotation.transpose()),
            problem.views[0].pose.shift - clean.pose.shift,
            std::log(problem.cameras[0].camera.fx / clean.camera.fx);
        for (int i = 0; i < 7; ++i)
            within[std::size_t(i)] += std::abs(error[i]) <= 2 * std::sqrt(report.covariance(i, i));
        scatter += report.scatter / draws;
    }
    for (const int count : within) {
        EXPECT_GE(count, draws * 93 / 100);
        EXPECT_LE(count, draws * 97 / 100);
    }
    EXPECT_NEAR(scatter, 0.5, 0.01);  // 0.05 px of the 0.1 px announced
}

TEST(Pairs, WrongNumbersAreAllFound) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        ResectScene scene = scene_of(30, 100, seed);
        std::mt19937 random(seed);
        add_noise(scene, 0.05, random);
        for (int i = 0; i < 6; ++i)  // a fifth of the dots in a ring of wrong places
            std::swap(scene.dots[std::size_t(5 * i)].id,
                      scene.dots[std::size_t((5 * i + 5) % 30)].id);
        const ResectReport report = resect_scene(scene);
        std::size_t wrong = 0;
        for (std::size_t i = 0; i < 30; ++i)
            wrong += scene.dots[i].id != int(i) + 1;
        EXPECT_EQ(report.views[0].used, 30 - wrong) << seed;
        EXPECT_LT(pose_error(report.views[0].pose, scene.pose), 1e-3) << seed;
        EXPECT_EQ(report.remarks.size(), wrong);
        EXPECT_THAT(report.remarks, testing::Each(HasSubstr("px off and was left out")));
    }
}

/// Numbers that mean nothing, dots missing, a fifth of the dots false.
TEST(Pairs, AreFoundWithoutNumbers) {
    for (unsigned seed = 1; seed <= 4; ++seed) {
        ResectScene scene = scene_of(40, 120, seed);
        std::mt19937 random(seed);
        add_noise(scene, 0.05, random);
        std::shuffle(scene.dots.begin(), scene.dots.end(), random);
        scene.dots.resize(24);
        const std::vector<Marker> true_dots = scene.dots;
        for (int i = 0; i < 6; ++i)
            scene.dots.push_back(marker_at(0, 100.0 + 180 * i, 80.0 + 150 * i));
        for (std::size_t i = 0; i < scene.dots.size(); ++i)
            scene.dots[i].id = int(i) + 1;
        const ResectReport report = resect_scene(scene);
        EXPECT_EQ(report.views[0].paired_how, "by geometry");
        EXPECT_LT(pose_error(report.views[0].pose, scene.pose), 1e-3) << seed;
        EXPECT_GE(report.views[0].used, 22u);
        for (const MarkerResult& pair : report.views[0].markers)
            EXPECT_TRUE(!pair.used || pair.marker_id == true_dots[std::size_t(pair.dot_id) - 1].id);
    }
}

TEST(Pairs, OfASymmetricLayoutAreRefused) {
    ResectScene scene = scene_of(0, 0);
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 4; ++i)
            scene.markers.push_back(marker_at(4 * j + i + 1, 80.0 * i - 120, 80.0 * j - 120));
    see(scene);
    ResectOptions options;
    options.pairing = PairingKind::by_geometry;
    EXPECT_THAT(refusal_of(scene, options),
                HasSubstr("two pairings explain the dots equally well"));
}

/// Fifteen targets on a plane tilted by a degree, as on a public frame: a free focus would leave
/// smaller residuals and be wrong.
TEST(Plane, NearlyParallelToThePictureHoldsTheFocus) {
    ResectScene scene = scene_of(15, 0);
    scene.pose.rotation = rotation_of({0, 0.018, 0});
    see(scene);
    std::mt19937 random(3);
    add_noise(scene, 0.3, random);
    ResectOptions options;
    options.free_focus = true;
    options.image_sigma = 0.3;
    const ResectReport report = resect_scene(scene, options);
    EXPECT_THAT(report.remarks,
                Contains(testing::AllOf(HasSubstr("cannot tell the focal length (σ "),
                                        HasSubstr("plane, tilted"),
                                        HasSubstr("held at the record's value"))));
    EXPECT_TRUE(report.views[0].freed.empty());
    EXPECT_EQ(report.views[0].camera.fx, scene.camera.fx);
    EXPECT_NEAR(report.views[0].distance, (scene.pose.shift).norm(), 3);
}

TEST(Plane, HasTwoPoses) {
    ResectScene scene = scene_of(12, 0);
    scene.pose.rotation = rotation_of({0.2, 0.15, 0});
    scene.camera.fx = scene.camera.fy = 24000;
    scene.pose.shift.z() = 30000;
    see(scene);
    std::mt19937 random(5);
    add_noise(scene, 0.1, random);
    const ResectReport better = resect_scene(scene);
    ASSERT_TRUE(better.views[0].planar);
    ASSERT_TRUE(better.views[0].other_rms);
    EXPECT_THAT(better.remarks, Contains(HasSubstr("pose_choice 1 takes the other")));
    EXPECT_GE(*better.views[0].other_rms, better.views[0].rms);
    ResectOptions options;
    options.pose_choice = ResectOptions::PoseChoice::other;
    const ResectReport other = resect_scene(scene, options);
    EXPECT_EQ(other.views[0].rms, *better.views[0].other_rms);
    EXPECT_GT(pose_error(other.views[0].pose, better.views[0].pose), 0.01);
}

/// Targets whose coordinates are off: two cameras and a prior find where they are.
TEST(Corrections, OfMarkersSeenByTwoCameras) {
    ResectScene first = scene_of(25, 100);
    ResectScene second = first;
    second.camera.fx = second.camera.fy = 2000;
    second.pose.rotation = rotation_of({0.2, 0.5, 0.1});
    see(second);
    std::mt19937 random(11);
    std::normal_distribution<double> noise(0, 0.3);
    std::vector<Marker> measured = first.markers;
    for (Marker& marker : measured)
        for (double* coordinate : {&marker.x, &marker.y, &marker.z})
            *coordinate += noise(random);
    add_noise(first, 0.02, random);
    add_noise(second, 0.02, random);
    ResectOptions options;
    options.image_sigma = 0.02;
    const auto rigid = resect(measured, {first.view(), second.view()}, options, silent);
    EXPECT_GT(rigid.views[0].rms, 0.4);
    options.marker_sigma = 0.3;
    const auto moved = resect(measured, {first.view(), second.view()}, options, silent);
    EXPECT_LT(moved.views[0].rms, 0.05);
    EXPECT_EQ(moved.views[0].used, 25u);
    EXPECT_EQ(moved.views[1].used, 25u);
    EXPECT_NEAR(moved.scatter, 1, 0.25);
    EXPECT_LT(pose_error(moved.views[1].pose, second.pose), 2e-3);
    double before = 0;
    double after = 0;
    for (const MarkerResult& marker : moved.views[0].markers) {
        const Marker& m = measured[std::size_t(marker.marker_id) - 1];
        const Marker& t = first.markers[std::size_t(marker.marker_id) - 1];
        // What all markers share is the pose's, not theirs.
        before += std::hypot(m.x - t.x, m.y - t.y, m.z - t.z);
        after += (marker.place - Eigen::Vector3d(t.x, t.y, t.z)).norm();
    }
    EXPECT_LT(after, 0.5 * before);
}

TEST(Refusals, SayWhatIsMissing) {
    EXPECT_THAT(refusal_of(scene_of(5, 100)),
                HasSubstr("0 markers are paired, 6 are needed; there are 5 markers on the model"));
    ResectScene no_focus = scene_of(10, 100);
    no_focus.camera.fx = 0;
    EXPECT_THAT(refusal_of(no_focus), HasSubstr("the camera cannot be used"));
    ResectScene line = scene_of(0, 0);
    for (int i = 0; i < 10; ++i)
        line.markers.push_back(marker_at(i + 1, 20.0 * i, 10.0 * i, 5.0 * i));
    see(line);
    EXPECT_THAT(refusal_of(line), HasSubstr("lie on a line"));
    ResectScene unrelated = scene_of(10, 100);
    unrelated.dots = scene_of(10, 100, 99).dots;
    EXPECT_THAT(refusal_of(unrelated), HasSubstr("are needed"));
    EXPECT_STREQ(error_of<GenericError>([] { start_kind(5); }).text, "Wrong resect type");
    ResectOptions few;
    few.free_focus = few.free_a4 = true;
    EXPECT_THAT(resect_scene(scene_of(9, 200), few).remarks,
                Contains(HasSubstr("a4 needs 15 pairs, there are 9")));
}

}  // namespace
}  // namespace vyn::test
