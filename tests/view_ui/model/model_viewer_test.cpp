#include "view/ui/model/model_viewer.h"

#include <QApplication>
#include <QComboBox>
#include <QListWidget>
#include <QMouseEvent>
#include <QStatusBar>
#include <QTest>
#include <cmath>

#include <gtest/gtest.h>

#include "process/model/mesh_cache.h"
#include "process/model/section_table.h"
#include "tests/support/meshes.h"
#include "tests/support/temporary_folder.h"
#include "view/ui/model/section_panel.h"

namespace vyn::test {
namespace {

Progress silent;

std::shared_ptr<const ShownModel> cube_model() {
    auto model = std::make_shared<ShownModel>();
    model->mesh = cube(9, 100);
    for (const char* name : {"P", "Cp"}) {
        Mesh::Quantity quantity{name, {}, *name == 'P' ? "Pa" : "", Mesh::Place::node};
        for (const auto& place : model->mesh.vertices)
            quantity.values.push_back(place[0] > 90 ? std::nan("") : place[0] + place[1]);
        model->mesh.quantities.push_back(quantity);
    }
    Mesh::View camera;
    camera.name = "wind_off_sens";
    camera.rotation = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    camera.shift = {-50, -50, 300};
    camera.fx = camera.fy = 400;
    camera.lens.cx = 159.5;
    camera.lens.cy = 119.5;
    camera.width = 320;
    camera.height = 240;
    model->mesh.views.push_back(camera);
    model->prepared = prepare_once(model->mesh, silent);
    return model;
}

bool near(const ModelView& a, const ModelView& b) {
    double largest = 0;
    for (std::size_t i = 0; i < 3; ++i)
        largest = std::max(
            {largest, length(a.rotation[i] - b.rotation[i]), std::abs(a.shift[i] - b.shift[i])});
    return largest < 1e-9 && std::abs(a.fx - b.fx) < 1e-9 && std::abs(a.cx - b.cx) < 1e-9 &&
           std::abs(a.cy - b.cy) < 1e-9;
}

class ModelWindow : public testing::Test {
  protected:
    ModelWindow() {
        viewer.resize(1000, 600);
        viewer.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&viewer));
        viewer.show_model(model, {}, QStringLiteral("Model"));
    }
    ModelCanvas& canvas() { return viewer.canvas(); }
    void drag(QPoint from, QPoint to, Qt::KeyboardModifiers modifiers) {
        QTest::mousePress(&canvas(), Qt::LeftButton, modifiers, from);
        QMouseEvent move(QEvent::MouseMove, to, canvas().mapToGlobal(to), Qt::NoButton,
                         Qt::LeftButton, modifiers);
        QApplication::sendEvent(&canvas(), &move);
        QTest::mouseRelease(&canvas(), Qt::LeftButton, modifiers, to);
    }

    std::shared_ptr<const ShownModel> model = cube_model();
    ModelViewer viewer;
};

/// What stays where it is seen: the middle while turning, the place under the pointer while
/// zooming, everything in proportion when the window's size changes.
TEST_F(ModelWindow, IsTurnedMovedAndZoomedByHand) {
    const ModelView before = canvas().model_view();
    const Vec3 middle{50, 50, 50};
    drag({100, 100}, {150, 80}, {});
    EXPECT_TRUE(near(canvas().model_view(), turned(before, middle, 20, 8)));
    const auto stays = pixel_of(canvas().model_view(), middle);
    EXPECT_NEAR((*stays)[0], (*pixel_of(before, middle))[0], 1e-9);

    ModelView view = canvas().model_view();
    drag({100, 100}, {130, 110}, Qt::ShiftModifier);
    EXPECT_TRUE(near(canvas().model_view(), panned(view, 30, 10)));

    view = canvas().model_view();
    QTest::keyClick(&canvas(), Qt::Key_Plus);
    QTest::keyClick(&canvas(), Qt::Key_Minus);
    EXPECT_TRUE(near(canvas().model_view(), view));
    QTest::keyClick(&canvas(), Qt::Key_Left);
    EXPECT_TRUE(near(canvas().model_view(), turned(view, middle, -10, 0)));
    const auto place = pixel_of(zoomed(view, 3, 40, 50), {10, 20, 30});
    const auto old = pixel_of(view, {10, 20, 30});
    EXPECT_NEAR((*place)[0] - 40, 3 * ((*old)[0] - 40), 1e-9);
}

/// Number keys look as the cameras did; the picture then has the camera's pixels.
TEST_F(ModelWindow, LooksAsTheCameraDid) {
    QTest::keyClick(&canvas(), Qt::Key_1);
    const ModelView& view = canvas().model_view();
    EXPECT_EQ(view.kind, ModelView::Kind::perspective);
    const double zoom = view.fx / 400;
    const auto corner = pixel_of(view, {0, 0, 0});
    EXPECT_NEAR((*corner)[0] - (view.width - 1) / 2.0, zoom * -50 * 400 / 300, 1e-6);
    QTest::keyClick(&canvas(), Qt::Key_2);  // there is none
    EXPECT_NEAR(canvas().model_view().fx, 400 * zoom, 1e-9);
}

TEST_F(ModelWindow, ShowsQuantitiesLimitsZonesAndProbes) {
    auto* quantity = viewer.findChild<QComboBox*>(QStringLiteral("model_quantity"));
    ASSERT_EQ(quantity->count(), 2);
    EXPECT_EQ(canvas().display().quantity, "P");
    EXPECT_NEAR(canvas().display().limits.maximum, 187.5, 2);
    canvas().look_from(0, 0);
    const QImage all = canvas().picture();
    auto* zones = viewer.findChild<QListWidget*>(QStringLiteral("model_zones"));
    ASSERT_EQ(zones->count(), 6);
    zones->item(0)->setCheckState(Qt::Unchecked);  // x-, which the eye sees from the front
    EXPECT_NE(canvas().picture(), all);
    zones->item(0)->setCheckState(Qt::Checked);
    EXPECT_EQ(canvas().picture(), all);

    QTest::mouseMove(&canvas(), canvas().rect().center());
    EXPECT_TRUE(viewer.statusBar()->currentMessage().startsWith(QStringLiteral("x-  node ")));
    EXPECT_TRUE(viewer.statusBar()->currentMessage().contains(QStringLiteral("P = 50")))
        << viewer.statusBar()->currentMessage().toStdString();
    canvas().look_from(180, 0);
    canvas().picture();
    QTest::mouseMove(&canvas(), canvas().rect().center() + QPoint(3, 3));
    EXPECT_TRUE(viewer.statusBar()->currentMessage().contains(QStringLiteral("not seen")));
    quantity->setCurrentIndex(1);
    EXPECT_EQ(canvas().display().quantity, "Cp");
}

/// The panel's section is the command's, in the table, too.
TEST_F(ModelWindow, CutsSectionsAsTheProgramDoes) {
    viewer.section().set_plane(1, 30);
    const Section wanted = cut_section(model->mesh, model->surface(), {{0, 1, 0}, 30}, "P");
    ASSERT_FALSE(wanted.curves.empty());
    EXPECT_EQ(viewer.section().section().loads.normal, wanted.loads.normal);
    const TemporaryFolder folder;
    viewer.section().write_table(folder / "section.csv");
    EXPECT_EQ(get_file(folder / "section.csv"), section_csv({wanted.curves}));
    viewer.section().set_plane(2, 500);
    EXPECT_TRUE(viewer.section().section().curves.empty());
}

}  // namespace
}  // namespace vyn::test
