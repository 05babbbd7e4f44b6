#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>

#include "align/ui/align_dialog.h"
#include "app/point_check_dialog.h"
#include "calib/ui/camera_dialog.h"
#include "calib/ui/convert_dialog.h"
#include "calib/ui/in_situ_dialog.h"
#include "calib/ui/paint_calibration_dialog.h"
#include "calib/ui/paint_dialog.h"
#include "calib/ui/test_dialog.h"
#include "core/keys.h"
#include "core/ui/busy_box.h"
#include "markers/marker_files.h"
#include "scripts/screenshots/scenes.h"
#include "view/ui/field_viewer.h"

namespace vyn::screenshots {

namespace {

template <class Dialog, class... Arguments>
void show_settings(Theatre& theatre, const char* name, const Arguments&... arguments) {
    Dialog dialog(vyn_db(), arguments...);
    theatre.shots.take(dialog, QLatin1String(name));
}

/// The ports of the test point, two terms, and what the fit shows.
void show_in_situ(Theatre& theatre) {
    compute(theatre);
    form_calibr_single calibration(theatre.worker);
    calibration.findChild<QLineEdit*>(QStringLiteral("edt_mrk_file"))
        ->setText(theatre.folder + QStringLiteral("/ports.mrk"));
    calibration.findChild<QLineEdit*>(QStringLiteral("edt_p_units"))->setText(QStringLiteral("Pa"));
    calibration.findChild<QComboBox*>(QStringLiteral("cmb_order"))->setCurrentIndex(1);
    theatre.shots.take(calibration, QStringLiteral("in_situ_dialog"));
    calibration.findChild<QPushButton*>(QStringLiteral("btn_show_ports"))->click();
    theatre.shots.take(*calibration.findChild<VynFieldViewer*>(), QStringLiteral("in_situ_ports"),
                       QSize(1000, 640));
    theatre.shots.take_modal(
        QStringLiteral("in_situ_results"), "vyn::VynCalResults",
        [&] { calibration.btn_calculate_clicked(); },
        [](QWidget& results) {
            for (QCheckBox* box : results.findChildren<QCheckBox*>())
                box->setChecked(true);
        });
}

void show_check(Theatre& theatre) {
    auto report = std::make_shared<RunReport>();
    compute(theatre, report);
    // The measured pressures, as loading the ports in a viewer of the ratio image puts them there.
    image ratio = *get_images().find(image_names::ratio);
    read_markers((theatre.folder + QStringLiteral("/ports.mrk")).toStdString(), ratio.markers,
                 ratio.height());
    get_images().add(std::move(ratio));
    QBusyBox busy_box(theatre.worker);
    theatre.shots.take_modal(QStringLiteral("point_check"), "vyn::PointCheckDialog",
                             [&] { show_point_check(busy_box, report, nullptr); });
}

}  // namespace

void play_dialogs(Theatre& theatre) {
    open_project(theatre, theatre.folder + QStringLiteral("/project.xml"));
    show_settings<QVynAlign>(theatre, "align_dialog");
    show_settings<QVynConvert>(theatre, "convert_dialog");
    show_settings<QVynCamera>(theatre, "camera_dialog", std::string(keys::sens_camera));
    show_settings<QVynPaint>(theatre, "paint_dialog");
    show_settings<QVynPaintCalibration>(theatre, "paint_calibration_dialog");
    show_settings<QVynTest>(theatre, "test_dialog");
    show_in_situ(theatre);
    show_check(theatre);
}

}  // namespace vyn::screenshots
