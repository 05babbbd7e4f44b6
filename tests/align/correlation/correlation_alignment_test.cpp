#include "align/correlation/correlation_alignment.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "api/parallel.h"
#include "core/errors.h"
#include "tests/align/correlation/textured_pair.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;

constexpr float not_finite = std::numeric_limits<float>::quiet_NaN();

CorrelationResult align(const TexturedPair& pair, const CorrelationOptions& options = {},
                        const StartMapping& start = {}) {
    Progress progress;
    return align_by_correlation(pair.off, pair.on, options, start, progress);
}

PairScene scene_of(
    int size, Displacement2d displacement = [](Point) { return Point{}; }) {
    PairScene scene;
    scene.size = size;
    scene.displacement = std::move(displacement);
    return scene;
}

Point node(int column, int row, const CorrelationOptions& options = {}) {
    return {static_cast<double>(column * options.step), static_cast<double>(row * options.step)};
}

struct Errors {
    double root_mean_square = 0;
    double largest = 0;
    double high = 0;  ///< 99 % are smaller
    Point mean;
    double measured = 0;  ///< share of the nodes looked at
    double within_two_sigma = 0;
};

/// Over the measured nodes with a whole cell in the picture and in `part`.
Errors errors_of(
    const CorrelationResult& result, int size, const Displacement2d& truth,
    const std::function<bool(Point)>& part = [](Point) { return true; }) {
    Errors errors;
    std::vector<double> lengths;
    int nodes = 0;
    for (int r = 0; r < result.source.height(); ++r)
        for (int c = 0; c < result.source.width(); ++c) {
            const Point at = node(c, r);
            const Point d = truth(at);
            const auto inside = [size](double x) { return x >= 8 && x <= size - 8; };
            if (!inside(at.x) || !inside(at.y) || !inside(at.x + d.x) || !inside(at.y + d.y) ||
                !part(at))
                continue;
            ++nodes;
            if (result.source(c, r) != NodeSource::measured) continue;
            const Point found = result.field.at(at);
            const Point off{found.x - d.x, found.y - d.y};
            lengths.push_back(std::hypot(off.x, off.y));
            errors.mean.x += off.x;
            errors.mean.y += off.y;
            errors.root_mean_square += lengths.back() * lengths.back();
            errors.within_two_sigma +=
                0.5 * (std::abs(off.x) <= 2 * static_cast<double>(result.sigma_u(c, r))) +
                0.5 * (std::abs(off.y) <= 2 * static_cast<double>(result.sigma_v(c, r)));
        }
    if (lengths.empty()) return errors;
    std::sort(lengths.begin(), lengths.end());
    const auto n = static_cast<double>(lengths.size());
    errors.measured = n / nodes;
    errors.root_mean_square = std::sqrt(errors.root_mean_square / n);
    errors.within_two_sigma /= n;
    errors.mean = {errors.mean.x / n, errors.mean.y / n};
    errors.largest = lengths.back();
    errors.high = lengths[static_cast<std::size_t>(0.99 * (n - 1))];
    return errors;
}

Point nowhere(Point) {
    return {};
}

Point waves(Point p) {
    return {2 * std::sin(2 * M_PI * p.y / 128), 2 * std::sin(2 * M_PI * p.x / 128)};
}

Point bending(Point p) {
    return {0.4 * std::sin(p.x / 90), 1.5 * p.y * p.y / 256 / 256};
}

TEST(CorrelationAlignment, FindsNothingBetweenTwoEqualPictures) {
    TexturedPair pair = make_textured_pair(scene_of(256));
    pair.on = pair.off;
    const CorrelationResult result = align(pair);
    ASSERT_EQ(result.failure, "");
    const Errors errors = errors_of(result, 256, nowhere);
    EXPECT_LT(errors.largest, 1e-3);
    EXPECT_EQ(errors.measured, 1);
    EXPECT_EQ(result.statistics.no_texture, 0);
    EXPECT_EQ(result.statistics.changes.size(), 3U);
}

TEST(CorrelationAlignment, HasNoErrorOfItsOwnAtPartsOfPixels) {
    for (const Texture::Kind kind : {Texture::Kind::gaussians, Texture::Kind::dots})
        for (const int tenth : {0, 3, 5, 8}) {
            if (kind == Texture::Kind::dots && tenth % 5 == 0) continue;
            const Point shift{tenth / 10.0, 3 - tenth / 10.0};
            PairScene scene = scene_of(192, [shift](Point) { return shift; });
            scene.kind = kind;
            scene.texture_size = kind == Texture::Kind::dots ? 1.5 : 1;
            scene.seed = 7;
            const Errors errors =
                errors_of(align(make_textured_pair(scene)), 192, scene.displacement);
            EXPECT_LT(std::abs(errors.mean.x), 0.003) << shift.x;
            EXPECT_LT(std::abs(errors.mean.y), 0.003) << shift.y;
            EXPECT_LT(errors.root_mean_square, 0.008) << shift.x;
            EXPECT_GT(errors.measured, 0.97) << shift.x;
        }
}

TEST(CorrelationAlignment, FollowsADeformationAndKnowsItsErrors) {
    const PairScene scene = scene_of(256, waves);
    const CorrelationResult result = align(make_textured_pair(scene));
    ASSERT_EQ(result.failure, "");
    const Errors errors = errors_of(result, 256, waves);
    EXPECT_LT(errors.root_mean_square, 0.016);
    EXPECT_LT(errors.largest, 0.1);
    EXPECT_GT(errors.measured, 0.97);
    EXPECT_GT(errors.within_two_sigma, 0.85);
    EXPECT_LT(errors.within_two_sigma, 0.98);
    EXPECT_NEAR(result.statistics.largest_displacement, std::sqrt(8.0), 0.1);
    EXPECT_LT(result.statistics.changes.back(), 0.01);
}

TEST(CorrelationAlignment, GlobalPassFindsLargeMotions) {
    const Displacement2d motion = [](Point p) {
        return Point{75 + 0.03 * (p.y - 128), -40 - 0.03 * (p.x - 128)};
    };
    const TexturedPair pair = make_textured_pair(scene_of(256, motion));
    CorrelationOptions options;
    options.global = GlobalPass::yes;
    const Errors errors = errors_of(align(pair, options), 256, motion);
    EXPECT_LT(errors.root_mean_square, 0.01);
    EXPECT_GT(errors.measured, 0.97);
}

TEST(CorrelationAlignment, StartsFromAMappingAndReturnsToIt) {
    // a painted square that bends; the ground is as the mapping says
    const Displacement2d motion = [](Point p) {
        const Point bend = bending(p);
        return Point{30 + bend.x, -25 + bend.y};
    };
    PairScene scene = scene_of(256, motion);
    scene.painted = [](Point p) { return p.x > 40 && p.x < 150 && p.y > 60 && p.y < 200; };
    scene.masked_ground = true;
    const CorrelationResult result = align(make_textured_pair(scene), {}, [](Point p) {
        return Point{p.x + 30, p.y - 25};
    });
    ASSERT_EQ(result.failure, "");
    const Errors errors = errors_of(result, 256, motion, [](Point p) {
        return p.x > 48 && p.x < 142 && p.y > 68 && p.y < 192;
    });
    EXPECT_LT(errors.root_mean_square, 0.01);
    EXPECT_GT(errors.measured, 0.97);
    EXPECT_NEAR(result.field.at({240, 240}).x, 30, 1e-6);
    EXPECT_NEAR(result.field.at({240, 240}).y, -25, 1e-6);
    EXPECT_EQ(result.source(30, 30), NodeSource::none);
    // beside the paint the measured field goes on
    EXPECT_EQ(result.source(19, 15), NodeSource::filled);
    EXPECT_NEAR(result.field.at(node(19, 15)).y, motion(node(19, 15)).y, 0.05);
}

TEST(CorrelationAlignment, BrightnessDoesNotMoveVectors) {
    PairScene scene = scene_of(256, bending);
    scene.noise = 0;
    const CorrelationResult even = align(make_textured_pair(scene));
    scene.gain = [](Point p) {
        return (1.25 + 0.75 * std::sin(p.x / 40) * std::cos(p.y / 50)) *
               (1 + 0.15 * (1 + std::tanh((p.x - 120 - 0.2 * p.y) / 1.5)));
    };
    const CorrelationResult uneven = align(make_textured_pair(scene));
    ASSERT_EQ(uneven.failure, "");
    const Errors errors = errors_of(uneven, 256, [&even](Point p) { return even.field.at(p); });
    EXPECT_LT(errors.root_mean_square, 0.003);
    EXPECT_LT(errors.high, 0.01);
    EXPECT_GT(errors.measured, 0.97);
}

TEST(CorrelationAlignment, ExcludedJunkHasNoSay) {
    const TexturedPair clean = make_textured_pair(scene_of(256, bending));
    const auto left = [](Point p) { return p.x < 118; };
    enum class Way { mask, region, nan, level };
    for (const Way way : {Way::mask, Way::region, Way::nan, Way::level}) {
        TexturedPair pair = clean;
        CorrelationOptions options;
        image& on = pair.on;
        if (way == Way::region) on.fill_region(1);
        if (way == Way::level) options.level = 100;
        for (int y = 0; y < 256; ++y)
            for (int x = 128; x < 256; ++x) {
                on.values()(x, y) = way == Way::nan     ? not_finite
                                    : way == Way::level ? static_cast<float>((x * y) % 90)
                                                        : 1e6F * static_cast<float>((x * y) % 7);
                if (way == Way::mask) on.mask()(x, y) = 1;
                if (way == Way::region) on.region()(x, y) = 0;
            }
        const CorrelationResult result = align(pair, options);
        ASSERT_EQ(result.failure, "");
        const Errors errors = errors_of(result, 256, bending, left);
        EXPECT_LT(errors.root_mean_square, 0.008);
        EXPECT_GT(errors.measured, 0.97);
        const Errors other = errors_of(result, 256, bending, [](Point p) { return p.x > 140; });
        EXPECT_EQ(other.measured, 0);
    }
}

TEST(CorrelationAlignment, SaysWhereThePaintHasNoTexture) {
    PairScene scene = scene_of(256, bending);
    const auto patch = [](Point p) { return p.x > 80 && p.x < 180 && p.y > 60 && p.y < 160; };
    scene.bare = patch;
    const CorrelationResult result = align(make_textured_pair(scene));
    ASSERT_EQ(result.failure, "");
    const auto within = [](Point p) { return p.x > 96 && p.x < 164 && p.y > 76 && p.y < 144; };
    EXPECT_LE(errors_of(result, 256, bending, within).measured, 0.01);
    const Errors around = errors_of(result, 256, bending, [](Point p) { return p.x < 66; });
    EXPECT_GT(around.measured, 0.97);
    EXPECT_LT(around.root_mean_square, 0.008);
    EXPECT_NEAR(result.statistics.no_texture, 0.12, 0.05);
}

TEST(CorrelationAlignment, FailsWithoutTexture) {
    PairScene scene = scene_of(256);
    scene.bare = [](Point) { return true; };
    EXPECT_THAT(align(make_textured_pair(scene)).failure, HasSubstr("texture"));  // noise
    TexturedPair flat{image(128, 128), image(128, 128)};
    flat.off.values().fill(500);
    flat.on.values().fill(500);
    EXPECT_THAT(align(flat).failure, HasSubstr("texture"));
    CorrelationOptions options;
    options.global = GlobalPass::yes;
    EXPECT_THAT(align(flat, options).failure, HasSubstr("texture"));
    // halves that do not meet
    TexturedPair apart = make_textured_pair(scene_of(128));
    for (int y = 0; y < 128; ++y)
        for (int x = 0; x < 128; ++x)
            (x < 64 ? apart.off : apart.on).mask()(x, y) = 1;
    EXPECT_THAT(align(apart).failure, HasSubstr("overlap"));
}

TEST(CorrelationAlignment, ThreadsDoNotShow) {
    PairScene scene = scene_of(200, waves);
    scene.masked_ground = true;
    scene.painted = [](Point p) { return std::hypot(p.x - 100, p.y - 90) < 85; };
    const TexturedPair pair = make_textured_pair(scene);
    CorrelationOptions options;
    options.global = GlobalPass::yes;
    const auto run = [&](int threads) {
        const ThreadLimit limit(threads);
        return align(pair, options);
    };
    const CorrelationResult one = run(1);
    ASSERT_EQ(one.failure, "");
    for (const int threads : {2, 3}) {
        const CorrelationResult other = run(threads);
        for (int r = 0; r < one.source.height(); ++r)
            for (int c = 0; c < one.source.width(); ++c) {
                ASSERT_EQ(other.field.at(node(c, r)), one.field.at(node(c, r)));
                ASSERT_EQ(other.source(c, r), one.source(c, r));
                ASSERT_EQ(other.sigma_u(c, r), one.sigma_u(c, r));
            }
    }
}

TEST(CorrelationAlignment, RefusesBadInputByName) {
    const TexturedPair pair = make_textured_pair(scene_of(64));
    TexturedPair masked = pair;
    masked.on.mask().fill(1);
    TexturedPair not_a_number = pair;
    not_a_number.off.values().fill(not_finite);
    TexturedPair row{image(64, 1), image(64, 1)};
    TexturedPair sizes{image(64, 60), image(60, 64)};
    struct Case {
        const TexturedPair& pair;
        CorrelationOptions options;
        const char* said[2];
    };
    const auto with = [](auto change) {
        CorrelationOptions options;
        change(options);
        return options;
    };
    const Case cases[] = {
        {pair, with([](auto& o) { o.cell = 65; }), {"cell of 65 pixels", "64 x 64"}},
        {pair, with([](auto& o) { o.cell = 1; }), {"cell", "not 1"}},
        {pair, with([](auto& o) { o.step = 0; }), {"step", "not 0"}},
        {pair, with([](auto& o) { o.step = 100; }), {"step of 100", "64 x 64"}},
        {pair, with([](auto& o) { o.iterations = -1; }), {"iterations", "not -1"}},
        {pair, with([](auto& o) { o.level = 1e9F; }), {"'off'", "level of 1e+09"}},
        {pair, with([](auto& o) { o.level = not_finite; }), {"level", "no number"}},
        {masked, {}, {"'on'", "no usable pixel"}},
        {not_a_number, {}, {"'off'", "not finite"}},
        {row, {}, {"cell", "64 x 1"}},
        {sizes, {}, {"64 x 60", "60 x 64"}},
    };
    for (const Case& bad : cases) {
        std::string said;
        try {
            align(bad.pair, bad.options);
        } catch (const GenericError& error) {
            said = error.what();
        }
        for (const char* const part : bad.said)
            EXPECT_THAT(said, HasSubstr(part));
    }
}

TEST(CorrelationAlignment, TellsItsProgressAndStops) {
    class Watch final : public Progress {
      public:
        void fraction(double done) override {
            double seen = last_;
            while (done > seen && !last_.compare_exchange_weak(seen, done)) {
            }
        }
        bool aborted() const override { return last_ > stop_at; }
        double stop_at = 2;
        std::atomic<double> last_ = 0;
    };
    const TexturedPair pair = make_textured_pair(scene_of(128, bending));
    Watch watch;
    align_by_correlation(pair.off, pair.on, {}, {}, watch);
    EXPECT_NEAR(watch.last_, 1, 0.02);
    for (const double share : {0.05, 0.3, 0.8}) {
        Watch stopped;
        stopped.stop_at = share;
        EXPECT_THROW(align_by_correlation(pair.off, pair.on, {}, {}, stopped), Aborted);
        EXPECT_LT(stopped.last_, share + 0.15);
    }
}

}  // namespace
}  // namespace vyn::test
