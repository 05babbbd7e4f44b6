#include <QLabel>
#include <QPushButton>
#include <QTableWidget>

#include <gtest/gtest.h>

#include "core/keys.h"
#include "process/model/model_inputs.h"
#include "process/point/marker_io.h"
#include "process/point/session.h"
#include "tests/resect/scene.h"
#include "tests/support/dotted_image.h"
#include "tests/view_ui/edit_fixture.h"
#include "view/ui/association/association_controller.h"
#include "view/ui/association/association_panel.h"

namespace vyn {
namespace {

/// A picture of dots whose numbers say nothing, and markers on a model whose file is named.
class Associating : public test::EditTest {
  protected:
    Associating() {
        scene = test::scene_of(14, 120);
        scene.camera = {600, 598, {155, 125, 5e-7, 0}, 320, 256};
        scene.pose.shift.z() = 1100;
        test::see(scene);
        MarkerSet on_model;
        on_model.markers = scene.markers;
        on_model.hasX = on_model.hasY = on_model.hasZ = true;
        write_marker_file(folder / "model.mrk", on_model);
        write(vyn_db(), keys::mesh_mark_file, (folder / "model.mrk").string());
        cameraFeatures record;
        record.focus = 24;
        record.dx = 24.0 / scene.camera.fx;
        record.dy = 24.0 / scene.camera.fy;
        record.ncx = record.nfx = scene.camera.width;
        record.ncy = record.nfy = scene.camera.height;
        record.cx = scene.camera.lens.cx;
        record.cy = scene.camera.lens.cy;
        record.a2 = scene.camera.lens.a2;
        write(vyn_db(), std::string(keys::sens_camera), record);

        std::vector<Point> places;
        for (const Marker& dot : scene.dots)
            places.push_back({dot.x, dot.y});
        image picture = test::dotted_image(scene.camera.width, scene.camera.height, places);
        picture.markers.hasX = picture.markers.hasY = true;
        // In another order and with numbers that belong to other markers.
        for (std::size_t i = 0; i < scene.dots.size(); ++i) {
            picture.markers.markers.push_back(scene.dots[scene.dots.size() - 1 - i]);
            picture.markers.markers.back().id = static_cast<std::int32_t>(i) + 1;
        }
        show(std::move(picture), "wind_off_sens");
        before = markers();
        associate();
        view().set_transform({2, QPointF(-0.5, -0.5)});
    }

    void associate() {
        trigger("associate");
        viewer->activateWindow();  // a box was shown meanwhile
        EXPECT_TRUE(QTest::qWaitForWindowActive(viewer));
    }
    AssociationController& controller() { return *viewer->findChild<AssociationController*>(); }
    const Association& state() { return controller().association(); }
    AssociationRow row(std::int32_t number) {
        return *std::ranges::find(controller().rows(), number, &AssociationRow::number);
    }
    Point dot_of(std::int32_t number) const {
        const Marker& dot = *std::ranges::find(scene.dots, number, &Marker::id);
        return {dot.x, dot.y};
    }
    void put_on_dot(std::int32_t number) { drag({row(number).ring, dot_of(number)}); }
    void put_on_dots() {
        for (const std::int32_t number : {2, 10, 13, 14})
            put_on_dot(number);
    }
    void press(const char* button) {
        QTest::mouseClick(viewer->findChild<QPushButton*>(QLatin1String(button)), Qt::LeftButton);
    }
    void undo() { QTest::keyClick(viewer, Qt::Key_Z, Qt::ControlModifier); }
    /// The dot of this number stands where the camera sees the marker.
    int rightly_numbered() {
        int count = 0;
        for (const Marker& marker : markers())
            for (const Marker& dot : scene.dots)
                count +=
                    dot.id == marker.id && std::hypot(dot.x - marker.x, dot.y - marker.y) < 1e-9;
        return count;
    }
    QTableWidget& table() { return *viewer->findChild<QTableWidget*>(QStringLiteral("residuals")); }
    QTableWidgetItem* cell(std::int32_t number) {
        return table().findItems(QString::number(number), Qt::MatchExactly).front();
    }
    /// A resection of the dots as the picture has them.
    Pose resected() {
        ResectOptions options = resect_options(vyn_db(), 1);
        options.pairing = PairingKind::by_number;
        return resect(read_model_markers(folder / "model.mrk", vyn_db(), "mm"),
                      {{"", scene.camera, markers(), {}}}, options, Progress())
            .views[0]
            .pose;
    }

    test::ResectScene scene;
    std::vector<Marker> before;
};

TEST_F(Associating, FourDragsGiveThePoseAndUndoTakesItBack) {
    ASSERT_EQ(viewer->mode(), MouseMode::associate);
    ASSERT_EQ(controller().rows().size(), 14u);
    for (const AssociationRow& ring : controller().rows()) {
        EXPECT_TRUE(ring.ring.x > 0 && ring.ring.x < 319 && ring.ring.y > 0 && ring.ring.y < 255);
        EXPECT_FALSE(ring.dot) << "a number is no association yet";
    }
    put_on_dot(2);
    put_on_dot(10);
    put_on_dot(13);
    EXPECT_FALSE(state().pose);
    for (const AssociationRow& ring : controller().rows())
        EXPECT_LT(
            std::hypot(ring.ring.x - dot_of(ring.number).x, ring.ring.y - dot_of(ring.number).y),
            40)
            << "the others have come near theirs: " << ring.number;
    const std::vector<Marker> three = markers();
    put_on_dot(14);
    ASSERT_TRUE(state().fit);
    EXPECT_EQ(state().fit->used, 14u);
    EXPECT_EQ(rightly_numbered(), 14);
    EXPECT_LT(test::pose_error(*state().pose, scene.pose), 1e-6);
    EXPECT_NEAR(row(7).ring.x, dot_of(7).x, 1e-4);

    undo();
    EXPECT_FALSE(state().pose);
    EXPECT_EQ(markers(), three) << "the rest comes and goes with the fourth";
    for (int step = 0; step < 3; ++step)
        undo();
    EXPECT_EQ(markers(), before);
    EXPECT_TRUE(state().told.empty());
    EXPECT_FALSE(viewer->isWindowModified());
    for (int step = 0; step < 4; ++step)
        QTest::keyClick(viewer, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(state().fit->used, 14u);
    EXPECT_EQ(rightly_numbered(), 14);
}

TEST_F(Associating, ASecondDragAssociatesAnewAndEscapeLetsGo) {
    drag({row(2).ring, dot_of(5)});
    drag({row(2).ring, {4, 250}});
    EXPECT_EQ(markers()[14 - 5].id, 2) << "a drop beside all dots changes nothing";
    drag({row(2).ring, dot_of(2)});
    EXPECT_EQ(markers()[14 - 2].id, 2);
    EXPECT_GT(markers()[14 - 5].id, 14) << "the first dot has a number of its own";

    const std::vector<Marker> now = markers();
    const Point ring = row(9).ring;
    QTest::mousePress(&view(), Qt::LeftButton, Qt::NoModifier, at(ring.x, ring.y));
    QTest::mouseMove(&view(), at(dot_of(9).x, dot_of(9).y));
    QTest::keyClick(viewer, Qt::Key_Escape);
    QTest::mouseRelease(&view(), Qt::LeftButton, Qt::NoModifier, at(dot_of(9).x, dot_of(9).y));
    EXPECT_EQ(markers(), now);
    associate();
    // Three right ones and a wrong one tell no pose; put right, they do.
    put_on_dot(5);
    put_on_dot(9);
    drag({row(13).ring, dot_of(4)});
    EXPECT_FALSE(state().fit && state().fit->used > 4);
    put_on_dot(13);
    EXPECT_EQ(rightly_numbered(), 14);
}

TEST_F(Associating, WhatIsLeftOutChangesThePoseAsAFitWithoutIt) {
    write(vyn_db(), keys::resect_image_sigma, 1.0);  // so that 2 px are no outlier
    put_on_dots();
    trigger("marker_move_mode");
    QTest::mousePress(&view(), Qt::LeftButton, Qt::NoModifier, at(dot_of(7).x, dot_of(7).y));
    QMouseEvent move(QEvent::MouseMove, at(dot_of(7).x + 1, dot_of(7).y + 1), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&view(), &move);
    EXPECT_GT(row(7).length(), 1) << "while it is moved";
    trigger("probe_mode");
    EXPECT_LT(row(7).length(), 1e-3);
    trigger("marker_move_mode");
    drag({dot_of(7), {dot_of(7).x + 1, dot_of(7).y + 1.5}}, Qt::ShiftModifier);
    const Pose moved = *state().pose;
    EXPECT_GT(test::pose_error(moved, scene.pose), 1e-5) << "the fit follows a dot that is moved";
    EXPECT_LT(test::pose_error(moved, resected()), 1e-9);

    cell(7)->setCheckState(Qt::Unchecked);
    EXPECT_EQ(state().fit->used, 13u);
    EXPECT_LT(test::pose_error(*state().pose, scene.pose), 1e-6);
    EXPECT_LT(test::pose_error(*state().pose, resected()), 1e-9);
    EXPECT_EQ(row(7).state, AssociationRow::State::left_out);
    EXPECT_GT(row(7).length(), 1.5) << "its residual stays to be seen";
    undo();
    EXPECT_LT(test::pose_error(*state().pose, moved), 1e-9);

    Q_EMIT table().cellClicked(cell(3)->row(), 0);
    const QPointF middle = view().transform().to_image(QRectF(view().rect()).center());
    EXPECT_NEAR(middle.x(), dot_of(3).x, 1e-6);
    EXPECT_NEAR(middle.y(), dot_of(3).y, 1e-6);
}

TEST_F(Associating, APoseThatIsNotAcceptedIsAskedForBeforeItsPictureGoes) {
    const auto close = [&](QMessageBox::StandardButton answer) {
        test::answer_box(answer);
        return viewer->close();
    };
    put_on_dot(2);
    EXPECT_FALSE(close(QMessageBox::Cancel));
    for (const std::int32_t number : {10, 13, 14})
        put_on_dot(number);
    ASSERT_TRUE(state().fit);
    EXPECT_FALSE(close(QMessageBox::Cancel));
    EXPECT_EQ(viewer->mode(), MouseMode::associate);
    viewer->setAttribute(Qt::WA_DeleteOnClose, false);
    EXPECT_TRUE(close(QMessageBox::Discard));
    EXPECT_EQ(markers(), before);
    EXPECT_FALSE(stored_pose(vyn_db(), "mm"));

    viewer->show();
    associate();
    put_on_dots();
    EXPECT_TRUE(close(QMessageBox::Apply));
    ASSERT_TRUE(stored_pose(vyn_db(), "mm"));
    EXPECT_EQ(rightly_numbered(), 14);
    EXPECT_TRUE(viewer->close()) << "nothing is left to be asked";
}

TEST_F(Associating, AcceptKeepsRejectRestores) {
    EXPECT_FALSE(viewer->findChild<QPushButton*>(QStringLiteral("accept_pose"))->isEnabled());
    put_on_dots();
    press("reject_pose");
    EXPECT_EQ(markers(), before);
    EXPECT_FALSE(stored_pose(vyn_db(), "mm"));
    EXPECT_EQ(viewer->mode(), MouseMode::probe);

    write(vyn_db(), keys::resect_pairing, std::string("geometry"));
    image wind_on = *published();
    wind_on.name = "wind_on_sens";
    get_images().add(std::move(wind_on));
    trigger("associate");
    press("find_pose");
    viewer->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(viewer));
    ASSERT_EQ(rightly_numbered(), 14) << "found without help, too";
    press("accept_pose");
    ASSERT_TRUE(stored_pose(vyn_db(), "mm"));
    EXPECT_LT(test::pose_error(*stored_pose(vyn_db(), "mm"), scene.pose), 1e-6);
    EXPECT_EQ(read(vyn_db(), keys::resect_pairing), "number");
    EXPECT_EQ(get_images().find("wind_on_sens")->markers.markers, markers())
        << "pictures that are paired by number stay so";
    undo();
    EXPECT_FALSE(stored_pose(vyn_db(), "mm"));
    EXPECT_EQ(get_images().find("wind_on_sens")->markers.markers, before);
    QTest::keyClick(viewer, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_TRUE(stored_pose(vyn_db(), "mm"));
    // Others see the rings where the pose has them.
    image corrected = test::dotted_image(scene.camera.width, scene.camera.height, {});
    corrected.name = "wind_off_sens_cor";
    get_images().add(std::move(corrected));
    viewer = &ViewerTest::show("wind_off_sens_cor");
    trigger("show_rings");
    EXPECT_EQ(controller().rows().size(), 14u);
    EXPECT_FALSE(viewer->findChild<QAction*>(QStringLiteral("associate"))->isEnabled());
}

}  // namespace
}  // namespace vyn
