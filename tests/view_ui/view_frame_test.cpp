#include "view/ui/view_frame.h"

#include <memory>

#include <gtest/gtest.h>

namespace vyn {
namespace {

/// One bright pixel at (2, 1) of an image of 4 x 3.
ViewSource one_bright_pixel() {
    auto picture = std::make_shared<image>(4, 3);
    picture->values()(2, 1) = 1;
    return FieldSource{std::make_shared<ImageLevels>(picture)};
}

/// A pixel of the image covers `zoom` pixels of the design, whatever number of screen pixels that
/// is.
class ViewFrameRatio : public testing::TestWithParam<double> {};

TEST_P(ViewFrameRatio, ThePlaceOfAPixelIsTheSameOnEveryScreen) {
    const double ratio = GetParam();
    const double zoom = 8;
    const colour_map colours(0, 1, palette_array());
    ViewFrame frame;
    const QImage& picture =
        frame.draw(one_bright_pixel(), colours, {zoom, {-0.5, -0.5}}, QSizeF(32, 24), ratio);
    ASSERT_EQ(picture.size(), QSize(qRound(32 * ratio), qRound(24 * ratio)));
    const QRgb bright = colours.palette().entries[colours.index(1, false, true)].argb();
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x) {
            const auto screen = [&](int place) { return qRound((place + 0.5) * zoom * ratio); };
            EXPECT_EQ(picture.pixel(screen(x), screen(y)) == bright, x == 2 && y == 1)
                << x << ", " << y;
        }
}

INSTANTIATE_TEST_SUITE_P(Screens, ViewFrameRatio, testing::Values(1.0, 1.25, 2.0));

}  // namespace
}  // namespace vyn
