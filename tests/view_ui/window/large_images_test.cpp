#include <QAction>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>

#include "tests/view_ui/viewer_fixture.h"
#include "view/ui/look/fashion_dialog.h"

namespace vyn {
namespace {

using LargeImages = test::ViewerTest;
using test::ramp_image;

/// An image that is prepared behind the window's back.
image large_image(const std::string& name) {
    image picture = ramp_image(name, 1200, 1000);
    EXPECT_EQ(Preparation::when_for(picture), Preparation::When::behind);
    return picture;
}

TEST_F(LargeImages, AreShownWhenTheyAreReadyAndNotEditedMeanwhile) {
    get_images().add(large_image("field_P"));
    VynFieldViewer& viewer = show("field_P");
    ASSERT_TRUE(QTest::qWaitFor([&] { return viewer.picture() != nullptr; }, 5000));
    const Limits limits = viewer.view().fashion().limits;
    EXPECT_NEAR(limits.maximum, 995e3, 1e3) << "of the image";
    const ViewTransform place{3, {500, 400}};
    viewer.view().set_transform(place);

    const auto old = viewer.picture();
    image computed = large_image("field_P");
    computed.values().fill(7);
    get_images().add(std::move(computed));
    const auto newer = get_images().find("field_P");
    EXPECT_FALSE(viewer.may_edit());
    viewer.findChild<QAction*>(QStringLiteral("region_invert"))->trigger();
    EXPECT_EQ(get_images().find("field_P"), newer) << "not overwritten by the older one";
    EXPECT_EQ(viewer.picture(), old);
    ASSERT_TRUE(QTest::qWaitFor([&] { return viewer.picture() == newer; }, 5000));
    EXPECT_EQ(viewer.view().transform(), place);
    EXPECT_EQ(viewer.view().fashion().limits, limits);

    viewer.findChild<QAction*>(QStringLiteral("region_invert"))->trigger();
    EXPECT_NE(viewer.picture()->mask()(5, 5), 0) << "seen at once";
    get_images().remove("field_P");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !viewer.picture(); }, 5000));
    get_images().add(large_image("field_P"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return viewer.picture() != nullptr; }, 5000));
    EXPECT_EQ(viewer.view().transform(), place) << "of an image that was gone for a while";
}

TEST_F(LargeImages, CloseWhileTheyArePrepared) {
    get_images().add(large_image("field_P"));
    for (const int wait : {0, 1, 5}) {
        auto* viewer = new VynFieldViewer(worker, "field_P", false, {});
        const QPointer<VynFieldViewer> gone(viewer);
        viewer->show();
        QTest::qWait(wait);
        viewer->close();
        EXPECT_TRUE(QTest::qWaitFor([&] { return !gone; }, 5000));
    }
}

TEST_F(LargeImages, HaveADifferenceWhenTheOtherOneIsReady) {
    get_images().add(large_image("field_P"));
    image other = large_image("other");
    other.values().fill(100);
    get_images().add(std::move(other));
    VynFieldViewer& viewer = show("field_P");
    ASSERT_TRUE(QTest::qWaitFor([&] { return viewer.picture() != nullptr; }, 5000));
    viewer.view().set_transform({8, QPointF(-0.5, -0.5)});
    const Fashion before = viewer.view().fashion();
    test::when_shown<QInputDialog>([](QInputDialog& dialog) { dialog.accept(); });
    viewer.actions().difference->trigger();
    EXPECT_TRUE(viewer.actions().difference->isChecked());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !(viewer.view().fashion() == before); }, 5000));
    QSignalSpy probes(&viewer.view(), &VynFieldView::probe);
    // Sent to the view itself: the pointer's own way there depends on the windows of other tests.
    QMouseEvent move(QEvent::MouseMove, at(viewer, 17, 5), Qt::NoButton, Qt::NoButton,
                     Qt::NoModifier);
    QApplication::sendEvent(&viewer.view(), &move);
    ASSERT_FALSE(probes.isEmpty());
    EXPECT_EQ(probes.last()[2].toFloat(), 5017);
    viewer.actions().difference->trigger();
    EXPECT_EQ(viewer.view().fashion(), before);
}

TEST_F(LargeImages, AreCountedAndMixedWhenTheyAreReady) {
    get_images().add(large_image("field_P"));
    image green = large_image("green");
    green.values().fill(60);
    get_images().add(std::move(green));
    VynFieldViewer& viewer = show("field_P");
    ASSERT_TRUE(QTest::qWaitFor([&] { return viewer.picture() != nullptr; }, 5000));
    viewer.advanced_fashion();
    auto* dialog = viewer.findChild<QFashionDlg*>();
    ASSERT_TRUE(dialog);
    const auto* maximum = dialog->findChild<QLabel*>(QStringLiteral("image_maximum"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !maximum->text().isEmpty(); }, 5000));
    EXPECT_EQ(maximum->text(), QStringLiteral("max:1.0003e+06"));
    dialog->findChild<QLineEdit*>(QStringLiteral("low_percent"))->setText(QStringLiteral("50"));
    dialog->findChild<QPushButton*>(QStringLiteral("percentiles"))->click();
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return viewer.view().fashion().limits.minimum > 400e3; }, 5000));

    Fashion fashion = viewer.view().fashion();
    fashion.channels = {ColourChannels::colour, {"", "green", "", ""}};
    viewer.view().set_transform({8, QPointF(-0.5, -0.5)});
    viewer.view().set_fashion(fashion);
    const QPoint pixel = at(viewer, 20, 0);
    const auto seen = [&] { return viewer.view().grab().toImage().pixel(pixel); };
    EXPECT_TRUE(QTest::qWaitFor([&] { return seen() == qRgb(120, 60, 0); }, 5000));
}

}  // namespace
}  // namespace vyn
