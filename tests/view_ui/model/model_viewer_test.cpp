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
#include "render/iso_levels.h"
#include "tests/support/dialog_checks.h"
#include "tests/support/meshes.h"
#include "tests/support/temporary_folder.h"
#include "view/ui/look/fashion_dialog.h"
#include "view/ui/model/loads_panel.h"
#include "view/ui/model/patch_list.h"
#include "view/ui/model/section_panel.h"
#include "view/ui/model/section_window.h"

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
    for (int zone = 0; zone < zones->count(); ++zone)
        zones->item(zone)->setCheckState(Qt::Unchecked);
    const QImage nothing = canvas().picture();
    EXPECT_EQ(nothing.pixel(nothing.rect().center()), nothing.pixel(1, 1));
    QTest::mouseMove(&canvas(), canvas().rect().center() + QPoint(1, 0));
    EXPECT_EQ(viewer.statusBar()->currentMessage(), QString());
    for (int zone = 0; zone < zones->count(); ++zone)
        zones->item(zone)->setCheckState(Qt::Checked);
    canvas().picture();

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

/// Sections that are kept stand in one table, the ports of the plane in the graph.
TEST_F(ModelWindow, KeepsSectionsInTheGraphWindow) {
    viewer.section().set_plane(1, 30);
    viewer.section().show_window();
    SectionWindow& window = *viewer.section().window();
    window.keep();
    viewer.section().set_plane(1, 60);
    const auto cut = [&](double y) {
        return cut_section(model->mesh, model->surface(), {{0, 1, 0}, y}, "P").curves;
    };
    EXPECT_EQ(window.table(), section_csv({cut(30), cut(60)}));
    window.clear();
    EXPECT_EQ(window.table(), section_csv({cut(60)}));

    const SectionPlane plane{{0, 1, 0}, 30};
    const Section section = cut_section(model->mesh, model->surface(), plane, "P");
    const auto ports = ports_of_section(
        {{1, {25, 30.5, 100}, 7}, {2, {50, 33, 0}, 8}, {3, {100, 30, 40}, 9}}, section, plane, 1);
    ASSERT_EQ(ports.size(), 2U);
    EXPECT_EQ(ports[0].number, 1);
    EXPECT_NEAR(ports[0].x_c, 0.25, 1e-9);
    EXPECT_NEAR(ports[1].x_c, 1, 1e-9);
}

/// Zones as the headless loads give them; a painted patch is what the brush went over and what is
/// seen, wiped by Ctrl.
TEST_F(ModelWindow, TellsLoadsOfZonesAndOfPaintedPatches) {
    LoadsPanel& panel = viewer.loads();
    panel.calculate();
    const auto wanted = surface_loads(model->mesh, model->surface(), {"P", 0, {}, {}});
    ASSERT_EQ(panel.loads().size(), wanted.size());
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        EXPECT_EQ(panel.loads()[i].force, wanted[i].force);
        EXPECT_EQ(panel.loads()[i].moment, wanted[i].moment);
    }
    auto* list = viewer.findChild<QListWidget*>(QStringLiteral("load_patches"));
    canvas().look_from(0, 0);
    PatchList& patches = panel.patches();
    const auto& faces = patches.patches().faces;
    patches.add_patch();
    const QPoint middle = canvas().rect().center();
    drag(middle, middle + QPoint(60, 0), {});
    const auto count = [&] {
        return std::ranges::count_if(faces, [](auto patch) { return patch != 0; });
    };
    const auto some = count();
    EXPECT_GT(some, 4);
    for (std::size_t face = 0; face < faces.size(); ++face)
        if (faces[face] != 0) {
            EXPECT_LT(face, model->mesh.zones[0].end_triangle());  // x- alone is seen
        }
    EXPECT_EQ(canvas().display().patches, faces);
    for (int row = 0; row < 6; ++row)
        list->item(row)->setCheckState(Qt::Unchecked);
    panel.calculate();
    ASSERT_EQ(panel.loads().size(), 2U);
    EXPECT_EQ(panel.loads()[0].name, "patch 1");
    FacePatch painted{"patch 1", {}};
    for (std::size_t face = 0; face < faces.size(); ++face)
        if (faces[face] != 0) painted.faces.push_back(face);
    LoadsRequest request{"P", 0, {}, {}, {painted}};
    EXPECT_EQ(panel.loads()[0].force,
              surface_loads(model->mesh, model->surface(), request)[0].force);
    drag(middle, middle + QPoint(20, 0), Qt::ControlModifier);
    const auto fewer = count();
    EXPECT_LT(fewer, some);
    patches.undo();
    EXPECT_EQ(count(), some) << "a stroke is one step";
    patches.redo();
    list->item(6)->setText(QStringLiteral("flap"));
    patches.remove_patch();
    EXPECT_EQ(count(), 0);
    EXPECT_EQ(list->count(), 6);
    patches.undo();
    EXPECT_EQ(count(), fewer);
    EXPECT_EQ(list->item(6)->text(), QStringLiteral("flap"));
    EXPECT_EQ(canvas().display().patches, faces);
}

/// The viewer's dialog of limits serves the model; isolines follow the limits; the extension says
/// what is saved.
TEST_F(ModelWindow, SharesTheDialogOfLimitsAndSavesDrawings) {
    check_mnemonics(viewer);
    viewer.edit_fashion();
    auto* dialog = viewer.findChild<QFashionDlg*>();
    ASSERT_TRUE(dialog);
    Fashion fashion;
    fashion.limits = {20, 120};
    fashion.set_palette(*find_palette("viridis"));
    Q_EMIT dialog->fashion_chosen(fashion);
    EXPECT_EQ(canvas().display().limits, fashion.limits);
    EXPECT_EQ(canvas().display().palette->name, "viridis");
    auto* how = viewer.findChild<QComboBox*>(QStringLiteral("isolines"));
    how->setCurrentIndex(1);
    EXPECT_EQ(canvas().display().levels, iso_levels({20, 120}, 10));
    how->setCurrentIndex(2);
    EXPECT_EQ(canvas().display().levels, iso_levels_by_step({20, 120}, 10));

    const TemporaryFolder folder;
    viewer.write_picture(folder / "model.svg");
    EXPECT_NE(get_file(folder / "model.svg").find("<svg"), std::string::npos);
    viewer.write_picture(folder / "model.png");
    EXPECT_EQ(get_file(folder / "model.png").substr(1, 3), "PNG");
}

}  // namespace
}  // namespace vyn::test
