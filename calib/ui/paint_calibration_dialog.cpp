#include "calib/ui/paint_calibration_dialog.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QToolButton>

#include "calib/paint.h"
#include "calib/ui/conditions_panel.h"
#include "calib/ui/paint_plot.h"
#include "calib/ui/unit_lists.h"
#include "core/keys.h"
#include "core/ui/form_grid.h"
#include "core/ui/number_edit.h"

namespace vyn {

namespace {

const std::string tree(keys::sens_paint);

paintFeatures paint_of(dataSetInterface& settings, const SettingForm& form) {
    simpleNamedDataSet edited;
    copy_content(settings, edited);
    form.write(edited);
    paintFeatures paint;
    read(edited, tree, paint);
    return paint;
}

}  // namespace

QVynPaintCalibration::QVynPaintCalibration(dataSetInterface& settings, QWidget* parent)
    : SettingDialog(settings, parent) {
    setWindowTitle(tr("Vyn Paint Calibration"));
    auto* plot = new PaintPlot;
    connect(&form(), &SettingForm::changed, plot,
            [this, plot] { plot->show_paint(paint_of(this->settings(), form())); });
    auto* panel = new ConditionsPanel;
    panel->follow(settings, form());

    auto* groups = new QGridLayout;
    groups->addWidget(coefficient_group(), 0, 0);
    groups->addWidget(plot, 0, 1);
    groups->addWidget(pressure_group(), 1, 0);
    groups->addWidget(temperature_group(), 1, 1);
    groups->addWidget(test_group(), 0, 2);
    groups->addWidget(panel, 1, 2);
    groups->setColumnStretch(1, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(groups, 1);
    add_buttons(*layout);
    form().show(settings);
}

QGroupBox* QVynPaintCalibration::coefficient_group() {
    auto* group = new QGroupBox(tr("Coefficients of the law P(R, T)"));
    auto* grid = new QGridLayout(group);
    const QString powers_of_t[] = {tr("1"), tr("T"), tr("T²")};
    const QString powers_of_r[] = {tr("1"), tr("R"), tr("R²")};
    for (int i = 0; i < 3; ++i) {
        grid->addWidget(new QLabel(powers_of_t[i]), 0, i + 1, Qt::AlignHCenter);
        grid->addWidget(new QLabel(powers_of_r[i]), i + 1, 0);
        for (int j = 0; j < 3; ++j)
            grid->addWidget(
                form().number(tree + "gamma" + std::to_string(i + 1) + std::to_string(j + 1)),
                i + 1, j + 1);
    }
    grid->setRowStretch(4, 1);
    return group;
}

QGroupBox* QVynPaintCalibration::pressure_group() {
    auto* group = new QGroupBox(tr("Pressure"));
    auto* rows = new FormGrid(group);
    pressure_unit_ = form().text(tree + "default_pressure_unit");
    offer_names(*pressure_unit_, unit_list(pressure_unit_names()));
    rows->add_row(tr("&Unit:"), pressure_unit_,
                  convert_button(pressure_unit_, unit_list(pressure_unit_names())));
    const auto row = [&](const QString& label, const char* key) {
        rows->add_row(label, form().number(tree + key), unit_label(pressure_unit_));
    };
    row(tr("Normalizing:"), "normalizing_pressure");
    row(tr("Minimal:"), "minimal_pressure");
    row(tr("Maximal:"), "maximal_pressure");
    row(tr("Tolerance:"), "tolerance_pressure");
    return group;
}

QGroupBox* QVynPaintCalibration::temperature_group() {
    auto* group = new QGroupBox(tr("Temperature"));
    auto* rows = new FormGrid(group);
    temperature_unit_ = form().text(tree + "default_temperature_unit");
    offer_names(*temperature_unit_, unit_list(temperature_unit_names()));
    rows->add_row(tr("U&nit:"), temperature_unit_,
                  convert_button(temperature_unit_, unit_list(temperature_unit_names())));
    const auto row = [&](const QString& label, const char* key) {
        rows->add_row(label, form().number(tree + key), unit_label(temperature_unit_));
    };
    row(tr("Normalizing:"), "normalizing_temperature");
    row(tr("Minimal:"), "minimal_temperature");
    row(tr("Maximal:"), "maximal_temperature");
    row(tr("Tolerance:"), "tolerance_temperature");
    return group;
}

QGroupBox* QVynPaintCalibration::test_group() {
    auto* group = new QGroupBox(tr("Test that it came from"));
    auto* rows = new FormGrid(group);
    rows->add_row(tr("&Channels:"), form().choice(tree + "type", {{tr("Single"), "single"},
                                                                  {tr("Double"), "double"}}));
    rows->add_row(tr("Image list:"), form().text(tree + "list_file"));
    rows->add_row(tr("Signal camera:"), form().text(tree + "sens_camera_file"));
    rows->add_row(tr("Reference camera:"), form().text(tree + "refe_camera_file"));
    rows->add_row(tr("Signal dark:"), form().text(tree + "dark_sens_file"));
    rows->add_row(tr("Reference dark:"), form().text(tree + "dark_refe_file"));
    return group;
}

QToolButton* QVynPaintCalibration::convert_button(QLineEdit* unit, const QStringList& names) {
    auto* button = new QToolButton;
    button->setObjectName(unit->objectName() + QStringLiteral("_convert"));
    button->setText(tr("Convert to"));
    button->setToolTip(tr("Converts the values below; the coefficients are not changed"));
    button->setPopupMode(QToolButton::InstantPopup);
    auto* menu = new QMenu(button);
    for (const QString& name : names)
        connect(menu->addAction(name), &QAction::triggered, this, [this, unit, name] {
            const std::string target = name.toStdString();
            const bool pressure = unit == pressure_unit_;
            change_units_to(pressure ? target : pressure_unit_->text().toStdString(),
                            pressure ? temperature_unit_->text().toStdString() : target);
        });
    button->setMenu(menu);
    return button;
}

void QVynPaintCalibration::change_units_to(const std::string& pressure_unit,
                                           const std::string& temperature_unit) {
    if (!form().check()) return;
    paintFeatures paint = paint_of(settings(), form());
    change_units(paint, pressure_unit, temperature_unit);
    simpleNamedDataSet converted;
    write(converted, tree, paint);
    form().show(converted);
}

}  // namespace vyn
