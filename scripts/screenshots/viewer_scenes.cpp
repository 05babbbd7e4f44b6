#include <QApplication>
#include <QDialog>

#include "scripts/screenshots/scenes.h"
#include "view/ui/field_view.h"
#include "view/ui/field_viewer.h"

namespace vyn::screenshots {

namespace {

const QSize viewer_size(900, 640);

QDialog* dialog_of(VynFieldViewer& viewer) {
    for (QDialog* dialog : viewer.findChildren<QDialog*>())
        if (dialog->isVisible()) return dialog;
    return nullptr;
}

void show_fashion(Theatre& theatre, VynFieldViewer& viewer, void (VynFieldViewer::*open)(),
                  const char* name) {
    (viewer.*open)();
    wait_for([&] { return dialog_of(viewer) != nullptr; }, name);
    QDialog* dialog = dialog_of(viewer);
    theatre.shots.take(*dialog, QLatin1String(name));
    dialog->reject();
}

}  // namespace

void play_viewer(Theatre& theatre) {
    open_project(theatre, theatre.folder + QStringLiteral("/project.xml"));
    compute(theatre);

    VynFieldViewer raw(theatre.worker, "wind_off_sens", true, QStringLiteral("Wind-Off"));
    theatre.shots.take(raw, QStringLiteral("viewer_raw"), viewer_size);
    raw.hide();

    VynFieldViewer field(theatre.worker, "field_P", false, QStringLiteral("Pressure field"));
    theatre.shots.take(field, QStringLiteral("viewer_field"), viewer_size);
    show_fashion(theatre, field, &VynFieldViewer::fashion, "fashion_dialog");
    show_fashion(theatre, field, &VynFieldViewer::advanced_fashion, "advanced_fashion_dialog");
}

}  // namespace vyn::screenshots
