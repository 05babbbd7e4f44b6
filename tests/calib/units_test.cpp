#include "calib/units.h"

#include <gmock/gmock.h>

#include "core/log.h"

namespace vyn {
namespace {

struct UnitCase {
    double (*convert)(double, const std::string&, const std::string&);
    double value;
    const char* from;
    const char* to;
    double expected;
    const char* complaints = "";
};
class Units : public testing::TestWithParam<UnitCase> {};

TEST_P(Units, ConvertAndComplain) {
    const UnitCase& c = GetParam();
    get_log_mgr().take_new_lines();
    testing::internal::CaptureStderr();
    EXPECT_DOUBLE_EQ(c.convert(c.value, c.from, c.to), c.expected);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.complaints);
    std::string logged;
    for (const LogLine& line : get_log_mgr().take_new_lines())
        logged += line.text + '\n';
    EXPECT_EQ(logged, c.complaints);
}

constexpr auto pressure = convert_pressure;
constexpr auto temperature = convert_temperature;
constexpr auto length = convert_length;
INSTANTIATE_TEST_SUITE_P(
    Tables, Units,
    testing::Values(
        UnitCase{pressure, 1, "atm", "pa", 100000}, UnitCase{pressure, 1, "bar", "atm", 1},
        UnitCase{pressure, 2, "kg/sm2", "kg/m2", 20000},
        UnitCase{pressure, 3, "mm_h2o", "pa", 29.41995},
        UnitCase{pressure, 760, "mm_hg", "torr", 760},
        UnitCase{pressure, 760, "torr", "bar", 1.0132472}, UnitCase{pressure, 1, "psia", "psi", 1},
        UnitCase{pressure, 1, "psi", "psia", 6894.76, "psia: Incorrect new pressure unit\n"},
        UnitCase{pressure, 5, "Pa", "pa", 5, "Pa: Incorrect pressure unit\n"},
        UnitCase{pressure, 5, "", "", 5,
                 ": Incorrect pressure unit\n: Incorrect new pressure unit\n"},
        UnitCase{temperature, 0, "c", "k", 273.16}, UnitCase{temperature, 0, "k", "r", 0},
        UnitCase{temperature, 1, "r", "k", 1.8}, UnitCase{temperature, 9, "f", "k", 260.382222},
        UnitCase{temperature, 255.382222, "k", "f", 0},
        UnitCase{temperature, 300, "K", "c", 300 - 273.16, "K: Incorrect temperature unit\n"},
        UnitCase{temperature, 0, "c", "C", 273.16, "C: Incorrect new temperature unit\n"},
        UnitCase{length, 1, "m", "mm", 1000}, UnitCase{length, 5, "sm", "m", 0.05},
        UnitCase{length, 2, "km", "dm", 20000},
        UnitCase{length, 1, "cm", "m", 1, "cm: Incorrect length unit\n"},
        UnitCase{length, 7, "m", "inch", 7, "inch: Incorrect new length unit\n"}));

}  // namespace
}  // namespace vyn
