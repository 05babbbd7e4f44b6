#include "scripts/screenshots/scenes.h"
#include "view/ui/field_viewer.h"

namespace vyn::screenshots {

void play_viewer(Theatre& theatre) {
    open_project(theatre, theatre.folder + QStringLiteral("/project.xml"));
    compute(theatre);

    VynFieldViewer raw(theatre.worker, "wind_off_sens", true, QStringLiteral("Wind-Off"));
    theatre.shots.take(raw, QStringLiteral("viewer_raw"), QSize(900, 640));
    raw.hide();

    VynFieldViewer field(theatre.worker, "field_P", false, QStringLiteral("Pressure field"));
    theatre.shots.take(field, QStringLiteral("viewer_field"), QSize(900, 640));
}

}  // namespace vyn::screenshots
