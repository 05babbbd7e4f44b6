#include <QAction>
#include <QComboBox>
#include <QDialog>
#include <QPushButton>

#include <QtTest/QTest>

#include "scripts/screenshots/scenes.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/window/field_viewer.h"

namespace vyn::screenshots {

namespace {

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

/// The window of this name that an action of the viewer opens.
QWidget* opened(VynFieldViewer& viewer, const char* action, const char* window) {
    viewer.findChild<QAction*>(QLatin1String(action))->trigger();
    return viewer.findChild<QWidget*>(QLatin1String(window));
}

void show_markers(Theatre& theatre, VynFieldViewer& viewer) {
    viewer.marker_edit_mode();
    const Marker& marker = viewer.picture()->markers.markers.at(7);
    VynFieldView& view = viewer.view();
    QTest::mouseClick(&view, Qt::LeftButton, {},
                      view.transform().to_widget({marker.x, marker.y}).toPoint());
    theatre.shots.take(viewer, QStringLiteral("viewer_markers"), viewer_size);
    theatre.shots.take_modal(QStringLiteral("marker_options"), "vyn::MarkerOptionsDialog",
                             [&] { viewer.abjust_markers_options(); });
    QWidget* finding = opened(viewer, "find_markers", "MarkerFinding");
    finding->findChild<QPushButton*>(QStringLiteral("find"))->click();
    theatre.shots.take(*finding, QStringLiteral("find_markers"));
    finding->close();
    QWidget* pairing = opened(viewer, "pair_markers", "MarkerPairing");
    pairing->findChild<QComboBox*>(QStringLiteral("partner"))
        ->setCurrentText(QStringLiteral("wind_on_sens"));
    pairing->findChild<QPushButton*>(QStringLiteral("pair"))->click();
    theatre.shots.take(*pairing, QStringLiteral("pair_markers"), QSize(430, 340));
    pairing->close();
}

/// One line along the flow, one across.
void show_graph(Theatre& theatre, VynFieldViewer& viewer) {
    viewer.show_graph_mode();
    Q_EMIT viewer.view().more_data(130, 380, 860, 400);
    Q_EMIT viewer.view().more_data(330, 180, 420, 590);
    QWidget* graph = viewer.findChild<QWidget*>(QStringLiteral("GraphWindow"));
    theatre.shots.take(*graph, QStringLiteral("graph_window"), QSize(820, 520));
    graph->close();
}

void show_iso_lines(Theatre& theatre, VynFieldViewer& viewer) {
    const Fashion before = viewer.view().fashion();
    Fashion fashion = before;
    fashion.iso.kind = IsoStyle::Kind::step;
    fashion.palette_style.levels = 12;
    viewer.view().set_fashion(fashion);
    auto* hide_markers = viewer.findChild<QAction*>(QStringLiteral("hide_markers"));
    hide_markers->setChecked(true);
    theatre.shots.take(viewer, QStringLiteral("viewer_iso_lines"), viewer_size);
    hide_markers->setChecked(false);
    viewer.view().set_fashion(before);
}

}  // namespace

void play_viewer(Theatre& theatre) {
    open_project(theatre, theatre.folder + QStringLiteral("/project.xml"));
    compute(theatre);

    VynFieldViewer raw(theatre.worker, "wind_off_sens", true, QStringLiteral("Wind-Off"));
    raw.setAttribute(Qt::WA_DeleteOnClose, false);
    theatre.shots.take(raw, QStringLiteral("viewer_raw"), viewer_size);
    show_markers(theatre, raw);
    theatre.shots.take_modal(QStringLiteral("threshold_dialog"), "vyn::ThresholdDialog", [&] {
        raw.findChild<QAction*>(QStringLiteral("region_threshold"))->trigger();
    });
    raw.hide();

    VynFieldViewer field(theatre.worker, "field_P", false, QStringLiteral("Pressure field"));
    field.setAttribute(Qt::WA_DeleteOnClose, false);
    theatre.shots.take(field, QStringLiteral("viewer_field"), viewer_size);
    show_fashion(theatre, field, &VynFieldViewer::fashion, "fashion_dialog");
    show_fashion(theatre, field, &VynFieldViewer::advanced_fashion, "advanced_fashion_dialog");
    show_graph(theatre, field);
    show_iso_lines(theatre, field);
    field.hide();

    open_project(theatre, theatre.bent_folder + QStringLiteral("/project.xml"));
    compute(theatre);
    VynFieldViewer left(theatre.worker, "displacement_left", false,
                        QStringLiteral("Displacement left after the markers"));
    left.setAttribute(Qt::WA_DeleteOnClose, false);
    theatre.shots.take(left, QStringLiteral("viewer_displacement"), viewer_size);
}

}  // namespace vyn::screenshots
