#include <gmock/gmock.h>

#include "core/errors.h"
#include "process/point/raw_images.h"
#include "process/steps/result_state.h"
#include "process/steps/step_table.h"
#include "tests/process/steps/synthetic_point_fixture.h"
#include "tests/support/error_of.h"
#include "tests/support/log_capture.h"
#include "tests/support/warns.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;
namespace names = image_names;

const std::string align = "project/processing/align/";
const SyntheticOptions bent{.order = 1, .bending = 1.5};

class CorrelationStep : public SyntheticPointTest {
  protected:
    static std::pair<std::string, any> set(const char* key, int value) {
        return {align + key, any(value)};
    }

    /// The error of the field when the pictures are aligned by a given map.
    double error_aligned_by(const ImageMap& map) {
        Alignment alignment;
        alignment.from_frame[1] = map;
        RunReport found;
        for (const StepId id : {StepId::ratio, StepId::field}) {
            const Step& step = step_of(id);
            EXPECT_EQ(step.run({step, program_session(), context, found, alignment}),
                      TaskOutcome::done);
        }
        return field_error();
    }
};

TEST_F(CorrelationStep, FollowsAModelThatBendsBetweenItsMarkers) {
    open_point(bent);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    ASSERT_EQ(report->warnings.size(), 1u);
    EXPECT_THAT(report->warnings[0].text, testing::HasSubstr("worst residual of the markers"));
    EXPECT_EQ(unaligned_text(*report), "");
    EXPECT_LE(field_error(), 1e-3);
    // The displacement is that of the ideal pictures, nodes and pixels alike.
    const auto displacement = get_images().find(names::displacement);
    const auto sigma = get_images().find(names::displacement_sigma);
    const auto left = get_images().find(names::displacement_left);
    ASSERT_TRUE(displacement && sigma && left && displacement->displacement);
    const Displacement& nodes = *displacement->displacement;
    double sum = 0;
    int count = 0;
    int within = 0;
    for (int r = 0; r < nodes.u.height(); ++r)
        for (int c = 0; c < nodes.u.width(); ++c) {
            const Point place{double(c) * nodes.step, double(r) * nodes.step};
            const int x = c * nodes.step;
            const int y = r * nodes.step;
            if (displacement->mask()(x, y) != 0) continue;
            const Point seen = point.wind_on_from_wind_off.at(place);
            const double u = seen.x - place.x;
            const double v = seen.y - place.y;
            const double error = std::hypot(nodes.u(c, r) - u, nodes.v(c, r) - v);
            EXPECT_NEAR(displacement->values()(x, y), std::hypot(u, v), error + 1e-5);
            sum += error * error;
            ++count;
            within += error < 3 * sigma->values()(x, y);
        }
    EXPECT_GT(count, 1500);
    EXPECT_LT(std::sqrt(sum / count), 0.02);
    EXPECT_GT(within, 0.7 * count);
    EXPECT_EQ(field_label(*displacement).text(), "Displacement, px");
    EXPECT_EQ(field_label(*sigma).text(), "SD of Displacement, px");
    ASSERT_TRUE(report->correlation && report->correlation->left_after_markers);
    EXPECT_NEAR(report->correlation->left_after_markers->rms, 1.1, 0.3);
    const double by_texture = field_error();

    // Its results follow its settings.
    write(vyn_db(), keys::qped_cell, 24);
    ImageStates states(vyn_db(), get_images());
    for (const char* name : {names::displacement, names::displacement_sigma, names::field})
        EXPECT_EQ(states.of(name).kind, ImageState::Kind::out_of_date) << name;
    write(vyn_db(), keys::qped_enable, 0);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_GT(field_error(), 20 * by_texture);
    EXPECT_FALSE(get_images().find(names::displacement));
}

TEST_F(CorrelationStep, AddsNoNoiseWorthMentioning) {
    SyntheticOptions noisy = bent;
    noisy.noise = SyntheticOptions::Noise::camera;
    open_point(noisy, {set("markers_enable", 0)});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_EQ(report->aligned, true);
    EXPECT_FALSE(get_images().find(names::displacement_left));
    const double by_texture = field_error();
    EXPECT_LE(by_texture, 1.03 * error_aligned_by(point.wind_on_from_wind_off));
}

TEST_F(CorrelationStep, AlignsBothChannelsOfBinaryPaint) {
    SyntheticOptions options = bent;
    options.channels = Channels::binary;
    open_point(options);
    write(vyn_db(), keys::uncertainty_enable, 1);
    write(vyn_db(), keys::uncertainty_terms, 1);
    // the test's 26 degrees everywhere: a wall that recovers all
    write(vyn_db(), keys::temperature_source, std::string("recovery"));
    write(vyn_db(), keys::temperature_total, 26.0);
    write(vyn_db(), keys::temperature_recovery_factor, 1.0);
    vyn_db().write(std::string(keys::flow) + "mach", 0.5);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_LE(field_error(), 2e-3);
    ASSERT_TRUE(report->channels->correlation);
    EXPECT_GT(report->channels->correlation->statistics.measured, 1500);
    for (const char* name : names::results)
        EXPECT_TRUE(get_images().find(name)) << name;
    remove_results(get_images());
    for (const char* name : names::results)
        EXPECT_FALSE(get_images().find(name)) << name;
}

TEST_F(CorrelationStep, AlignsBothGatesByOne) {
    SyntheticOptions options = bent;
    options.channels = Channels::lifetime;
    open_point(options);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_LE(field_error(), 2e-3);
}

/// The search of the texture reaches less far than the model moved here.
TEST_F(CorrelationStep, GatesStartWhereTheMarkersPutThem) {
    constexpr int motion = 60;
    SyntheticOptions options = bent;
    options.channels = Channels::lifetime;
    open_point(options);
    for (const RawImage* raw : {&raw_images()[1], &raw_images()[3]}) {
        const auto still = get_images().find(raw->name);
        image moved = *still;
        for (int y = 0; y < moved.height(); ++y)
            for (int x = 0; x < moved.width(); ++x) {
                moved.values()(x, y) = still->values()(std::max(x - motion, 0), y);
                moved.mask()(x, y) = x < motion ? 1 : still->mask()(x - motion, y);
            }
        for (Marker& marker : moved.markers.markers)
            marker.x += motion;
        get_images().add(std::move(moved));
    }
    calculate();
    ASSERT_TRUE(report->correlation);
    EXPECT_EQ(report->correlation->failure, "");
    ASSERT_TRUE(report->correlation->left_after_markers);
    EXPECT_NEAR(report->correlation->left_after_markers->rms, 1.1, 0.3);
}

/// Neither a failure nor the question whether to copy the picture, as long as the texture may do.
TEST_F(CorrelationStep, AlignsWhatTheMarkersDoNot) {
    struct Asked : TaskContext {
        bool question(const std::string& /*text*/) override { return asked = true; }
        bool asked = false;
    } asked;
    open_point(bent, {without(keys::wind_on_sens_mark_file)});
    report = std::make_shared<RunReport>();
    const LogCapture log;
    EXPECT_EQ(vyn::calculate(Goal::all, program_session(), report)->run(asked), TaskOutcome::done);
    EXPECT_FALSE(asked.asked);
    EXPECT_EQ(report->aligned, true);
    EXPECT_LE(field_error(), 1e-3);
    EXPECT_THAT(log.lines(), testing::Not(testing::Contains(HasSubstr("FAILED"))));
}

/// The markers' alignment stands, and without them there is none.
TEST_F(CorrelationStep, LeavesPaintWithoutTextureToTheMarkers) {
    open_point({.width = 320, .height = 240, .noise = SyntheticOptions::Noise::camera},
               {set("qped_enable", 0)});
    for (const char* name : {names::wind_off_sens, names::wind_on_sens}) {
        image bare = *get_images().find(name);
        for (int y = 0; y < bare.height(); ++y)
            std::fill_n(bare.values().row(y), bare.width(), 20000.0F);
        get_images().add(std::move(bare));
    }
    ASSERT_EQ(calculate(), TaskOutcome::done);
    const auto field = get_images().find(names::field);
    write(vyn_db(), keys::qped_enable, 1);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_THAT(report->warnings, testing::Contains(warns(WarningKind::alignment, "texture")));
    EXPECT_EQ(report->aligned, true);
    EXPECT_TRUE(same_bits(*field, *get_images().find(names::field)));
    EXPECT_FALSE(get_images().find(names::displacement));

    write(vyn_db(), keys::markers_enable, 0);
    EXPECT_EQ(calculate(), TaskOutcome::done_with_errors);
    EXPECT_EQ(report->aligned, false);
}

TEST_F(CorrelationStep, EndsWithAnErrorWhenASettingCannotBe) {
    open_point({.width = 96, .height = 72, .bending = 1}, {set("qped_cell", 80)});
    EXPECT_THAT(error_of<AlgoError>([&] { calculate(); }).detail, HasSubstr("cell of 80 pixels"));
    EXPECT_FALSE(get_images().find(names::ratio));
    EXPECT_FALSE(report->correlation);
}

}  // namespace
}  // namespace vyn::test
