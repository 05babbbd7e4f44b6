#include "app/appearance.h"

#include <QApplication>
#include <QPalette>
#include <cmath>

#include <gtest/gtest.h>

namespace vyn {
namespace {

/// Relative luminance of a colour (WCAG 2.1).
double luminance(const QColor& colour) {
    const auto linear = [](double c) {
        return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

double contrast(const QColor& a, const QColor& b) {
    const double light = std::max(luminance(a), luminance(b));
    const double dark = std::min(luminance(a), luminance(b));
    return (light + 0.05) / (dark + 0.05);
}

class AppearanceText : public testing::TestWithParam<Appearance> {
  protected:
    ~AppearanceText() override { apply_appearance(Appearance::system); }
};

TEST_P(AppearanceText, IsReadOnEveryGround) {
    apply_appearance(GetParam());
    const QPalette palette = QApplication::palette();
    const std::pair<QPalette::ColorRole, QPalette::ColorRole> pairs[] = {
        {QPalette::WindowText, QPalette::Window},
        {QPalette::Text, QPalette::Base},
        {QPalette::ButtonText, QPalette::Button},
        {QPalette::ToolTipText, QPalette::ToolTipBase},
        {QPalette::HighlightedText, QPalette::Highlight},
        {QPalette::Link, QPalette::Base}};
    for (const auto& [text, ground] : pairs)
        EXPECT_GT(contrast(palette.color(text), palette.color(ground)), 4.5)
            << static_cast<int>(text) << " on " << static_cast<int>(ground);
    EXPECT_LT(contrast(palette.color(QPalette::Button), palette.color(QPalette::Window)), 2);
}

INSTANTIATE_TEST_SUITE_P(Own, AppearanceText, testing::Values(Appearance::light, Appearance::dark));

}  // namespace
}  // namespace vyn
