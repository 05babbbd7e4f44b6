#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "api/image_list.h"
#include "app/main_window.h"
#include "app/pages/elided_label.h"
#include "calib/ui/in_situ_dialog.h"
#include "scripts/screenshots/scenes.h"
#include "view/ui/window/field_viewer.h"

namespace vyn::screenshots {

namespace {

template <class Widget>
Widget& child(QWidget& parent, const char* name) {
    auto* found = parent.findChild<Widget*>(QLatin1String(name));
    if (!found) throw AlgoError("Algorithm error!", std::string("there is no ") + name);
    return *found;
}

/// The ports of the test point, two terms, and what the fit shows; the law is accepted.
void calibrate(Theatre& theatre, QWidget& window) {
    form_calibr_single calibration(theatre.worker, &window);
    child<QLineEdit>(calibration, "edt_mrk_file")
        .setText(theatre.folder + QStringLiteral("/ports.mrk"));
    child<QLineEdit>(calibration, "edt_p_units").setText(QStringLiteral("Pa"));
    child<QComboBox>(calibration, "cmb_order").setCurrentIndex(1);
    theatre.shots.take(calibration, QStringLiteral("in_situ_dialog"));
    child<QPushButton>(calibration, "btn_show_ports").click();
    theatre.shots.take(*calibration.findChild<VynFieldViewer*>(), QStringLiteral("in_situ_ports"),
                       viewer_size);
    theatre.shots.take_modal(
        QStringLiteral("in_situ_results"), "vyn::VynCalResults",
        [&] { calibration.btn_calculate_clicked(); },
        [](QWidget& results) {
            for (QCheckBox* box : results.findChildren<QCheckBox*>())
                box->setChecked(true);
        },
        [](QWidget& results) { child<QPushButton>(results, "accept_btn").click(); });
}

}  // namespace

void play_in_situ(Theatre& theatre) {
    VynLiteForm window(theatre.worker);
    window.open_files({theatre.folder + QStringLiteral("/project.xml")});
    window.resize(window_size);
    window.show();
    window.calculateCalculate_AllAction_activated();
    const auto wait_for_field = [&](const char* state) {
        wait_for(
            [&] {
                return child<ElidedLabel>(window, "field_P_state")
                    .text()
                    .contains(QLatin1String(state));
            },
            state);
    };
    wait_for_field("up to date");
    calibrate(theatre, window);
    wait_for_field("out of date");
    theatre.shots.take(window, QStringLiteral("main_window_calibrated"), window_size);
    child<QPushButton>(window, "calc_field_btn").click();
    wait_for_field("up to date");

    VynFieldViewer field(theatre.worker, image_names::field, false,
                         QStringLiteral("Pressure field"));
    field.setAttribute(Qt::WA_DeleteOnClose, false);
    theatre.shots.take(field, QStringLiteral("viewer_calibrated"), viewer_size);
    field.hide();
    theatre.shots.take_modal(
        QStringLiteral("point_check"), "vyn::PointCheckDialog",
        [&] { child<QPushButton>(window, "check_btn").click(); },
        [](QWidget& check) { check.resize(900, 700); });
    vyn_db().set_modified(false);
}

}  // namespace vyn::screenshots
