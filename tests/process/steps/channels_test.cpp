#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "api/field_conversion.h"
#include "api/filters.h"
#include "api/parallel.h"
#include "core/errors.h"
#include "core/keys.h"
#include "process/point/experiment_type.h"
#include "process/point/find_markers_task.h"
#include "process/point/raw_images.h"
#include "process/project/project_tasks.h"
#include "process/report/field_comparison.h"
#include "process/report/run_report_json.h"
#include "process/steps/chain.h"
#include "sample/synthetic_light.h"
#include "sample/synthetic_point.h"
#include "tests/process/steps/synthetic_point_fixture.h"
#include "tests/support/error_of.h"
#include "tests/support/warns.h"

namespace vyn::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

using ChannelsTest = SyntheticPointTest;

struct Accuracy {
    Channels channels;
    int order;
    FieldQuantity quantity;
};

class ChannelAccuracy : public SyntheticPointTest, public testing::WithParamInterface<Accuracy> {};

/// The lamp's motion changes the light by up to a third; nothing of it may reach the field.
TEST_P(ChannelAccuracy, GivesBackTheTruthWhateverTheLampDoes) {
    open_point({.order = GetParam().order,
                .quantity = GetParam().quantity,
                .channels = GetParam().channels});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_LE(field_error(), 2e-4);
    EXPECT_TRUE(report->warnings.empty()) << report->warnings.front().text;
}

INSTANTIATE_TEST_SUITE_P(Points, ChannelAccuracy,
                         testing::Values(Accuracy{Channels::binary, 0, FieldQuantity::pressure},
                                         Accuracy{Channels::binary, 1, FieldQuantity::cp},
                                         Accuracy{Channels::binary, 2, FieldQuantity::pressure},
                                         Accuracy{Channels::binary, 3, FieldQuantity::ratio},
                                         Accuracy{Channels::lifetime, 2, FieldQuantity::pressure},
                                         Accuracy{Channels::lifetime, 3, FieldQuantity::cp}));

TEST_F(ChannelsTest, TheSignalChannelAloneIsWrongByTheLamp) {
    open_point({.order = 1, .channels = Channels::binary},
               {{std::string(keys::test_single.path), any(1)}});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_GT(field_error(), 0.2);
    EXPECT_LE(relative_error(image_names::field, point.single_channel), 2e-4);
}

/// Four noisy pictures instead of two: for equally bright channels the variance is twice that of
/// one; the reference paint here gives a little less light.
TEST_F(ChannelsTest, NoiseIsAboutThatOfOneChannelOfTwiceTheVariance) {
    SyntheticOptions options{.order = 1, .noise = SyntheticOptions::Noise::camera};
    options.noise_variance = 2;
    open_point(options);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    const double ideal = field_error();

    reset();
    options.noise_variance = 1;
    options.channels = Channels::binary;
    open_point(options);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    const double binary = field_error();
    RecordProperty("binary_over_ideal", std::to_string(binary / ideal));
    EXPECT_LE(binary, 1.5 * ideal);
    EXPECT_GE(binary, 0.7 * ideal);  // less would mean that some picture did not take part
}

TEST_F(ChannelsTest, TheReportShowsBothWaysAndThreadsDoNot) {
    open_point({.width = 200, .height = 150, .channels = Channels::binary});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    const auto first = get_images().find(image_names::field);
    EXPECT_EQ(get_images().find(image_names::wind_off_refe_cor)->width(), 175);
    const auto aligned = get_images().find(image_names::wind_on_refe_aligned);
    EXPECT_EQ(aligned->width(), 200);
    EXPECT_EQ(aligned->markers, get_images().find(image_names::wind_off_sens_cor)->markers);
    for (const int threads : {1, 2}) {
        const ThreadLimit limit(threads);
        ASSERT_EQ(calculate(), TaskOutcome::done);
        EXPECT_TRUE(same_bits(*first, *get_images().find(image_names::field))) << threads;
    }
    const nlohmann::json json =
        to_json(*report, vyn_db(), get_images(), TaskOutcome::done, {}, {})["channels"];
    EXPECT_EQ(json["consistency_px"]["points"], 30);
    EXPECT_EQ(json["camera_alignment"]["pair_count"], 30);
    EXPECT_EQ(json["camera_alignment"]["coefficients_per_axis"], 3);  // by its leave-one-out error
    EXPECT_THAT(json["noise"].get<std::string>(), HasSubstr("twice that of one channel"));
}

TEST_F(ChannelsTest, AnAbortedRatioLeavesTheAlignedPicturesOfTheOldOne) {
    struct StoppedWhileFiltering : TaskContext {
        bool aborted() const override { return snapshot().status == "Filtering Wind On"; }
    } stopped;
    open_point({.width = 200, .height = 150, .channels = Channels::lifetime});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    const auto aligned = get_images().find(image_names::wind_on_refe_aligned);
    write(vyn_db(), keys::filter_enable, 1);
    write(vyn_db(), keys::filter_type, 4);
    write(vyn_db(), keys::filter_dx, 5);
    EXPECT_THROW(vyn::calculate(Goal::ratio, program_session(), report)->run(stopped), Aborted);
    EXPECT_EQ(get_images().find(image_names::wind_on_refe_aligned), aligned);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_TRUE(same_bits(*get_images().find(image_names::wind_on_refe_aligned), *aligned))
        << "filters come after sampling";
    const FilterOptions median{.type = FilterType::median, .dx = 5, .dy = 3};
    const auto smooth = [&](const char* name) {
        return filtered(*get_images().find(name), median, context);
    };
    EXPECT_TRUE(same_bits(
        *get_images().find(image_names::ratio),
        form_ratio_of_ratios(
            {smooth(image_names::wind_off_sens_cor), smooth(image_names::wind_on_sens_aligned),
             smooth(image_names::wind_off_refe_cor), smooth(image_names::wind_on_refe_aligned)},
            {}, context)));
}

TEST_F(ChannelsTest, LimitsClampTheRatioFromBothSides) {
    for (const Channels channels : {Channels::binary, Channels::lifetime}) {
        reset();
        open_point({.width = 200, .height = 150, .order = 0, .channels = channels});
        ASSERT_EQ(calculate(), TaskOutcome::done);
        const auto free = get_images().find(image_names::ratio);
        write(vyn_db(), keys::filter_threshold, 1);
        write(vyn_db(), keys::threshold_min, 0.9);
        write(vyn_db(), keys::threshold_max, 1.1);
        ASSERT_EQ(calculate(), TaskOutcome::done);
        const auto clamped = get_images().find(image_names::ratio);
        int low = 0;
        int high = 0;
        for (int y = 0; y < free->height(); ++y)
            for (int x = 0; x < free->width(); ++x) {
                if (free->mask()(x, y) != 0) continue;
                const float value = free->values()(x, y);
                low += value < 0.9F;
                high += value > 1.1F;
                ASSERT_EQ(clamped->values()(x, y), std::clamp(value, 0.9F, 1.1F)) << x << ' ' << y;
            }
        EXPECT_GT(low, 0);
        EXPECT_GT(high, 0);
    }
}

/// The two ways round the pictures differ when one mapping is wrong, and the report shows it.
TEST_F(ChannelsTest, ConsistencyShowsAWrongAlignment) {
    open_point({.width = 320, .height = 240, .order = 1, .channels = Channels::binary});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_LT(report->channels->consistency->max, 0.01);

    image shifted = *get_images().find(image_names::wind_on_refe);
    for (Marker& marker : shifted.markers.markers)
        marker.x += 0.7;
    get_images().add(std::move(shifted));
    ASSERT_EQ(calculate(), TaskOutcome::done);
    // 0.7 pixels of the reference camera, which has 7/8 of the signal camera's.
    EXPECT_NEAR(report->channels->consistency->rms, 0.8, 0.02);
}

TEST_F(ChannelsTest, APixelExcludedInOnePictureIsExcludedInTheRatio) {
    open_point({.width = 200, .height = 150, .order = 0, .channels = Channels::binary});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    const auto valid = [](const image& picture) {
        std::int64_t count = 0;
        for (int y = 0; y < picture.height(); ++y)
            count += std::count(picture.mask().row(y), picture.mask().row(y) + picture.width(), 0);
        return count;
    };
    const std::int64_t before = valid(*get_images().find(image_names::ratio));
    image masked = *get_images().find(image_names::wind_on_refe);
    for (int y = 60; y < 65; ++y)
        for (int x = 80; x < 85; ++x)
            masked.mask()(x, y) = 1;
    get_images().add(std::move(masked));
    ASSERT_EQ(calculate(), TaskOutcome::done);

    const auto ratio = get_images().find(image_names::ratio);
    // 25 pixels of a camera with 7/8 of the resolution.
    EXPECT_NEAR(static_cast<double>(before - valid(*ratio)), 25 / 0.766, 8);
    const SyntheticCamera camera = reference_camera(point.options);
    const auto excluded_at = [&](const image& picture, Point seen) {
        const Point place =
            inverse_mapped(camera.ideal_from_laboratory, ideal_position(camera.lens, seen));
        const Point on_model = point.wind_on_from_wind_off.inverse(place).value();
        return picture.mask()(static_cast<int>(on_model.x), static_cast<int>(on_model.y)) != 0;
    };
    EXPECT_TRUE(excluded_at(*ratio, {82, 62}));
    EXPECT_FALSE(excluded_at(*ratio, {102, 62}));

    image outside = *get_images().find(image_names::wind_on_refe);
    outside.fill_region(1);
    for (int y = 60; y < 65; ++y)
        for (int x = 100; x < 105; ++x)
            outside.region()(x, y) = 0;
    get_images().add(std::move(outside));
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_TRUE(excluded_at(*get_images().find(image_names::ratio), {102, 62}));
}

TEST_F(ChannelsTest, MarkersAreFoundInAllFourPictures) {
    open_point(
        {.order = 1, .noise = SyntheticOptions::Noise::camera, .channels = Channels::binary});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    const double with_files = field_error();
    reset();
    open_project({without(keys::wind_off_sens_mark_file), without(keys::wind_on_sens_mark_file),
                  without(keys::wind_off_refe_mark_file), without(keys::wind_on_refe_mark_file)});
    ASSERT_EQ(run(FindMarkersTask(program_session(), {}, std::make_shared<RunReport>())),
              TaskOutcome::done);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_LE(field_error(), 1.2 * with_files);
}

/// Without wind-off gates the ratio is gate 1 over gate 2 as it is, and fa is 1.
TEST_F(ChannelsTest, LifetimeNeedsNoWindOffPictures) {
    open_point({.order = 0, .channels = Channels::lifetime},
               {without(keys::wind_off_sens_file), without(keys::wind_off_refe_file),
                without(keys::wind_off_sens_mark_file)});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_EQ(report->conversion->conversion.wind_off_ratio, 1);
    EXPECT_FALSE(report->aligned.has_value());

    // The frame is that of wind-on: the truth moved along.
    const auto ratio = get_images().find(image_names::ratio);
    EXPECT_EQ(ratio->markers.markers.size(), point.wind_on_markers.markers.size());
    const PaintResponse response(point.paint, point.flow);
    const SyntheticScene scene(640, 480, point.options.seed);
    for (const Marker& port : point.ports.markers) {
        const Point moved = point.wind_on_from_wind_off.at({port.x, port.y});
        const int x = static_cast<int>(std::lround(moved.x));
        const int y = static_cast<int>(std::lround(moved.y));
        const Point on_model = point.wind_on_from_wind_off.inverse({double(x), double(y)}).value();
        const double expected =
            response.ratio(scene.pressure(on_model)) / SyntheticPoint::gate_ratio;
        EXPECT_NEAR(ratio->values()(x, y), expected, 1e-4 * expected) << port.id;
    }
}

struct Flags {
    int single;
    int lifetime;
    int s3f;
    ExperimentType type;
};

TEST(ExperimentTypeTest, TheFourthTypeComesFirstThenLifetimeThenSingle) {
    for (const auto& [single, lifetime, s3f, type] :
         {Flags{1, 0, 0, ExperimentType::single}, Flags{0, 0, 0, ExperimentType::binary},
          Flags{0, 1, 0, ExperimentType::lifetime}, Flags{1, 1, 0, ExperimentType::lifetime},
          Flags{1, 1, 1, ExperimentType::s3f}, Flags{0, 0, 1, ExperimentType::s3f}}) {
        simpleNamedDataSet data;
        write(data, keys::test_single, single);
        write(data, keys::test_lifetime, lifetime);
        write(data, keys::test_s3f, s3f);
        EXPECT_EQ(experiment_type(data), type) << single << lifetime << s3f;
    }
    simpleNamedDataSet fresh;
    EXPECT_EQ(experiment_type(fresh), ExperimentType::single);
    for (const ExperimentType type : {ExperimentType::binary, ExperimentType::lifetime,
                                      ExperimentType::single, ExperimentType::s3f}) {
        choose_experiment_type(fresh, type);
        EXPECT_EQ(experiment_type(fresh), type);
    }
}

TEST_F(ChannelsTest, SaysWhatIsMissing) {
    open_point({.width = 100, .height = 80, .channels = Channels::binary},
               {without(keys::wind_off_refe_file), without(keys::wind_on_refe_file)});
    EXPECT_THAT(missing_input({vyn_db(), get_images()}),
                AllOf(HasSubstr("wind_off_refe_file"), HasSubstr("wind_on_refe_file"),
                      HasSubstr("name no images")));
    EXPECT_TRUE(vyn::calculate(Goal::all, program_session(), nullptr)->empty());

    write(vyn_db(), keys::test_lifetime, 1);
    get_images().remove(image_names::wind_on_sens);
    EXPECT_THAT(missing_input({vyn_db(), get_images()}),
                AllOf(HasSubstr("wind_on_sens_file"), HasSubstr("wind_off_refe_file")));

    write(vyn_db(), keys::test_s3f, 1);
    EXPECT_EQ(missing_input({vyn_db(), get_images()}), not_evaluated_text);
    EXPECT_TRUE(vyn::calculate(Goal::all, program_session(), nullptr)->empty());
}

/// The cameras of a synthetic point differ in size, so nothing works without markers.
TEST_F(ChannelsTest, CamerasOfDifferentSizesNeedMarkers) {
    const SyntheticOptions options{.width = 160, .height = 120, .channels = Channels::binary};
    const Settings settings[] = {{without(keys::wind_off_refe_mark_file)},
                                 {{std::string(keys::markers_enable.path), any(0)}}};
    for (const Settings& broken : settings) {
        reset();
        open_point(options, broken);
        const auto error = error_of<IndexError>([&] {
            run(*vyn::calculate(Goal::all, program_session(), std::make_shared<RunReport>()));
        });
        EXPECT_THAT(error.detail, AllOf(HasSubstr("160 x 120"), HasSubstr("140 x 105"),
                                        HasSubstr("wind_off_refe_mark_file")));
    }
}

/// Two cameras of one size: a failed alignment still gives a ratio, marked as wrong.
TEST_F(ChannelsTest, AFailedAlignmentIsReported) {
    open_point({.width = 160, .height = 120, .channels = Channels::lifetime},
               {without(keys::wind_on_sens_mark_file)});
    ASSERT_EQ(calculate(), TaskOutcome::done_with_errors);
    EXPECT_EQ(report->aligned, false);
    EXPECT_THAT(report->warnings.back(),
                test::warns(WarningKind::markers, "wind_on_sens_cor has no markers"));
    EXPECT_TRUE(get_images().find(image_names::ratio));
    EXPECT_FALSE(get_images().find(image_names::wind_on_sens_aligned));
}

}  // namespace
}  // namespace vyn::test
