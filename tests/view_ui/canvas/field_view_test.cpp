#include "view/ui/canvas/field_view.h"

#include <QSignalSpy>
#include <QWheelEvent>
#include <cmath>

#include <QtTest/QTest>

#include "render/colour_map.h"
#include "tests/view_ui/viewer_fixture.h"
#include "view/ui/canvas/view_frame.h"

namespace vyn {
namespace {

class FieldView : public testing::Test {
  protected:
    FieldView() {
        view.resize(400, 300);
        view.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&view));
        show(test::ramp_image("a", 200, 100));
    }
    void show(image picture) {
        view.set_picture(
            std::make_shared<const ImageLevels>(std::make_shared<const image>(std::move(picture))));
    }
    void turn_wheel(QPointF at, int steps) {
        QWheelEvent event(at, view.mapToGlobal(at.toPoint()), {}, {0, 120 * steps}, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&view, &event);
    }
    void drag(Qt::MouseButton button, QPoint from, QPoint to) {
        QTest::mousePress(&view, button, {}, from);
        // mouseMove of the test library carries no buttons.
        QMouseEvent move(QEvent::MouseMove, to, view.mapToGlobal(to), Qt::NoButton, button, {});
        QApplication::sendEvent(&view, &move);
        QTest::mouseRelease(&view, button, {}, to);
    }

    VynFieldView view;
};

/// Counts what reaches it.
class CountingTool final : public ViewTool {
  public:
    QCursor cursor() const override { return {}; }
    void press(const ViewMouse& mouse) override { presses.push_back(mouse.image); }
    void cancel() override { ++cancelled; }
    std::vector<QPointF> presses;
    int cancelled = 0;
};

TEST_F(FieldView, WheelZoomsAboutThePointerInStepsOfTheRootOfTwo) {
    view.zoom_one_to_one();
    EXPECT_EQ(view.transform().zoom, 1);
    const QPointF pointer(310, 120);
    const QPointF under = view.transform().to_image(pointer);
    for (const int steps : {1, 2, 5, -3, -8}) {
        const double before = view.transform().zoom;
        turn_wheel(pointer, steps);
        EXPECT_NEAR(view.transform().zoom / before, std::pow(2, steps / 2.0), 1e-12);
        const QPointF now = view.transform().to_image(pointer);
        EXPECT_NEAR(now.x(), under.x(), 1e-9);
        EXPECT_NEAR(now.y(), under.y(), 1e-9);
    }
    turn_wheel(pointer, 3);
    EXPECT_EQ(view.transform().zoom, 1) << "in and out meet again exactly";
    turn_wheel(pointer, 1000);
    EXPECT_EQ(view.transform().zoom, 256);
}

TEST_F(FieldView, MiddleButtonAndSpacePanWithoutTheTool) {
    CountingTool tool;
    view.set_tool(&tool);
    view.set_transform({2, {10, 20}});
    drag(Qt::MiddleButton, {100, 100}, {60, 130});
    EXPECT_EQ(view.transform().origin, QPointF(30, 5));
    QTest::keyPress(&view, Qt::Key_Space);
    drag(Qt::LeftButton, {100, 100}, {140, 70});
    QTest::keyRelease(&view, Qt::Key_Space);
    EXPECT_EQ(view.transform().origin, QPointF(10, 20));
    EXPECT_TRUE(tool.presses.empty());

    QTest::mouseClick(&view, Qt::LeftButton, {}, {50, 60});
    ASSERT_EQ(tool.presses.size(), 1U);
    EXPECT_EQ(tool.presses[0], QPointF(35, 50));
    QTest::keyClick(&view, Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(view.transform().origin, QPointF(12, 20));
    view.set_tool(nullptr);
    EXPECT_EQ(tool.cancelled, 1);
}

TEST_F(FieldView, FitShowsAllAndFollowsTheSizeUntilTheNextZoom) {
    QTest::keyClick(&view, Qt::Key_Home);
    EXPECT_EQ(view.transform().zoom, 2);
    EXPECT_EQ(view.transform().to_widget({-0.5, -0.5}), QPointF(0, 50));
    view.resize(200, 300);
    QTest::qWait(1);
    EXPECT_EQ(view.transform().zoom, 1);
    QTest::keyClick(&view, Qt::Key_Plus);
    view.resize(400, 300);
    QTest::qWait(1);
    EXPECT_NEAR(view.transform().zoom, std::sqrt(2), 1e-12);
}

TEST_F(FieldView, MagnifiedPixelsAreCrispAndHaveTheColoursOfTheMap) {
    Fashion fashion;
    fashion.limits = {100, 3000};
    view.set_fashion(fashion);
    image picture = test::ramp_image("a", 5, 4);
    picture.mask()(2, 1) = 1;
    show(picture);
    view.set_transform({32, {-0.5, -0.5}});
    const QImage seen = view.grab().toImage();
    const colour_map colours(100, 3000, *fashion.palette);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 5; ++x) {
            const QRgb expected =
                colours.colour(picture.values()(x, y), picture.mask()(x, y), true);
            for (const int in : {2, 16, 29})
                EXPECT_EQ(seen.pixel(32 * x + in, 32 * y + in), expected) << x << ' ' << y;
        }
}

TEST(ViewFrame, FineScreensShowTheSamePartWithMorePixels) {
    const auto levels = std::make_shared<const ImageLevels>(
        std::make_shared<const image>(test::ramp_image("a", 50, 40)));
    const colour_map colours(100, 40000, palette_array());
    const ViewTransform shown{3, {4, 5}};
    ViewFrame frame;
    const QImage& fine = frame.draw(FieldSource{levels}, colours, shown, {60, 45}, 2);
    EXPECT_EQ(fine.size(), QSize(120, 90));
    EXPECT_EQ(fine.devicePixelRatio(), 2);
    for (const QPointF at : {QPointF(0.2, 0.2), {30.7, 21.2}, {59.7, 44.7}}) {
        const QPoint pixel = shown.to_image(at).toPoint();
        EXPECT_EQ(fine.pixel(static_cast<int>(at.x() * 2), static_cast<int>(at.y() * 2)),
                  colours.colour(levels->picture().values()(pixel.x(), pixel.y()), false, true));
    }
}

TEST_F(FieldView, ProbesThePixelUnderThePointerAndNothingOutside) {
    QSignalSpy probes(&view, &VynFieldView::probe);
    view.set_transform({4, {-0.5, -0.5}});
    QTest::mouseMove(&view, {4 * 7 + 3, 4 * 2});
    ASSERT_EQ(probes.size(), 1);
    EXPECT_EQ(probes[0].mid(0, 6), QVariantList({7, 2, 2107.F, false, true, false}));
    view.set_transform({4, {-20.5, -0.5}});
    QTest::mouseMove(&view, {2, 2});
    ASSERT_EQ(probes.size(), 2);
    EXPECT_EQ(probes[1].mid(0, 5), QVariantList({-20, 0, 0.F, true, false}));
}

TEST_F(FieldView, OddImagesAndNoneAreShown) {
    for (const auto& [width, height] : {std::pair{1, 1}, {30000, 2}, {2, 30000}}) {
        show(test::ramp_image("a", width, height));
        const QPointF corner =
            view.transform().to_widget({width - 0.5, height - 0.5}) - QPointF(0.01, 0.01);
        EXPECT_TRUE(QRectF(view.rect()).contains(corner)) << width;
        EXPECT_FALSE(view.grab().isNull());
    }
    view.set_picture(nullptr);
    QSignalSpy probes(&view, &VynFieldView::probe);
    QTest::mouseClick(&view, Qt::LeftButton, {}, {50, 60});
    turn_wheel({10, 10}, 1);
    view.grab();
    EXPECT_EQ(probes.size(), 0);
}

TEST_F(FieldView, VectorsAreDrawnWhereTheImageHasThem) {
    image picture(64, 64);
    picture.values().fill(1);
    picture.displacement = Displacement{Bitmap<float>(8, 8, 1.F), Bitmap<float>(8, 8, 0.F), 8};
    picture.mask()(16, 16) = 1;
    show(picture);
    view.set_transform({4, {-0.5, -0.5}});
    Fashion fashion;
    fashion.vectors = {false, 6, 2, 1};
    view.set_fashion(fashion);
    const QImage bare = view.grab().toImage();
    fashion.vectors.shown = true;
    view.set_fashion(fashion);
    const QImage drawn = view.grab().toImage();
    // The arrow of node (c, r) runs 6 image pixels to the right of pixel (8 c, 8 r).
    const auto differs = [&](int c, int r) {
        const QPoint middle = view.transform().to_widget({8.0 * c + 3, 8.0 * r}).toPoint();
        return bare.pixel(middle) != drawn.pixel(middle);
    };
    EXPECT_TRUE(differs(0, 0));
    EXPECT_TRUE(differs(4, 3));
    EXPECT_FALSE(differs(1, 0)) << "skipped column";
    EXPECT_FALSE(differs(2, 2)) << "excluded";

    // A displacement file: the grid itself is the image, its nodes are the pixels.
    image grid(8, 8);
    grid.values().fill(1);
    grid.displacement = picture.displacement;
    show(grid);
    view.set_transform({32, {-0.5, -0.5}});
    fashion.vectors = {false, 0.8, 1, 1};
    view.set_fashion(fashion);
    const QImage bare_grid = view.grab().toImage();
    fashion.vectors.shown = true;
    view.set_fashion(fashion);
    const QImage drawn_grid = view.grab().toImage();
    for (int r = 0; r < 8; ++r)
        for (int c = 0; c < 8; ++c) {
            const QPoint middle = view.transform().to_widget({c + 0.4, double(r)}).toPoint();
            EXPECT_NE(bare_grid.pixel(middle), drawn_grid.pixel(middle)) << c << ' ' << r;
        }
}

TEST_F(FieldView, IsoLinesInvertedColoursAndLevelsAreSeen) {
    image ramp = test::picture_of(40, 30, [](int x, int) { return x; });
    ramp.mask()(39, 29) = 1;
    show(ramp);
    view.set_transform({10, {-0.5, -0.5}});
    Fashion fashion;
    fashion.limits = {0, 40};
    fashion.palette_style = {true, 4};
    view.set_fashion(fashion);
    const QImage plain = view.grab().toImage();
    const auto at = [&](const QImage& seen, double x, double y) {
        return seen.pixel(view.transform().to_widget({x, y}).toPoint());
    };
    const colour_map smooth(0, 40, *fashion.palette);
    EXPECT_EQ(at(plain, 10, 15), at(plain, 19, 15));
    EXPECT_NE(at(plain, 19, 15), at(plain, 20, 15));
    EXPECT_NEAR(qRed(at(plain, 5, 15)), qRed(smooth.colour(35, false, true)), 3);
    EXPECT_EQ(at(plain, 39, 29), smooth.colour(0, true, true));

    fashion.iso.kind = IsoStyle::Kind::step;
    fashion.iso.step = 10;
    fashion.iso.labels = false;
    view.set_fashion(fashion);
    const QImage lined = view.grab().toImage();
    for (const double level : {10.0, 20.0, 30.0}) {
        EXPECT_NE(at(plain, level, 7), at(lined, level, 7));
        EXPECT_EQ(at(plain, level + 2, 7), at(lined, level + 2, 7));
    }
    fashion.iso.labels = true;
    view.set_fashion(fashion);
    EXPECT_NE(view.grab().toImage(), lined);
}

}  // namespace
}  // namespace vyn
