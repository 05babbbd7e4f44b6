#include "process/steps/uncertainty_step.h"

#include <gmock/gmock.h>

#include "api/parallel.h"
#include "process/report/point_check.h"
#include "process/steps/result_state.h"
#include "tests/process/steps/synthetic_point_fixture.h"
#include "tests/support/sigma_coverage.h"

namespace vyn::test {
namespace {

namespace names = image_names;

struct Errors {
    const char* name;
    Channels channels;
    Disturbance disturbance;
    Settings settings;
    double worst_ratio;  ///< of predicted to actual scatter or its inverse
};

class SigmaForetells : public testing::TestWithParam<Errors> {};

/// Two deviations hold the errors of many draws, and their scatter is the one foretold.
TEST_P(SigmaForetells, TheErrorsOfDraws) {
    SyntheticOptions options;
    options.width = 200;
    options.height = 150;
    options.order = 1;
    options.channels = GetParam().channels;
    const TemporaryFolder folder;
    const CoverageOfPoint found =
        sigma_coverage(options, GetParam().disturbance, GetParam().settings, 25, folder.path());
    EXPECT_GT(found.inside.count, 25 * 1000);
    EXPECT_GT(found.inside.ratio, 1 / GetParam().worst_ratio);
    EXPECT_LT(found.inside.ratio, GetParam().worst_ratio);
    EXPECT_GE(found.inside.inside, 0.93);
    EXPECT_LE(found.inside.inside, GetParam().worst_ratio > 1.2 ? 1 : 0.98);
    // The error of a law fitted at ports is common to all means: 25 draws know the share to 5 %.
    EXPECT_GE(found.means.inside, GetParam().disturbance.in_situ ? 0.84 : 0.92);
    EXPECT_GE(found.rim.inside, 0.9);
    EXPECT_GT(found.rim.ratio, 1 / std::max(1.2, GetParam().worst_ratio));
    EXPECT_LT(found.rim.ratio, std::max(1.2, GetParam().worst_ratio));
}

Disturbance noise_only() {
    Disturbance noise;
    noise.gain = 1;
    noise.read = 3;
    return noise;
}

Disturbance everything() {
    Disturbance all = noise_only();
    all.flat = 0.002;
    all.markers = 0.04;
    all.temperature = 0.5;
    all.wind_off_p = 100;
    all.lamp = 0.001;
    return all;
}

Disturbance conditions() {
    Disturbance one;
    one.temperature = 1;
    one.wind_off_p = 200;
    one.lamp = 0.002;
    return one;
}

Disturbance in_situ(CalibrationModel model, double port_sigma) {
    Disturbance one = everything();
    one.ports = 100;
    one.in_situ =
        InSituOptions{.side = 5, .pressure_unit = "Pa", .model = model, .port_sigma = port_sigma};
    return one;
}

Disturbance flat() {
    Disturbance one;
    one.flat = 0.002;
    return one;
}

const Settings box{{std::string(keys::filter_enable.path), any(1)}};
const Settings median{{std::string(keys::filter_enable.path), any(1)},
                      {std::string(keys::filter_type.path), any(4)}};
const Settings once{{std::string(keys::resample_once.path), any(1)},
                    {std::string(keys::spline_edges.path), any(std::string("extended"))}};

INSTANTIATE_TEST_SUITE_P(
    Points, SigmaForetells,
    testing::Values(
        Errors{"noise_sampled_once", Channels::single, noise_only(), once, 1.03},
        Errors{"noise_filtered", Channels::single, noise_only(), box, 1.05},
        Errors{"noise_median", Channels::single, noise_only(), median, 1.07},
        Errors{"flat", Channels::single, flat(), {}, 1.03},
        // one number a draw, not one a pixel: 25 draws know it to 14 %
        Errors{"conditions", Channels::single, conditions(), {}, 1.4},
        Errors{"everything", Channels::single, everything(), {}, 1.05},
        Errors{"in_situ", Channels::single, in_situ(CalibrationModel::polynomial, 0), {}, 1.1},
        Errors{"in_situ_k", Channels::single, in_situ(CalibrationModel::ratio_gain, 100), {}, 1.1},
        Errors{"everything_binary", Channels::binary, everything(), {}, 1.1},
        Errors{"everything_lifetime", Channels::lifetime, everything(), {}, 1.1}),
    [](const auto& instance) { return std::string(instance.param.name); });

class UncertaintyStep : public SyntheticPointTest {
  protected:
    void open(Settings settings) {
        settings.emplace_back(keys::uncertainty_enable.path, any(1));
        SyntheticOptions options;
        options.width = 160;
        options.height = 120;
        options.noise = SyntheticOptions::Noise::camera;
        open_point(options, std::move(settings));
    }
};

TEST_F(UncertaintyStep, TellsItsPartsAndHasTheSameBitsOnAnyNumberOfThreads) {
    open({{std::string(keys::sens_noise_gain.path), any(4.0)},
          {std::string(keys::sens_noise_read.path), any(6.0)},
          {std::string(keys::uncertainty_terms.path), any(1)}});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    const auto total = get_images().find(names::sigma);
    ASSERT_TRUE(total && report->uncertainty);
    EXPECT_TRUE(total->quantity.deviation);
    EXPECT_EQ(total->unit, get_images().find(names::field)->unit);
    const UncertaintyBudget& budget = *report->uncertainty;
    EXPECT_EQ(budget.noise, NoiseSource::transfer);
    EXPECT_GT(budget.shot_noise_floor, 0);
    EXPECT_LT(budget.shot_noise_floor, budget.lines[0].rms * 1.5);
    const PointCheck check =
        check_point(*report, program_session().data, get_images(), point.ports);
    ASSERT_TRUE(check.ports.chi_square) << "the ports' true pressures lie within the band";
    EXPECT_GT(*check.ports.chi_square, 0.1);
    EXPECT_LT(*check.ports.chi_square, 3);
    EXPECT_TRUE(check.uncertainty);
    double share = 0;
    double variance = 0;
    for (std::size_t i = 0; i < budget.lines.size(); ++i) {
        share += budget.lines[i].share;
        const float part = get_images().find(names::sigma_terms[i])->values()(80, 60);
        variance += double(part) * part;
    }
    EXPECT_NEAR(share, 1, 1e-12);
    EXPECT_NEAR(std::sqrt(variance) / total->values()(80, 60), 1, 1e-5);
    const BudgetLine& law = budget.lines[std::size_t(SigmaTerm::law)];
    EXPECT_TRUE(law.applies && !law.known) << "nobody entered it";
    EXPECT_FALSE(budget.lines[std::size_t(SigmaTerm::conditions)].applies) << "a pressure has none";
    for (const int threads : {1, 2}) {
        const ThreadLimit limit(threads);
        ASSERT_EQ(calculate(), TaskOutcome::done);
        EXPECT_TRUE(same_bits(*total, *get_images().find(names::sigma))) << threads;
    }
    write(program_session().data, keys::uncertainty_enable, 0);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_FALSE(get_images().find(names::sigma)) << "an old map stays";
}

TEST_F(UncertaintyStep, TakesTheCovarianceThatIsKeptWithTheLaw) {
    open({{std::string(keys::uncertainty_terms.path), any(1)},
          {std::string(keys::uncertainty_lamp_level.path), any(0.001)}});
    dataSetInterface& data = program_session().data;
    const std::string tree(keys::sens_paint);
    paintFeatures paint;
    read(data, tree, paint);
    paint.covariance.emplace()[0][0] = 150 * 150;
    write(data, tree, paint);
    write(data, keys::convert_wind_off_ratio, std::string("unity"));
    ASSERT_EQ(calculate(), TaskOutcome::done);
    const auto line = [&](SigmaTerm term) { return report->uncertainty->lines[std::size_t(term)]; };
    EXPECT_TRUE(line(SigmaTerm::law).known);
    // fa is 1: an error of gamma11 is one of every pressure
    EXPECT_NEAR(line(SigmaTerm::law).rms, 150, 1e-3);
    EXPECT_GT(line(SigmaTerm::lamp).rms, 0);
    EXPECT_GT(line(SigmaTerm::temperature).rms, 0);
    const double total = get_images().find(names::sigma)->values()(80, 60);

    write(data, keys::uncertainty_at_ports, 1);
    EXPECT_EQ(ImageStates(data, get_images()).of(names::sigma).kind, ImageState::Kind::out_of_date);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_EQ(line(SigmaTerm::lamp).rms, 0);
    EXPECT_EQ(line(SigmaTerm::temperature).rms, 0);
    EXPECT_LT(get_images().find(names::sigma)->values()(80, 60), total);

    std::string text = data.read(tree + "covariance", std::string());
    text.replace(text.find("22500"), 5, "-1");
    data.write(tree + "covariance", text);
    EXPECT_EQ(ImageStates(data, get_images()).of(names::sigma).kind, ImageState::Kind::out_of_date);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_TRUE(get_images().find(names::field));
    EXPECT_FALSE(line(SigmaTerm::law).known);
    EXPECT_GT(line(SigmaTerm::lamp).rms, 0) << "a law without covariance made nothing good";
    EXPECT_THAT(report->warnings,
                testing::Contains(
                    testing::Field(&Warning::text, testing::HasSubstr("sens_paint/covariance: "))));
}

TEST_F(UncertaintyStep, RefusesATransferThatNobodyMeasured) {
    open({{std::string(keys::sens_noise_gain.path), any(0.0)},
          {std::string(keys::uncertainty_noise.path), any(std::string("transfer"))}});
    EXPECT_THROW(calculate(), AlgoError);
    EXPECT_TRUE(get_images().find(names::field)) << "the field is there nevertheless";
    EXPECT_FALSE(get_images().find(names::sigma));
}

}  // namespace
}  // namespace vyn::test
