#include "core/quotes.h"

#include <gmock/gmock.h>

#include "core/log.h"
#include "tests/support/log_capture.h"

namespace vyn {
namespace {

TEST(Quotes, ShowTheBeginningOfATextOnOneLine) {
    EXPECT_EQ(in_quotes("a\nb\x7F"), "\"a b \"");
    EXPECT_EQ(in_quotes(std::string(10'000'000, 'x')), '"' + std::string(77, 'x') + "...\"");
    EXPECT_EQ(shortened("12345678\xC2\xB0 and more", 12), "12345678...") << "no half character";
    EXPECT_EQ(number_in_quotes("12,5"), "\"12,5\" (write a decimal point, not a comma)");
    EXPECT_EQ(number_in_quotes("a,b"), "\"a,b\"");
}

TEST(Quotes, LogLinesHaveALargestLength) {
    const test::LogCapture log;
    get_log().write(LogLevel::information, std::string(10'000'000, 'x'));
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_LE(log.lines()[0].size(), 1026u);
}

}  // namespace
}  // namespace vyn
