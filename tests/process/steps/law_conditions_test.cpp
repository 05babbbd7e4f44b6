#include "process/steps/law_conditions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "calib/flow.h"
#include "calib/paint.h"
#include "core/keys.h"
#include "process/point/experiment_type.h"
#include "tests/support/log_capture.h"

namespace vyn::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/// A paint for pascal and Celsius, 0 to 60 degrees.
simpleNamedDataSet& fill(simpleNamedDataSet& settings, const std::string& p_unit,
                         const std::string& t_unit) {
    paintFeatures paint;
    paint.gamma = {{{-1000, 0, 0}, {80000, 0, 0}, {20000, 0, 0}}};
    paint.pressure_unit = "Pa";
    paint.temperature_unit = "C";
    paint.maximal_temperature = 60;
    write(settings, std::string(keys::sens_paint), paint);
    flowFeatures flow;
    flow.wind_off_p = 1;
    flow.wind_off_t = 20;
    flow.wind_on_t = 25;
    flow.p_unit = p_unit;
    flow.t_unit = t_unit;
    write(settings, std::string(keys::flow), flow);
    return settings;
}

std::string in_law(const LawConditions& conditions, const std::string& name) {
    for (const LawConditions::Line& line : conditions.lines)
        if (line.name == name) return line.in_law;
    return "no line";
}

struct UnitCase {
    const char* name;
    const char* p_unit;
    const char* t_unit;
    const char* pressure;     ///< wind-off, as it enters the law
    const char* temperature;  ///< wind-on
    const char* remark;       ///< null: nothing is wrong
};

class LawUnits : public testing::TestWithParam<UnitCase> {};

TEST_P(LawUnits, ShowWhatEntersTheLaw) {
    const UnitCase& c = GetParam();
    simpleNamedDataSet settings;
    const LogCapture log;
    const LawConditions conditions = law_conditions(fill(settings, c.p_unit, c.t_unit), {});
    EXPECT_EQ(in_law(conditions, "Wind-off P"), c.pressure);
    EXPECT_EQ(in_law(conditions, "Wind-on T"), c.temperature);
    if (c.remark)
        EXPECT_THAT(conditions.remarks, Contains(HasSubstr(c.remark)));
    else
        EXPECT_THAT(conditions.remarks, IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Names, LawUnits,
    testing::Values(UnitCase{"as_the_law", "Pa", "C", "1", "25", nullptr},
                    UnitCase{"converted", "bar", "C", "100000", "25", nullptr},
                    UnitCase{"too_warm", "Pa", "c", "1", "298.16",
                             "wind_on_t enters the law as 298.16, outside the paint's range 0 to"},
                    UnitCase{"table_name", "Pa", "c", "1", "298.16",
                             "t_unit \"c\" enters the law in kelvin"},
                    UnitCase{"unknown_pressure", "mbar", "C", "1", "25",
                             "project/flow/p_unit \"mbar\" is no known unit name (bar, atm,"},
                    UnitCase{"capital", "Bar", "C", "1", "25", "\"Bar\" is no known"}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST(LawConditions, RatioAndUnityAndPaintUnits) {
    simpleNamedDataSet settings;
    fill(settings, "bar", "C");
    EXPECT_NE(in_law(law_conditions(settings, {}), "Wind-off ratio fa"), "1");
    choose_experiment_type(settings, ExperimentType::lifetime);  // without wind-off pictures
    EXPECT_EQ(in_law(law_conditions(settings, {}), "Wind-off ratio fa"), "1");
    choose_experiment_type(settings, ExperimentType::single);
    write(settings, keys::convert_wind_off_ratio, std::string("unity"));
    settings.write(std::string(keys::sens_paint) + "default_pressure_unit", "bar");
    const LawConditions conditions = law_conditions(settings, {});
    EXPECT_EQ(in_law(conditions, "Wind-off ratio fa"), "1");
    EXPECT_THAT(conditions.remarks,
                Contains(HasSubstr("coefficients are taken as they stand for a law in Pa")));
    write(settings, keys::convert_field, std::string("Irefe_Isens"));
    EXPECT_THAT(law_conditions(settings, {}).lines, IsEmpty());
    EXPECT_THAT(law_conditions(settings, {}).remarks, SizeIs(1));
}

}  // namespace
}  // namespace vyn::test
