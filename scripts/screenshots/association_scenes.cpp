#include <QAction>
#include <QDialog>
#include <QStatusBar>
#include <algorithm>

#include "scripts/screenshots/scenes.h"
#include "view/ui/association/association_controller.h"
#include "view/ui/association/association_panel.h"
#include "view/ui/association/resection_dialog.h"
#include "view/ui/window/field_viewer.h"

namespace vyn::screenshots {

namespace {

/// Drags a ring onto the dot that is truly its marker's.
void put_on_dot(AssociationController& controller, const std::vector<Marker>& truth,
                std::int32_t number) {
    const auto row = std::ranges::find(controller.rows(), number, &AssociationRow::number);
    const auto dot = std::ranges::find(truth, number, &Marker::id);
    controller.pick_up(row->ring);
    controller.drop({dot->x, dot->y});
}

}  // namespace

void play_association(Theatre& theatre) {
    open_project(theatre, theatre.model_folder + QStringLiteral("/project.xml"));
    image numbered = *get_images().find("wind_off_sens");
    const std::vector<Marker> truth = numbered.markers.markers;
    for (std::size_t i = 0; i < truth.size(); ++i)
        numbered.markers.markers[i].id = static_cast<std::int32_t>(truth.size() - i);
    get_images().add(std::move(numbered));

    VynFieldViewer viewer(theatre.worker, "wind_off_sens", true, QStringLiteral("Wind-Off"));
    viewer.setAttribute(Qt::WA_DeleteOnClose, false);
    constexpr QSize size(1280, 800);
    viewer.resize(size);
    viewer.show();
    wait_for([&] { return viewer.picture() != nullptr; }, "the picture");
    viewer.revise_all_markers();
    auto& controller = *viewer.findChild<AssociationController*>();
    viewer.findChild<QAction*>(QStringLiteral("associate"))->trigger();
    viewer.zoom_fit();
    viewer.statusBar()->clearMessage();
    const std::vector<std::size_t> told = {0, truth.size() / 3, 2 * truth.size() / 3,
                                           truth.size() - 1};
    for (const std::size_t i : {told[0], told[1]})
        put_on_dot(controller, truth, truth[i].id);
    theatre.shots.take(viewer, QStringLiteral("associate_begun"), size);
    for (const std::size_t i : {told[2], told[3]})
        put_on_dot(controller, truth, truth[i].id);
    controller.panel().set_enlarged(1000);
    theatre.shots.take(viewer, QStringLiteral("associate"), size);
    controller.reject();
    viewer.hide();
    open_project(theatre, theatre.model_folder + QStringLiteral("/project.xml"));
    compute(theatre);
    ResectionDialog dialog(vyn_db());
    theatre.shots.take(dialog, QStringLiteral("resection_dialog"));
}

}  // namespace vyn::screenshots
