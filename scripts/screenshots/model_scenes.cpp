#include "process/model/shown_model.h"
#include "process/point/marker_io.h"
#include "scripts/screenshots/scenes.h"
#include "view/ui/model/model_viewer.h"
#include "view/ui/model/section_panel.h"

namespace vyn::screenshots {

void play_model(Theatre& theatre) {
    open_project(theatre, theatre.model_folder + QStringLiteral("/project.xml"));
    compute(theatre);
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
    viewer.canvas().look_as_camera(0);
    theatre.shots.take(viewer, QStringLiteral("model_as_camera"), model_size);
}

}  // namespace vyn::screenshots
