#include "core/ui/number_edit.h"

#include <gtest/gtest.h>

namespace vyn {
namespace {

TEST(NumberEdit, ReadsPointAndCommaAndMarksWhatIsNoNumber) {
    NumberEdit edit;
    edit.setToolTip(QStringLiteral("Static pressure"));
    edit.set_range(-10, 10);
    edit.setText(QStringLiteral("2.5"));
    EXPECT_EQ(edit.number(), 2.5);
    edit.setText(QStringLiteral(" -2,5 "));
    EXPECT_EQ(edit.number(), -2.5);
    for (const char* wrong : {"", "1e", "nan", "inf", "11", "1 2", "0x10"}) {
        edit.setText(QLatin1String(wrong));
        EXPECT_FALSE(edit.check()) << wrong;
        EXPECT_TRUE(edit.toolTip().startsWith(QLatin1String("Please enter"))) << wrong;
    }
    edit.setText(QStringLiteral("1e1"));
    EXPECT_TRUE(edit.check());
    EXPECT_EQ(edit.toolTip(), QStringLiteral("Static pressure"));
    edit.set_number(0.1);
    EXPECT_EQ(edit.text(), QStringLiteral("0.1"));
    edit.set_kind(NumberEdit::Kind::whole);
    EXPECT_FALSE(edit.check());
}

}  // namespace
}  // namespace vyn
