
#include "align/ui/align_dialog.h"
#include "app/pages/reading_dialog.h"
#include "calib/ui/camera_dialog.h"
#include "calib/ui/convert_dialog.h"
#include "calib/ui/light_dialog.h"
#include "calib/ui/paint_calibration_dialog.h"
#include "calib/ui/paint_dialog.h"
#include "calib/ui/test_dialog.h"
#include "calib/ui/uncertainty_dialog.h"
#include "core/keys.h"
#include "scripts/screenshots/scenes.h"

namespace vyn::screenshots {

namespace {

template <class Dialog, class... Arguments>
void show_settings(Theatre& theatre, const char* name, const Arguments&... arguments) {
    Dialog dialog(vyn_db(), arguments...);
    theatre.shots.take(dialog, QLatin1String(name));
}

}  // namespace

void play_dialogs(Theatre& theatre) {
    open_project(theatre, theatre.folder + QStringLiteral("/project.xml"));
    show_settings<QVynAlign>(theatre, "align_dialog");
    show_settings<QVynConvert>(theatre, "convert_dialog");
    const bool modified = vyn_db().modified();
    write(vyn_db(), keys::uncertainty_enable, 1);
    write(vyn_db(), keys::sens_noise_gain, 3.82);
    write(vyn_db(), keys::sens_noise_read, 6.1);
    show_settings<UncertaintyDialog>(theatre, "uncertainty_dialog");
    write(vyn_db(), keys::temperature_source, std::string("map"));
    write(vyn_db(), keys::lamp_monitor, std::string("region"));
    show_settings<LightDialog>(theatre, "light_dialog");
    write(vyn_db(), keys::files_raw_layout, std::string("width=1280 height=1024 offset=512"));
    show_settings<ReadingDialog>(theatre, "reading_dialog");
    vyn_db().set_modified(modified);  // nobody is there to be asked
    show_settings<QVynCamera>(theatre, "camera_dialog", std::string(keys::sens_camera));
    show_settings<QVynPaint>(theatre, "paint_dialog");
    show_settings<QVynPaintCalibration>(theatre, "paint_calibration_dialog");
    show_settings<QVynTest>(theatre, "test_dialog");
}

}  // namespace vyn::screenshots
