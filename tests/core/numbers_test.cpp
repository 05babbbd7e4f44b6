#include "core/numbers.h"

#include <bit>
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

namespace vyn {
namespace {

TEST(Numbers, ShortestTextBringsEveryBitBack) {
    using Limits = std::numeric_limits<double>;
    for (const double value :
         {0.0, -0.0, 0.1, -1.0 / 3, 1e-5, 123456789.125, 1e22, Limits::max(), Limits::lowest(),
          Limits::min(), Limits::denorm_min(), Limits::infinity(), -Limits::infinity()}) {
        const auto read = parse_double(format_double(value));
        ASSERT_TRUE(read) << format_double(value);
        EXPECT_EQ(std::bit_cast<std::uint64_t>(*read), std::bit_cast<std::uint64_t>(value))
            << format_double(value);
    }
    EXPECT_EQ(format_double(0.1), "0.1");
    EXPECT_EQ(format_double(Limits::quiet_NaN()), "nan");
}

TEST(Numbers, FormatsHaveAPointAndNoGroupingInEveryLocale) {
    EXPECT_EQ(format_general(1234567.891, 9), "1234567.89");
    EXPECT_EQ(format_general(1234567.891, 3), "1.23e+06");
    EXPECT_EQ(format_general(100.0, 16), "100");
    EXPECT_EQ(format_fixed(1234567.891, 2), "1234567.89");
    EXPECT_EQ(format_fixed(-0.5, 0), "-0");
    EXPECT_EQ(format_fixed(1e300, 1).size(), 303u);
}

TEST(Numbers, ParseTakesWholeNumbersOnly) {
    EXPECT_EQ(parse_double(" +1.5e3\r\n"), 1500.0);
    EXPECT_EQ(parse_double("-.5"), -0.5);
    EXPECT_EQ(parse_int("\t-12 "), -12);
    EXPECT_EQ(parse_int("2147483647"), 2147483647);
    for (const char* text :
         {"", " ", "1,5", "1.5x", "x", "+-1", "++1", "1 2", "0x10", "1e999", "1e-999"})
        EXPECT_FALSE(parse_double(text)) << text;
    for (const char* text : {"", "1.5", "2147483648", "-2147483649", "12a", "+", "+-1"})
        EXPECT_FALSE(parse_int(text)) << text;
}

}  // namespace
}  // namespace vyn
