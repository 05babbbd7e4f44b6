#include "process/steps/temperature_step.h"

#include <gmock/gmock.h>

#include "api/image_io.h"
#include "calib/camera.h"
#include "calib/recovery_temperature.h"
#include "core/errors.h"
#include "process/steps/result_state.h"
#include "sample/synthetic_light.h"
#include "tests/process/steps/synthetic_point_fixture.h"

namespace vyn::test {
namespace {

namespace names = image_names;

class TemperatureStep : public SyntheticPointTest {
  protected:
    void open(Settings settings, Channels channels = Channels::single, int order = 2) {
        SyntheticOptions options;
        options.order = order;
        options.temperature_ramp = 10;
        options.channels = channels;
        settings.emplace_back(keys::resample_once.path, any(1));
        settings.emplace_back(keys::spline_edges.path, any(std::string("extended")));
        open_point(options, std::move(settings));
    }
    static std::pair<std::string, any> source(const char* name) {
        return {std::string(keys::temperature_source.path), any(std::string(name))};
    }
    /// Largest error of the temperatures in kelvin, where no wall is near: its step rings in the
    /// interpolation, to a millionth of it after eleven pixels of the map.
    double temperature_error() {
        constexpr int rim = 24;
        const auto temperature = get_images().find(names::temperature);
        const Bitmap<std::uint8_t>& mask = point.truth.mask();
        double largest = 0;
        for (int y = rim; y < mask.height() - rim; ++y)
            for (int x = rim; x < mask.width() - rim; ++x) {
                if (mask(x - rim, y) != 0 || mask(x + rim, y) != 0 || mask(x, y - rim) != 0 ||
                    mask(x, y + rim) != 0)
                    continue;
                const double truth = synthetic_temperature(point.options, {double(x), double(y)});
                largest = std::max(largest, std::abs(double(temperature->values()(x, y)) - truth));
            }
        return largest;
    }
    static ImageState state(const char* name) {
        return ImageStates(program_session().data, get_images()).of(name);
    }
};

/// Ten kelvin over the model, seen by an infrared camera with half the pixels from another side.
TEST_F(TemperatureStep, TheMapRemovesARampOfTemperature) {
    open({{std::string(keys::uncertainty_enable.path), any(1)}});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    const auto field = get_images().find(names::field);
    EXPECT_LT(field_error(), 0.0005);
    ASSERT_TRUE(report->temperature && report->temperature->alignment);
    EXPECT_GT(report->temperature->span.highest - report->temperature->span.lowest, 10);
    EXPECT_EQ(state(names::field).kind, ImageState::Kind::current);

    const auto temperature = get_images().find(names::temperature);
    const auto sigma = get_images().find(names::temperature_sigma);
    ASSERT_TRUE(temperature && sigma);
    EXPECT_TRUE(sigma->quantity.deviation);
    EXPECT_GE(sigma->values()(320, 240), 0.5F) << "half a kelvin, and the slope";
    EXPECT_LT(sigma->values()(320, 240), 0.51F);
    const BudgetLine& part = report->uncertainty->lines[std::size_t(SigmaTerm::temperature)];
    EXPECT_TRUE(part.known);

    write(program_session().data, keys::temperature_sigma, 1.0);
    EXPECT_EQ(state(names::sigma).kind, ImageState::Kind::out_of_date);
    const double before = part.rms;
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_NEAR(report->uncertainty->lines[std::size_t(SigmaTerm::temperature)].rms / before, 2,
                1e-3);

    write(program_session().data, keys::temperature_source, std::string("number"));
    EXPECT_EQ(state(names::field).kind, ImageState::Kind::out_of_date);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_GT(field_error(), 0.02) << "what the map removes";
    EXPECT_FALSE(get_images().find(names::temperature)) << "an old map stays";
    EXPECT_FALSE(report->temperature);
}

/// Pixel by pixel, and at the price of its distortion where the lens is not told; an affine mapping
/// cannot make it good.
TEST_F(TemperatureStep, TheMapIsSeenThroughTheLensOfItsCamera) {
    open({{std::string(keys::temperature_order.path), any(1)}}, Channels::single, /*order=*/1);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_LT(temperature_error(), 2e-4);
    EXPECT_EQ(state(names::field).kind, ImageState::Kind::current);
    cameraFeatures camera;
    read(program_session().data, std::string(keys::temperature_camera), camera);
    camera.a2 = 0;
    write(program_session().data, std::string(keys::temperature_camera), camera);
    EXPECT_EQ(state(names::field).kind, ImageState::Kind::out_of_date);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_GT(temperature_error(), 0.02);
}

/// Likewise a map without markers, which lies on the results but for its lens.
TEST_F(TemperatureStep, AMapWithoutMarkersHasALensToo) {
    open({source("number")});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    image map = *get_images().find(names::ratio);
    map.name = names::temperature_map;
    map.markers = {};
    const Distortion lens{300, 250, 2e-7, 0};
    for (int y = 0; y < map.height(); ++y)
        for (int x = 0; x < map.width(); ++x) {
            map.values()(x, y) =
                static_cast<float>(20 + 0.02 * ideal_position(lens, {double(x), double(y)}).x);
            map.mask()(x, y) = 0;
        }
    get_images().add(std::move(map));
    cameraFeatures camera;
    camera.cx = lens.cx, camera.cy = lens.cy, camera.a2 = lens.a2;
    write(program_session().data, std::string(keys::temperature_camera), camera);
    write(program_session().data, keys::temperature_source, std::string("map"));
    ASSERT_EQ(calculate(), TaskOutcome::done);
    const auto temperature = get_images().find(names::temperature);
    for (const auto& [x, y] : {std::pair{60, 60}, {300, 250}, {560, 400}})
        EXPECT_NEAR(temperature->values()(x, y), 20 + 0.02 * x, 1e-4);
    EXPECT_TRUE(report->warnings.empty());
}

/// A map of one temperature is that temperature, in field and uncertainty.
TEST_F(TemperatureStep, AnEvenMapIsItsNumber) {
    open({source("number"),
          {std::string(keys::temperature_camera) + "a2", any(0.0)},
          {std::string(keys::uncertainty_enable.path), any(1)},
          {std::string(keys::uncertainty_law_relative.path), any(0.01)},
          {std::string(keys::uncertainty_terms.path), any(1)}});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    const auto field = get_images().find(names::field);
    const auto ratio = get_images().find(names::ratio);
    std::vector<std::shared_ptr<const image>> terms;
    for (const char* name : names::sigma_terms)
        terms.push_back(get_images().find(name));
    image even = *ratio;
    even.name = names::temperature_map;
    even.markers = {};
    for (int y = 0; y < even.height(); ++y)
        for (int x = 0; x < even.width(); ++x)
            even.values()(x, y) = 26 + (x == 0 ? 1.0F : 0.0F);  // off the model
    get_images().add(std::move(even));
    write(program_session().data, keys::temperature_source, std::string("map"));
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_TRUE(same_bits(*field, *get_images().find(names::field)));
    for (std::size_t i = 0; i < terms.size(); ++i)
        EXPECT_NEAR(get_images().find(names::sigma_terms[i])->values()(300, 200),
                    terms[i]->values()(300, 200), 1e-5 * double(terms[i]->values()(300, 200)))
            << names::sigma_terms[i];
}

TEST_F(TemperatureStep, RefusesAMapThatDoesNotFit) {
    open({without(keys::temperature_map_mark_file)});
    EXPECT_THAT(complaint(),
                testing::AllOf(testing::HasSubstr("infrared.tif"), testing::HasSubstr("320 x 240"),
                               testing::HasSubstr("640 x 480")));
    EXPECT_TRUE(get_images().find(names::ratio)) << "nothing is lost";
    EXPECT_FALSE(get_images().find(names::field));

    image sigma(10, 10);
    sigma.name = names::temperature_map_sigma;
    get_images().add(std::move(sigma));
    EXPECT_THAT(complaint(), testing::HasSubstr("10 x 10"));
}

/// Free stream, stagnation point, and what a field with the right wall temperature would have.
TEST_F(TemperatureStep, RecoveryTemperatureFollowsTheLocalPressure) {
    const RecoveryFlow flow{.total = 300, .mach = 0.8, .factor = 0.89, .static_pressure = 90000};
    EXPECT_NEAR(recovery_temperature(flow, 90000), 300 * (1 - 0.11 * (1 - 1 / 1.128)), 1e-9);
    EXPECT_NEAR(recovery_temperature(flow, 90000 * std::pow(1.128, 3.5)), 300, 1e-9);
    EXPECT_EQ(recovery_temperature(flow, 1e6), 300) << "not above the total one";

    open({source("recovery"),
          {std::string(keys::flow) + "mach", any(0.8)},
          {std::string(keys::temperature_total.path), any(30.0)}});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    const auto temperature = get_images().find(names::temperature);
    const auto field = get_images().find(names::field);
    ASSERT_TRUE(temperature && field);
    RecoveryFlow stream = flow;
    stream.total = 30 + 273.16;
    for (int x = 200; x < 450; x += 50)
        EXPECT_NEAR(temperature->values()(x, 240),
                    recovery_temperature(stream, double(field->values()(x, 240))) - 273.16, 1e-3);
    write(program_session().data, keys::temperature_total, 0.0);
    write(program_session().data, keys::temperature_unit, std::string("k"));
    EXPECT_THAT(complaint(), testing::HasSubstr("temperature/total"));
}

}  // namespace
}  // namespace vyn::test
