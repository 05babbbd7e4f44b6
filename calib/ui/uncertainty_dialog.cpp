#include "calib/ui/uncertainty_dialog.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QSpinBox>
#include <QTabWidget>

#include "core/keys.h"
#include "core/ui/form_grid.h"
#include "core/ui/number_edit.h"

namespace vyn {

namespace {

/// A group of rows.
FormGrid* rows_of(const QString& title, QBoxLayout& layout) {
    auto* group = new QGroupBox(title);
    auto* rows = new FormGrid(group);
    layout.addWidget(group);
    return rows;
}

}  // namespace

UncertaintyDialog::UncertaintyDialog(dataSetInterface& settings, QWidget* parent)
    : SettingDialog(settings, parent) {
    setWindowTitle(tr("Vyn Uncertainty"));
    QGroupBox* all =
        form().group(keys::uncertainty_enable.path, tr("Compute the &uncertainty of every pixel"));
    auto* tabs = new QTabWidget;
    tabs->addTab(pictures_tab(), tr("&Pictures"));
    tabs->addTab(point_tab(), tr("&Test point"));
    auto* inside = new QVBoxLayout(all);
    inside->addWidget(tabs);
    auto* shown = new QWidget;
    auto* shown_rows = new FormGrid(shown);
    shown_rows->add_row(tr("&Hatch pixels above, in the field's unit:"),
                        form().number(keys::uncertainty_limit.path));
    inside->addWidget(shown);
    inside->addWidget(
        form().flag(keys::uncertainty_terms.path, tr("&Keep one image for each part of it")));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(all, 1);
    add_buttons(*layout);
    form().show(settings);
}

QWidget* UncertaintyDialog::pictures_tab() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    FormGrid* noise = rows_of(tr("Noise"), *layout);
    noise->add_row(tr("Taken &from:"),
                   form().choice(keys::uncertainty_noise.path,
                                 {{tr("The first of these that there is"), "auto"},
                                  {tr("The frames averaged in a picture"), "burst"},
                                  {tr("Gain and read-out noise of the camera"), "transfer"},
                                  {tr("The number entered"), "entered"}}));
    noise->add_row(tr("&Gain, electrons per count:"), form().number(keys::sens_noise_gain.path));
    noise->add_row(tr("&Read-out noise, counts:"), form().number(keys::sens_noise_read.path));
    noise->add_row(tr("Gain of the reference &camera:"),
                   form().number(keys::refe_noise_gain.path, "refe_noise_gain"));
    noise->add_row(tr("Its read-out noise:"),
                   form().number(keys::refe_noise_read.path, "refe_noise_read"));
    noise->add_row(tr("&Entered, of the signal:"),
                   form().number(keys::uncertainty_noise_relative.path));
    FormGrid* frames = rows_of(tr("Frames averaged in a picture"), *layout);
    frames->add_row(tr("Wind-&off:"), form().spin(keys::uncertainty_frames_off.path));
    frames->add_row(tr("Wind-o&n:"), form().spin(keys::uncertainty_frames_on.path));
    frames->add_row(tr("&Dark:"), form().spin(keys::uncertainty_frames_dark.path));
    frames->add_row(tr("F&lat field:"), form().spin(keys::uncertainty_frames_flat.path));
    frames->add_row(tr("Error of the flat field, relative:"),
                    form().number(keys::uncertainty_flat_relative.path));
    layout->addStretch(1);
    return page;
}

QWidget* UncertaintyDialog::point_tab() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    FormGrid* place = rows_of(tr("Registration, pixels"), *layout);
    place->add_row(tr("Place of a &marker:"), form().number(keys::uncertainty_marker_sigma.path));
    place->add_row(tr("Where nothing tells it:"),
                   form().number(keys::uncertainty_registration_sigma.path));
    FormGrid* conditions = rows_of(tr("Conditions, in the test's units"), *layout);
    conditions->add_row(tr("Wind-on temperature:"),
                        form().number(keys::uncertainty_t_on_sigma.path));
    conditions->add_row(tr("Wind-off temperature:"),
                        form().number(keys::uncertainty_t_off_sigma.path));
    conditions->add_row(tr("Wind-off pressure:"),
                        form().number(keys::uncertainty_p_off_sigma.path));
    conditions->add_row(tr("&Static pressure:"),
                        form().number(keys::uncertainty_static_sigma.path));
    conditions->add_row(tr("D&ynamic pressure:"),
                        form().number(keys::uncertainty_dynamic_sigma.path));
    FormGrid* light = rows_of(tr("Paint and lamp, relative"), *layout);
    light->add_row(tr("La&w, of the pressure:"),
                   form().number(keys::uncertainty_law_relative.path));
    light->add_wide(form().flag(keys::uncertainty_at_ports.path,
                                tr("The law w&as fitted to ports of this test point")));
    light->add_row(tr("Lamp dr&ift per hour:"), form().number(keys::uncertainty_lamp_drift.path));
    light->add_row(tr("Hours &between the pictures:"),
                   form().number(keys::uncertainty_lamp_hours.path));
    light->add_row(tr("Lamp, picture to picture:"),
                   form().number(keys::uncertainty_lamp_level.path));
    light->add_row(tr("Anything else, of the ratio:"),
                   form().number(keys::uncertainty_other_relative.path));
    layout->addStretch(1);
    return page;
}

}  // namespace vyn
