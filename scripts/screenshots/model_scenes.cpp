#include <QComboBox>
#include <QDockWidget>
#include <QTextBrowser>
#include <cmath>

#include "app/point_check_dialog.h"
#include "calib/ui/camera_calibration/camera_calibration_dialog.h"
#include "calib/ui/camera_calibration/intrinsics_table.h"
#include "core/keys.h"
#include "core/ui/busy_box.h"
#include "process/model/shown_model.h"
#include "process/point/marker_io.h"
#include "scripts/screenshots/scenes.h"
#include "view/ui/model/loads_panel.h"
#include "view/ui/model/model_viewer.h"
#include "view/ui/model/patch_list.h"
#include "view/ui/model/section_panel.h"
#include "view/ui/model/section_window.h"

namespace vyn::screenshots {

namespace {

/// Isolines, and a patch about the wing's leading edge.
void play_patches(Theatre& theatre, ModelViewer& viewer) {
    viewer.findChild<QComboBox*>(QStringLiteral("isolines"))->setCurrentIndex(1);
    viewer.findChild<QDockWidget*>(QStringLiteral("loads_dock"))->raise();
    viewer.canvas().look_from(180, 90);
    LoadsPanel& loads = viewer.loads();
    LoadsReference reference;
    read_loads_reference(theatre.model_folder.toStdString() + "/reference.json", reference);
    loads.set_reference(reference);
    loads.patches().add_patch();
    const auto& mesh = viewer.canvas().model()->mesh;
    std::vector<std::size_t> outboard;
    for (std::size_t face = 0; face < mesh.triangles.size(); ++face)
        if (mesh.vertices[static_cast<std::size_t>(mesh.triangles[face][0])][1] > 300)
            outboard.push_back(face);
    loads.patches().paint(outboard, ModelCanvas::Stroke::paint);
    loads.patches().commit();
    loads.calculate();
    theatre.shots.take(viewer, QStringLiteral("model_loads"), QSize(1280, 800));
}

/// The part of the check that is about the model.
void show_check(Theatre& theatre, const std::shared_ptr<RunReport>& report) {
    QBusyBox box(theatre.worker);
    PointCheckDialog check(box, report);
    check.look();
    auto* page = check.findChild<QTextBrowser*>();
    check.resize(900, 860);
    check.show();
    page->find(QStringLiteral("left out one by one"));
    QTextCursor place = page->textCursor();
    place.clearSelection();
    page->setTextCursor(place);
    theatre.shots.take(check, QStringLiteral("model_check"), QSize(900, 860));
}

/// Of a record that is a bit wrong.
void show_calibration(Theatre& theatre) {
    const std::string tree(keys::sens_camera);
    cameraFeatures record;
    read(vyn_db(), tree, record);
    record.focus = std::round(1005 * record.focus) / 1000;
    record.a2 *= 0.6;
    write(vyn_db(), tree, record);
    CameraCalibrationDialog calibration(theatre.worker);
    calibration.show();
    calibration.findChild<IntrinsicsTable*>()->set_free({true, false, false, true, false});
    calibration.calibrate();
    theatre.shots.take(calibration, QStringLiteral("camera_calibration"), QSize(1120, 760));
}

}  // namespace

void play_model(Theatre& theatre) {
    open_project(theatre, theatre.model_folder + QStringLiteral("/project.xml"));
    const auto report = compute(theatre);
    write(vyn_db(), keys::port_file, std::string("ports.mrk"));
    ShowModelTask task(program_session());
    TaskContext context;
    task.run(context);
    const auto markers =
        read_marker_file(theatre.model_folder.toStdString() + "/markers3d.mrk", 0).markers;
    ModelViewer viewer;
    viewer.show_model(task.model(), markers, QStringLiteral("Model: model.vtp"));
    viewer.section().set_plane(1, 250);
    constexpr QSize model_size(1280, 800);
    theatre.shots.take(viewer, QStringLiteral("model_viewer"), model_size);
    viewer.section().show_window();
    viewer.section().window()->keep();
    // Through the ports of the other wing.
    for (const ModelPort& port : viewer.canvas().model()->ports)
        if (port.place[1] < -200) viewer.section().set_plane(1, std::round(port.place[1]));
    theatre.shots.take(*viewer.section().window(), QStringLiteral("model_sections"),
                       QSize(720, 460));
    viewer.section().window()->close();
    viewer.canvas().look_as_camera(0);
    theatre.shots.take(viewer, QStringLiteral("model_as_camera"), model_size);
    play_patches(theatre, viewer);
    show_check(theatre, report);
    show_calibration(theatre);
}

}  // namespace vyn::screenshots
