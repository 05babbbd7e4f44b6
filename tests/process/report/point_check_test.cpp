#include "process/report/point_check.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "core/keys.h"
#include "process/point/save_image_task.h"
#include "process/project/project_tasks.h"
#include "process/report/provenance.h"
#include "process/steps/chain.h"
#include "process/steps/image_origin.h"
#include "sample/synthetic_point.h"
#include "tests/support/project_fixture.h"
#include "tests/support/warns.h"

namespace vyn::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class PointCheckTest : public ProjectTest {
  protected:
    void compute(const SyntheticOptions& options) {
        point = make_synthetic_point(options, context);
        write_synthetic_point(point, folder.path(), context);
        ASSERT_EQ(
            run(ReadProjectTask(program_session(), {.file = folder / "project.xml",
                                                    .geometry = ReadProject::Geometry::leave_out,
                                                    .settings = {}})),
            TaskOutcome::done);
        ASSERT_EQ(run(*vyn::calculate(Goal::all, program_session(), report)), TaskOutcome::done);
    }
    PointCheck check(const MarkerSet& ports) {
        return check_point(*report, vyn_db(), get_images(), ports);
    }
    /// Adds to the field, as an error of the evaluation would.
    static void disturb_field(float error) {
        image field = *get_images().find(image_names::field);
        for (int y = 0; y < field.height(); ++y)
            for (int x = 0; x < field.width(); ++x)
                field.values()(x, y) += error;
        get_images().add(std::move(field));
    }

    SyntheticPoint point;
    std::shared_ptr<RunReport> report = std::make_shared<RunReport>();
};

struct PortQuantity {
    FieldQuantity quantity;
    double pascal;  ///< of one unit
    const char* text;
};
class PortCheckTest : public PointCheckTest, public testing::WithParamInterface<PortQuantity> {};

/// The square around a port lies half a pixel beside it on average, where the pressure changes by
/// up to some hundred pascal per pixel.
TEST_P(PortCheckTest, TapsAgreeWithTheFieldAndShowItsError) {
    const auto& [quantity, pascal, text] = GetParam();
    compute({.order = 1, .quantity = quantity});
    const PointCheck good = check(point.ports);
    EXPECT_THAT(good.quantity, HasSubstr(text));
    ASSERT_EQ(good.ports.ports.size(), point.ports.markers.size());
    EXPECT_LT(good.ports.rms * pascal, 100);
    EXPECT_GT(good.ports.rms, 0);
    EXPECT_TRUE(good.computed);
    EXPECT_THAT(good.warnings, IsEmpty());

    disturb_field(static_cast<float>(500 / pascal));
    MarkerSet some = point.ports;
    some.markers[3].x = -50;
    some.markers[5].active = false;
    const PortComparison bad = check(some).ports;
    EXPECT_EQ(bad.ports.size(), point.ports.markers.size() - 2);
    EXPECT_THAT(bad.left_out, ElementsAre(HasSubstr(std::to_string(some.markers[3].id))));
    EXPECT_NEAR(bad.rms * pascal, 500, 20);
    EXPECT_GE(bad.max, bad.rms);

    // The sample's paint is calibrated up to 130 kPa, and its field ends below 95 kPa.
    disturb_field(static_cast<float>(70000 / pascal));
    EXPECT_THAT(check({}).warnings, ElementsAre(test::warns(WarningKind::paint_range,
                                                            "for which the paint is calibrated")));
}

INSTANTIATE_TEST_SUITE_P(Quantities, PortCheckTest,
                         testing::Values(PortQuantity{FieldQuantity::pressure, 1, "pressure in Pa"},
                                         PortQuantity{FieldQuantity::cp, 25000, "coefficient"},
                                         PortQuantity{FieldQuantity::p_over_static, 90000,
                                                      "over"}));

TEST_F(PointCheckTest, GathersWhatTheRunLeft) {
    compute(
        {.width = 200, .height = 150, .order = 1, .channels = SyntheticOptions::Channels::binary});
    report->warnings.push_back({WarningKind::alignment, "a warning"});
    write(vyn_db(), keys::model_id, std::string("M7"));
    flowFeatures flow;
    read(vyn_db(), std::string(keys::flow), flow);
    flow.mach = 0.72;
    write(vyn_db(), std::string(keys::flow), flow);
    image taken = *get_images().find(image_names::wind_on_sens);
    taken.taken = parse_clock_time("2024-05-31 14:03:20.5");
    get_images().add(std::move(taken));
    const PointCheck result = check({});
    using Fact = std::pair<std::string, std::string>;
    EXPECT_THAT(
        result.facts,
        ElementsAre(Fact("Test", "synthetic"), Fact("Model", "M7"),
                    Fact("Wind-on picture taken", "2024-05-31 14:03:20"),
                    Fact("Type of experiment", "binary channel"), Fact("Mach number", "0.72"),
                    Fact("Angle of attack α", "0°"), Fact("Angle of sideslip β", "0°")));
    EXPECT_EQ(result.unit, "Pa");
    EXPECT_EQ(result.title, "project.xml, test synthetic, model M7");
    EXPECT_EQ(result.experiment, "binary channel");
    ASSERT_EQ(result.alignments.size(), 3u);
    EXPECT_EQ(result.alignments[2].what, "Wind-Off Reference to Wind-Off Sensitive");
    EXPECT_LT(result.alignments[2].match.max_absolute_error, 0.01);
    EXPECT_TRUE(result.consistency);
    EXPECT_THAT(result.noise, HasSubstr("four pictures"));
    EXPECT_TRUE(result.ports.ports.empty());
    EXPECT_THAT(result.warnings, ElementsAre(test::warns(WarningKind::alignment, "a warning")));
    ASSERT_EQ(result.stages.size(), get_images().names().size());
    EXPECT_EQ(result.stages.back().name, "field_P");
    EXPECT_EQ(result.stages.back().label, "Pressure field");
    const double share = result.stages.back().values.valid_share();
    EXPECT_GT(share, 0.3);
    EXPECT_LT(share, 0.7);
}

TEST_F(PointCheckTest, AFieldOfAnotherTimeIsNoted) {
    compute({.width = 100, .height = 80});
    flowFeatures flow;
    read(vyn_db(), std::string(keys::flow), flow);
    flow.wind_on_t += 1;
    write(vyn_db(), std::string(keys::flow), flow);
    EXPECT_THAT(check({}).warnings,
                ElementsAre(test::warns(WarningKind::out_of_date, "field is out of date: ")));
    *report = {};  // as after a run that was aborted early
    const PointCheck old = check({});
    EXPECT_FALSE(old.computed);
    EXPECT_THAT(old.warnings,
                ElementsAre(test::warns(WarningKind::out_of_date, "field is out of date: ")));
}

TEST_F(PointCheckTest, AFieldStaysWhatItWasComputedAs) {
    compute({.width = 200, .height = 150, .quantity = FieldQuantity::cp});
    const double rms = check(point.ports).ports.rms;
    write(vyn_db(), keys::convert_field, std::string("Pressure"));
    write(vyn_db(), Key<double>{"project/flow/static_p"}, 12345.0);
    write(vyn_db(), Key<double>{"project/flow/dynamic_p"}, 1.0);

    const PointCheck later = check(point.ports);
    EXPECT_EQ(later.quantity, "pressure coefficient");
    EXPECT_EQ(later.stages.back().quantity, "Cp");
    EXPECT_EQ(later.ports.rms, rms);

    for (const char* name : {"field.imp", "field.tif"}) {
        ASSERT_EQ(run(SaveImageTask(program_session(), image_names::field, folder / name)),
                  TaskOutcome::done);
        const image alone = read_image(folder / name);
        EXPECT_EQ(field_label(alone).text(), "Cp");
        const nlohmann::json told = provenance(alone, {});
        EXPECT_EQ(told["settings"]["project/processing/convert/field"], "Cp");
        EXPECT_EQ(told["settings"]["project/flow/static_p"], point.flow.static_p);
        EXPECT_THAT(get_file(folder / name), AllOf(HasSubstr(R"(convert/field":"Cp")"),
                                                   Not(HasSubstr(R"(convert/field":"Pressure")"))));
        // Two images, two darks, a flat field and two marker files.
        EXPECT_EQ(told["inputs"].size(), 7u);
    }

    // What does not say what it holds is not taken for what the project would compute.
    image silent = *get_images().find(image_names::field);
    silent.quantity = {};
    get_images().add(std::move(silent));
    const PointCheck unknown = check(point.ports);
    EXPECT_EQ(unknown.quantity, "value");
    EXPECT_TRUE(unknown.ports.ports.empty());
    EXPECT_THAT(unknown.ports.left_out, ElementsAre(HasSubstr("which quantity")));
}

TEST_F(PointCheckTest, ImagesOfThePointKnowTheirQuantities) {
    compute({.width = 100, .height = 80, .channels = SyntheticOptions::Channels::binary});
    for (const std::string& name : get_images().names()) {
        using Kind = Quantity::Kind;
        const auto picture = get_images().find(name);
        const Kind expected = name.starts_with("flat") ? Kind::flat_field
                              : name == "field_P"      ? Kind::pressure
                              : name == "Iref"         ? Kind::intensity_ratio
                              : name.ends_with("_cor") || name.ends_with("_aligned")
                                  ? Kind::corrected_intensity
                                  : Kind::raw_counts;
        EXPECT_EQ(picture->quantity, Quantity{expected}) << name;
        EXPECT_EQ(picture->unit, expected == Kind::pressure     ? "Pa"
                                 : expected == Kind::raw_counts ? "count"
                                                                : "")
            << name;
    }
}

TEST_F(PointCheckTest, PortsAreThoseOfTheFieldElseOfThePortFile) {
    compute({.width = 100, .height = 80});
    EXPECT_TRUE(ports_of_point(vyn_db(), get_images()).markers.empty());  // dots without pressures
    write(vyn_db(), keys::port_file, std::string("none.mrk"));
    EXPECT_TRUE(ports_of_point(vyn_db(), get_images()).markers.empty());  // no such file
    write(vyn_db(), keys::port_file, std::string("ports.mrk"));
    EXPECT_EQ(ports_of_point(vyn_db(), get_images()).markers.size(), point.ports.markers.size());
    write(vyn_db(), keys::port_file, std::string());
    image ratio = *get_images().find(image_names::ratio);
    ratio.markers = point.ports;
    get_images().add(std::move(ratio));
    EXPECT_EQ(ports_of_point(vyn_db(), get_images()).markers.size(), point.ports.markers.size());
}

}  // namespace
}  // namespace vyn::test
