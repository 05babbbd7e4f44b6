#include "calib/ui/light_dialog.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <algorithm>

#include "calib/ui/camera_dialog.h"
#include "core/keys.h"
#include "core/ui/form_grid.h"
#include "core/ui/number_edit.h"
#include "process/page/option_summary.h"

namespace vyn {

namespace {

// What the combo boxes offer, in this order.
constexpr const char* monitors[] = {"none", "region", "readings"};
constexpr const char* sources[] = {"number", "map", "recovery"};

cameraFeatures map_camera(const dataSetInterface& data) {
    cameraFeatures camera;
    read(data, std::string(keys::temperature_camera), camera);
    return camera;
}

}  // namespace

LightDialog::LightDialog(dataSetInterface& settings, QWidget* parent)
    : SettingDialog(settings, parent) {
    setWindowTitle(tr("Vyn Light and temperature"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(light_group());
    layout->addWidget(temperature_group());
    add_buttons(*layout);
    form().show(settings);
    write(camera_, std::string(keys::temperature_camera), map_camera(settings));
    for (const Key<std::string>& of_files : {keys::head_dir, keys::head_file})
        write(camera_, of_files, read(settings, of_files));  // where its dialog looks for files
    show_camera();
    connect(&form(), &SettingForm::changed, this, &LightDialog::enable_edits);
    enable_edits();
}

QWidget* LightDialog::light_group() {
    auto* group = new QGroupBox(tr("Light of wind-on pictures"));
    auto* rows = new FormGrid(group);
    monitor_ = form().choice(keys::lamp_monitor.path,
                             {{tr("Taken as it is"), monitors[0]},
                              {tr("By a region that shows the lamp alone"), monitors[1]},
                              {tr("By readings of the lamp"), monitors[2]}});
    rows->add_row(tr("The &lamp:"), monitor_);
    const auto add = [&](const QString& label, QWidget* edit, const char* monitor) {
        rows->add_row(label, edit);
        of_monitor_.emplace_back(edit, monitor);
    };
    add(tr("Left &column of the region:"), form().spin(keys::lamp_x.path), monitors[1]);
    add(tr("Upper &row:"), form().spin(keys::lamp_y.path), monitors[1]);
    add(tr("&Width:"), form().spin(keys::lamp_width.path), monitors[1]);
    add(tr("&Height:"), form().spin(keys::lamp_height.path), monitors[1]);
    add(tr("&File of readings:"),
        form().file(keys::lamp_readings_file.path, tr("Readings of the lamp"),
                    tr("Tables (*.csv *.txt);;All files (*)")),
        monitors[2]);
    add(tr("Wind-&off picture at:"), form().text(keys::lamp_time_off.path), monitors[2]);
    add(tr("Wind-o&n picture at:"), form().text(keys::lamp_time_on.path), monitors[2]);
    rows->add_row({},
                  form().flag(keys::lamp_exposure.path, tr("&Bring exposures that differ to one")));
    return group;
}

QWidget* LightDialog::temperature_group() {
    auto* group = new QGroupBox(tr("Wind-on temperature"));
    auto* rows = new FormGrid(group);
    source_ = form().choice(keys::temperature_source.path,
                            {{tr("The number of the test conditions"), sources[0]},
                             {tr("The temperature map"), sources[1]},
                             {tr("Recovery temperature of the local flow"), sources[2]}});
    rows->add_row(tr("&Taken from:"), source_);
    const auto add = [&](const QString& label, QWidget* edit,
                         std::initializer_list<const char*> used_by) {
        rows->add_row(label, edit);
        for (const char* source : used_by)
            of_source_.emplace_back(edit, source);
    };
    add(tr("&Unit; empty: the test's:"), form().text(keys::temperature_unit.path, "map_unit"),
        {sources[1], sources[2]});
    add(tr("&Standard deviation:"), form().number(keys::temperature_sigma.path, "map_sigma"),
        {sources[1], sources[2]});
    add(tr("&Markers of the map:"),
        form().file(keys::temperature_map_mark_file.path, tr("Markers of the map"),
                    tr("Markers (*.mrk *.mpt *.inm);;All files (*)")),
        {sources[1]});
    add(tr("Camera of the map:"), camera_row(), {sources[1]});
    add(tr("Deviat&ions as an image:"),
        form().file(keys::temperature_map_sigma_file.path, tr("Deviations of the map"),
                    tr("All files (*)")),
        {sources[1]});
    add(tr("Or&der of its alignment, -1 automatic:"),
        form().spin(keys::temperature_order.path, "map_order"), {sources[1]});
    add(tr("Total tem&perature:"), form().number(keys::temperature_total.path), {sources[2]});
    add(tr("Reco&very factor:"), form().number(keys::temperature_recovery_factor.path),
        {sources[2]});
    return group;
}

QWidget* LightDialog::camera_row() {
    camera_label_ = new QLabel;
    camera_label_->setObjectName(QStringLiteral("map_camera"));
    camera_label_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    auto* change = new QPushButton(tr("C&amera..."));
    change->setObjectName(QStringLiteral("map_camera_btn"));
    change->setAutoDefault(false);
    change->setToolTip(tr("Lens distortion of the camera that took the map"));
    connect(change, &QPushButton::clicked, this, &LightDialog::edit_camera);
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(camera_label_, 1);
    layout->addWidget(change);
    return row;
}

void LightDialog::edit_camera() {
    QVynCamera(camera_, std::string(keys::temperature_camera), this).exec();
    show_camera();
}

void LightDialog::show_camera() {
    const auto summary = QString::fromStdString(camera_summary(camera_, keys::temperature_camera));
    camera_label_->setText(summary);
    camera_label_->setToolTip(summary);
}

void LightDialog::store() {
    SettingDialog::store();
    const cameraFeatures camera = map_camera(camera_);
    if (camera != map_camera(settings()))
        write(settings(), std::string(keys::temperature_camera), camera);
}

void LightDialog::enable_edits() {
    const auto enable = [](const auto& edits, const std::string_view chosen) {
        for (const auto& [edit, choice] : edits)
            edit->setEnabled(false);
        for (const auto& [edit, choice] : edits)
            if (choice == chosen) edit->setEnabled(true);
    };
    enable(of_monitor_, monitors[std::clamp(monitor_->currentIndex(), 0, 2)]);
    enable(of_source_, sources[std::clamp(source_->currentIndex(), 0, 2)]);
}

}  // namespace vyn
