#include "process/steps/lamp_correction.h"

#include <fstream>

#include <gmock/gmock.h>

#include "calib/lamp_readings.h"
#include "core/errors.h"
#include "process/steps/result_state.h"
#include "tests/process/steps/synthetic_point_fixture.h"

namespace vyn::test {
namespace {

namespace names = image_names;
using testing::AllOf;
using testing::HasSubstr;

class LampCorrectionTest : public SyntheticPointTest {
  protected:
    void open(Settings settings) {
        SyntheticOptions options;
        options.lamp_drift = 0.02;
        settings.emplace_back(keys::resample_once.path, any(1));
        settings.emplace_back(keys::spline_edges.path, any(std::string("extended")));
        settings.emplace_back(keys::uncertainty_enable.path, any(1));
        open_point(options, std::move(settings));
    }
    static std::pair<std::string, any> with(const Key<std::string>& key, const std::string& value) {
        return {std::string(key.path), any(value)};
    }
    std::string readings(const std::string& text) {
        std::ofstream(folder / "lamp.csv") << text;
        return (folder / "lamp.csv").string();
    }
    template <class Change>
    static void change(const char* name, Change change) {
        image changed = *get_images().find(name);
        change(changed);
        get_images().add(std::move(changed));
    }
};

/// The lamp has lost 2 % with wind: 2 % of the ratio, of which a thousandth may stay.
TEST_F(LampCorrectionTest, AMonitorRegionRemovesTheDriftOfTheLamp) {
    open({with(keys::lamp_monitor, "none")});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    const double uncorrected = field_error();
    EXPECT_GT(uncorrected, 0.03);
    EXPECT_FALSE(report->light);
    write(vyn_db(), keys::lamp_monitor, std::string("region"));
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_LT(field_error(), 0.001);
    ASSERT_TRUE(report->light);
    EXPECT_NEAR(report->light->on_over_off, 0.98, 2e-5);
    EXPECT_LT(report->light->variance, 1e-8);

    write(vyn_db(), keys::lamp_x, 620);
    EXPECT_THAT(complaint(), AllOf(HasSubstr("(620, "), HasSubstr("640 x 480")));
    write(vyn_db(), keys::lamp_x, 300);
    change(names::wind_on_sens, [](image& picture) {
        for (int y = 0; y < 60; ++y)
            std::fill_n(picture.mask().row(y) + 280, 100, std::uint8_t{1});
    });
    EXPECT_THAT(complaint(), AllOf(HasSubstr("monitor region"), HasSubstr("excluded")));
}

/// A sensor that has seen what the pictures' lamp did; the times from the project or the pictures.
TEST_F(LampCorrectionTest, ReadingsRemoveItAndMustReachThePictures) {
    open({with(keys::lamp_monitor, "readings"),
          with(keys::lamp_readings_file,
               readings("time,light\n10:00:00,5\n10:10:00,5\n10:20:00;4.8\n")),
          with(keys::lamp_time_off, "10:05"), with(keys::lamp_time_on, "10:15")});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_LT(field_error(), 0.001);
    EXPECT_NEAR(report->light->on_over_off, 0.98, 1e-12);
    const auto state = [] { return ImageStates(vyn_db(), get_images()).of(names::field); };
    EXPECT_EQ(state().kind, ImageState::Kind::current);
    readings("time,light\n10:00:00,5\n10:10:00,5\n10:20:00;4.7\n");
    EXPECT_EQ(state().kind, ImageState::Kind::out_of_date);
    EXPECT_EQ(state().reason, "lamp.csv changed on disk");
    readings("time,light\n10:00:00,5\n10:10:00,5\n10:20:00;4.8\n");
    EXPECT_EQ(state().kind, ImageState::Kind::current);

    write(vyn_db(), keys::lamp_time_on, std::string());
    EXPECT_THAT(complaint(), AllOf(HasSubstr("wind_on_sens"), HasSubstr("wind_on_time")));
    change(names::wind_on_sens, [](image& picture) {
        picture.taken = parse_clock_time("2024:05:31 10:15:00");  // its day is nobody's business
    });
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_NEAR(report->light->on_over_off, 0.98, 1e-12);
    change(names::wind_on_sens,
           [](image& picture) { picture.taken = parse_clock_time("10:30:00"); });
    EXPECT_THAT(complaint(), AllOf(HasSubstr("lamp.csv"), HasSubstr("wind_on_sens")));
    write(vyn_db(), keys::lamp_time_on, std::string("late"));
    EXPECT_THAT(complaint(), HasSubstr("\"late\" is no time"));
    for (const auto& [text, what] :
         {std::pair{"5\n5.1\n", "without a time"}, std::pair{"1,5\n2,-1\n", "line 2"},
          std::pair{"1,5\n1,5\n", "not later"}, std::pair{"time,light\n", "fewer than two"},
          std::pair{"1,5\n2024-05-31T10:00,5\n", "line 2"}}) {
        readings(text);
        EXPECT_THAT(complaint(), AllOf(HasSubstr("lamp.csv"), HasSubstr(what))) << text;
    }
}

TEST_F(LampCorrectionTest, ExposuresThatDifferAreBroughtToOne) {
    open({with(keys::lamp_monitor, "none"), {std::string(keys::lamp_exposure.path), any(1)}});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    const auto before = get_images().find(names::ratio);
    EXPECT_FALSE(report->light);
    change(names::wind_off_sens, [](image& picture) { picture.exposure = 0.5; });
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_TRUE(same_bits(*before, *get_images().find(names::ratio))) << "only one tells";
    change(names::wind_on_sens, [](image& picture) { picture.exposure = 1; });
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_NEAR(get_images().find(names::ratio)->values()(320, 240) / before->values()(320, 240), 2,
                1e-6);
    EXPECT_THAT(report->light->exposures, HasSubstr("2 times as long"));
}

}  // namespace
}  // namespace vyn::test
