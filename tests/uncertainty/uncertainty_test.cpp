#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <random>

#include <gtest/gtest.h>

#include "align/marker_alignment.h"
#include "core/errors.h"
#include "uncertainty/displacement_variance.h"
#include "uncertainty/law_variance.h"
#include "uncertainty/median_variance.h"
#include "uncertainty/photon_transfer.h"
#include "uncertainty/picture_noise.h"
#include "uncertainty/relative_sigma.h"
#include "uncertainty/resampling_gain.h"

namespace vyn::test {
namespace {

/// What interpolation leaves of the noise of independent pixels, by the cardinal splines'
/// integrals.
TEST(ResamplingGain, IsThatOfTheCardinalSplines) {
    const double half[] = {0.707, 0.756, 0.807, 0.836};
    const double mean[] = {0.863, 0.874, 0.905, 0.918};
    for (int degree = 2; degree <= 5; ++degree) {
        const ResamplingWeights weights(degree, Samplings::one, nullptr, 0);
        const std::vector<float> gains = weights.gains();
        double sum = 0;
        for (const float gain : gains)
            sum += gain / double(gains.size());
        EXPECT_NEAR(gains[0], 1, 1e-4);
        EXPECT_NEAR(gains[ResamplingWeights::phases / 2], half[degree - 2], 1e-3) << degree;
        EXPECT_NEAR(sum, mean[degree - 2], 1e-3) << degree;
    }
    FilterOptions box;
    box.dx = 5;
    EXPECT_NEAR(ResamplingWeights(3, Samplings::none, &box, 5).gains()[0], 0.2, 1e-6);
    // sampled at whole pixels, sampling again changes nothing
    const ResamplingWeights two(3, Samplings::two, nullptr, 0);
    EXPECT_NEAR(two.gains()[7 * 32], two.gains()[7], 1e-4);
}

/// A median's excess over a mean by draws of noise on a ramp.
TEST(MedianVariance, IsThatOfDraws) {
    FilterOptions median;
    median.type = FilterType::median;
    median.dx = median.dy = 3;
    median.iterations = 1;
    const std::vector<float> table = median_variance::table(median);
    std::mt19937_64 engine(3);
    std::normal_distribution<double> normal;
    for (const int entry : {0, 20, 28, 40}) {
        const double octave =
            median_variance::first_octave + (entry + 0.5) / median_variance::entries_per_octave;
        const double slope = std::exp2(octave / 2);
        constexpr int draws = 20000;
        double squares = 0;
        for (int draw = 0; draw < draws; ++draw) {
            const double angle = std::numbers::pi * draw / draws;
            std::array<double, 9> window{};
            for (int i = 0; i < 9; ++i)
                window[std::size_t(i)] =
                    slope * (std::cos(angle) * (i % 3 - 1) + std::sin(angle) * (i / 3 - 1)) +
                    normal(engine);
            std::ranges::nth_element(window, window.begin() + 4);
            squares += window[4] * window[4] / draws;
        }
        EXPECT_NEAR(table[std::size_t(entry)] + 1.0 / 9, squares, 0.05 * squares) << slope;
    }
}

TEST(SharedWeights, ArePlacesOnTopOfEachOtherOrApart) {
    const ResamplingWeights a(3, Samplings::one, nullptr, 0);
    const ResamplingWeights b(3, Samplings::two, nullptr, 0);
    const SharedWeights shared(a, b);
    const auto entry = [&](int phase_a, int first_b, int second_b, int apart) {
        const int across = 2 * SharedWeights::most_apart + 1;
        return shared.table()[std::size_t(
            ((phase_a * shared.b_firsts() + first_b) * shared.b_seconds() + second_b) * across +
            apart + SharedWeights::most_apart)];
    };
    for (int phase = 0; phase < SharedWeights::phases; ++phase)
        EXPECT_NEAR(entry(phase, phase, 0, 0), 1, 1e-4) << phase;
    EXPECT_NEAR(entry(0, 0, 0, 1), 0, 1e-4);
    EXPECT_LT(std::abs(entry(3, 9, 4, 4)), 0.05);
}

/// Against differences of the law itself, with fa found again from the changed conditions.
TEST(LawVariance, IsThatOfDifferences) {
    paintFeatures paint;
    paint.gamma = {{{-21000, 12, 0.3}, {98000, -150, 0.8}, {24000, 40, -0.2}}};
    paint.pressure_unit = "Pa";
    paint.temperature_unit = "C";
    flowFeatures flow;
    flow.wind_off_p = 101000;
    flow.wind_off_t = 21;
    flow.wind_on_t = 17;
    flow.p_unit = "Pa";
    flow.t_unit = "C";
    const double ratio = 0.83;
    const auto pressure = [&](const paintFeatures& p, const flowFeatures& f, double r) {
        const FieldConversion conversion =
            prepare_conversion(FieldQuantity::pressure, p, f).conversion;
        const double scaled = conversion.wind_off_ratio * r;
        return conversion.law.a + scaled * (conversion.law.b + scaled * conversion.law.c);
    };
    const auto prepared = prepare_conversion(FieldQuantity::pressure, paint, flow);
    const double scaled = prepared.conversion.wind_off_ratio * ratio;
    const auto deviation = [&](const Quartic& variance) {
        return std::sqrt(value_of(variance, scaled));
    };
    const auto by = [&](auto change, double step) {
        paintFeatures p[2] = {paint, paint};
        flowFeatures f[2] = {flow, flow};
        change(p[0], f[0], -step / 2);
        change(p[1], f[1], step / 2);
        return std::abs(pressure(p[1], f[1], ratio) - pressure(p[0], f[0], ratio)) / step;
    };
    ConditionSigmas one;
    one.wind_on_t = 1;
    EXPECT_NEAR(deviation(law_variance(prepared, one, {}, 0).temperature),
                by([](auto&, auto& f, double d) { f.wind_on_t += d; }, 1e-3), 1e-3);
    one = {};
    one.wind_off_t = 1;
    EXPECT_NEAR(deviation(law_variance(prepared, one, {}, 0).reference),
                by([](auto&, auto& f, double d) { f.wind_off_t += d; }, 1e-3), 1e-3);
    one = {};
    one.wind_off_p = 1;
    EXPECT_NEAR(deviation(law_variance(prepared, one, {}, 0).reference),
                by([](auto&, auto& f, double d) { f.wind_off_p += d; }, 1), 1e-6);
    for (std::size_t k = 0; k < 9; ++k) {
        LawCovariance covariance{};
        covariance[k][k] = 1;
        const double step = 1e-3;
        EXPECT_NEAR(deviation(law_variance(prepared, {}, covariance, 0).law),
                    by([k](auto& p, auto&, double d) { p.gamma[k / 3][k % 3] += d; }, step),
                    1e-4 * (1 + deviation(law_variance(prepared, {}, covariance, 0).law)))
            << k;
    }
    const auto& by_log = law_variance(prepared, {}, {}, 0).by_log_ratio;
    const double h = 1e-6;
    EXPECT_NEAR(
        by_log[1] * scaled + by_log[2] * scaled * scaled,
        (pressure(paint, flow, ratio * (1 + h)) - pressure(paint, flow, ratio * (1 - h))) / (2 * h),
        1e-2);
    EXPECT_FALSE(law_variance(prepared, {}, {}, 0).law_known);
}

/// The scatter of fitted mappings over many draws of the markers.
TEST(DisplacementVariance, IsThatOfFittedMappings) {
    constexpr double sigma = 0.1;
    constexpr int draws = 400;
    std::mt19937_64 engine(7);
    std::normal_distribution<double> normal(0, sigma);
    const Point far{300, 20};
    double actual = 0;
    double foretold = 0;
    for (int draw = 0; draw < draws; ++draw) {
        MarkerSet reference;
        MarkerSet moved;
        for (int i = 0; i < 16; ++i) {
            Marker marker;
            marker.id = i + 1;
            marker.x = 40 + 80 * (i % 4);
            marker.y = 30 + 60 * (i / 4);
            reference.markers.push_back(marker);
            marker.x += normal(engine) * std::sqrt(2);
            marker.y += normal(engine) * std::sqrt(2);
            moved.markers.push_back(marker);
        }
        const MarkerMatch match = match_markers(reference, moved, {.order = 2});
        ASSERT_TRUE(match.ok);
        const Point at = apply_poly(match.moved_from_reference, far);
        actual += (std::pow(at.x - far.x, 2) + std::pow(at.y - far.y, 2)) / (2 * draws);
        const DisplacementVariance variance = variance_of_markers(match, 1.3 * sigma, 320, 240);
        std::vector<float> x(320);
        std::vector<float> y(320);
        variance.row(320, 20, x.data(), y.data());
        foretold += (double(x[300]) + double(y[300])) / (2 * draws);
    }
    EXPECT_NEAR(foretold / actual, 1.11, 0.15) << "(P - n) / (P - n - 1)";
}

/// A second camera shows the frame twice as large, turned by a right angle and 32 pixels farther.
TEST(DisplacementVariance, IsCarriedToTheFrameOfTheResults) {
    DisplacementVariance of_picture = uniform_variance(0.2, 320, 240);
    for (int r = 0; r < of_picture.x.height(); ++r)
        for (int c = 0; c < of_picture.x.width(); ++c)
            of_picture.x(c, r) = 0.01F * float(c);
    PolyTransform farther{.n = 1};
    farther.ax[0] = 32;
    PolyTransform turned{.n = 3};
    turned.ax[2] = 2;
    turned.ay[1] = -2;
    const DisplacementVariance found =
        carried_to_frame(of_picture, ImageMap().then(farther), ImageMap().then(turned), 200, 100);
    std::vector<float> x(200);
    std::vector<float> y(200);
    found.row(200, 40, x.data(), y.data());
    const double columns = (100.0 + 32) / of_picture.step;
    EXPECT_NEAR(x[100], 0.04 / 4, 1e-6);
    EXPECT_NEAR(y[100], 0.01 * columns / 4, 1e-6);
}

image shot_noise_frame(double light, double gain, double read, unsigned seed) {
    std::mt19937_64 engine(seed);
    std::normal_distribution<double> normal;
    image frame(200, 150);
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < 200; ++x) {
            const double signal = light * (0.3 + 0.7 * x / 200);
            frame.values()(x, y) = float(
                std::round(100 + signal + normal(engine) * std::sqrt(signal / gain + read * read)));
        }
    frame.full_scale = 65535;
    return frame;
}

TEST(PhotonTransfer, FindsGainAndReadOutNoise) {
    std::vector<image> frames;
    for (unsigned i = 0; i < 8; ++i)
        frames.push_back(shot_noise_frame(200 << (i / 2 * 2), 2.5, 5, i + 1));
    const PhotonTransfer measured = photon_transfer(frames, nullptr, 100);
    EXPECT_NEAR(measured.gain, 2.5, 4 * measured.gain_error);
    EXPECT_LT(measured.gain_error, 0.05);
    EXPECT_NEAR(measured.read, 5, 4 * measured.read_error);
    EXPECT_LT(measured.read_error, 0.5);
    frames.resize(1);
    EXPECT_THROW(photon_transfer(frames, nullptr, 100), AlgoError);
    frames.push_back(shot_noise_frame(9000, 2.5, 5, 3));
    EXPECT_THROW(photon_transfer(frames, nullptr, 100), AlgoError) << "no pair of one scene";
}

/// Few frames are pooled by brightness, many tell every pixel's noise.
TEST(PictureNoise, ComesFromTheFramesOfAPicture) {
    for (const int count : {4, 20}) {
        image mean(200, 150);
        auto statistics = std::make_shared<FrameStatistics>();
        statistics->frames = count;
        statistics->variance = Bitmap<float>(200, 150);
        std::vector<image> frames;
        for (int i = 0; i < count; ++i)
            frames.push_back(shot_noise_frame(4000, 2, 4, 50 + unsigned(i)));
        for (int y = 0; y < 150; ++y)
            for (int x = 0; x < 200; ++x) {
                double sum = 0;
                double squares = 0;
                for (const image& frame : frames) {
                    sum += frame.values()(x, y);
                    squares += std::pow(frame.values()(x, y), 2);
                }
                mean.values()(x, y) = float(sum / count);
                statistics->variance(x, y) = float((squares - sum * sum / count) / (count - 1));
            }
        mean.frames = statistics;
        image dark(200, 150);
        for (int y = 0; y < 150; ++y)
            std::fill_n(dark.values().row(y), 200, 100.0F);
        const NoiseLine line = noise_line({}, "auto", &mean, &dark, "gain");
        EXPECT_EQ(line.source, NoiseSource::burst);
        EXPECT_EQ(line.frames != nullptr, count >= frames_that_tell);
        if (line.frames) continue;
        const double expected = (2500.0 / 2 + 16) / count;
        EXPECT_NEAR((line.offset + line.slope * 2500) / expected, 1, 0.05);
    }
    CameraNoise camera;
    EXPECT_EQ(noise_line(camera, "burst", nullptr, nullptr, "gain").source, NoiseSource::unknown);
    EXPECT_THROW(noise_line(camera, "transfer", nullptr, nullptr, "gain"), AlgoError);
}

TEST(PerCentOfField, IsOfItsAmountWhereThereIsOne) {
    image field(6, 1);
    field.quantity = {Quantity::Kind::cp};
    image sigma = field;
    sigma.name = "field_P_sigma_common";
    sigma.quantity.deviation = true;
    const float fields[] = {2, -0.5F, 0, 4, 4, NAN};
    for (int x = 0; x < 6; ++x) {
        field.values()(x, 0) = fields[x];
        sigma.values()(x, 0) = 0.01F;
    }
    field.mask()(3, 0) = 1;
    sigma.mask()(4, 0) = 1;
    const image per_cent = per_cent_of_field(sigma, field);
    EXPECT_FLOAT_EQ(per_cent.values()(0, 0), 0.5F);
    EXPECT_FLOAT_EQ(per_cent.values()(1, 0), 2);
    for (int x = 0; x < 6; ++x)
        EXPECT_EQ(per_cent.mask()(x, 0) != 0, x >= 2) << x;
    EXPECT_EQ(field_label(per_cent).text(), "SD of Cp, %");

    EXPECT_EQ(field_of_sigma(sigma.name), "field_P");
    EXPECT_EQ(field_of_sigma("Iref"), "");
    EXPECT_NE(objection_to_per_cent(sigma, nullptr), "");
    EXPECT_NE(objection_to_per_cent(field, &field), "") << "no deviation";
    field.unit = "Pa";
    EXPECT_THROW(per_cent_of_field(sigma, field), AlgoError) << "another unit";
    for (image* picture : {&field, &sigma})
        picture->quantity.kind = Quantity::Kind::temperature, picture->unit = "c";
    EXPECT_NE(objection_to_per_cent(sigma, &field), "") << "0 degrees are no nothing";
}

}  // namespace
}  // namespace vyn::test
