#include "calib/ui/test_dialog.h"

#include <QBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "calib/ui/conditions_panel.h"
#include "calib/ui/unit_lists.h"
#include "core/ui/form_grid.h"
#include "core/ui/number_edit.h"

namespace vyn {

namespace {

const std::string root = "project/";

}  // namespace

QVynTest::QVynTest(dataSetInterface& settings, QWidget* parent) : SettingDialog(settings, parent) {
    setWindowTitle(tr("Test conditions"));
    const auto text = [this](const char* key, const char* name) {
        return form().text(root + key, name);
    };
    const auto number = [this](const char* key, const char* name) {
        return form().number(root + key, name);
    };
    auto* names = new FormGrid;
    names->add_row(tr("Test ID:"), text("test/test_id", "_test_id_edt"));
    names->add_row(tr("Test Point ID:"), text("test_point/test_point_id", "_test_point_id"));
    names->add_row(tr("Model ID:"), text("test/model_id", "_model_id_edt"));

    QLineEdit* p_unit = text("flow/p_unit", "_p_unit_edt");
    QLineEdit* t_unit = text("flow/t_unit", "_t_unit");
    offer_names(*p_unit, pressure_units_to_type());
    offer_names(*t_unit, temperature_units_to_type());
    const auto pressure = [&](FormGrid& grid, const QString& label, const char* key,
                              const char* name) {
        grid.add_row(label, number(key, name), unit_label(p_unit));
    };
    const auto temperature = [&](FormGrid& grid, const QString& label, const char* key,
                                 const char* name) {
        grid.add_row(label, number(key, name), unit_label(t_unit));
    };
    auto* pressures = new FormGrid;
    pressures->add_row(tr("P Unit:"), p_unit);
    pressure(*pressures, tr("Static P:"), "flow/static_p", "_p_stat_edt");
    pressure(*pressures, tr("Dynamic P:"), "flow/dynamic_p", "_p_dyn_edt");
    pressure(*pressures, tr("Wind-off P:"), "flow/wind_off_p", "_w_off_p_edt");
    pressures->add_row(tr("Mach:"), number("flow/mach", "_mach_edt"));
    auto* temperatures = new FormGrid;
    temperatures->add_row(tr("T Unit:"), t_unit);
    temperature(*temperatures, tr("Wind-on T:"), "flow/wind_on_t", "_w_on_t_edt");
    temperature(*temperatures, tr("Wind-off T:"), "flow/wind_off_t", "_w_off_t_edt");
    temperatures->add_row(tr("Alpha:"), number("flow/alpha", "_alpha_edt"), tr("°"));
    temperatures->add_row(tr("Beta:"), number("flow/beta", "_beta_edt"), tr("°"));

    auto* flow = new QHBoxLayout;
    flow->addLayout(pressures);
    flow->addSpacing(12);
    flow->addLayout(temperatures);
    auto* panel = new ConditionsPanel;
    panel->follow(settings, form());
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(names);
    layout->addLayout(flow);
    layout->addWidget(panel, 1);
    const Buttons buttons = add_buttons(*layout);
    buttons.ok->setObjectName(QStringLiteral("buttonOk"));
    buttons.ok->setToolTip(tr("Accept values."));
    buttons.cancel->setObjectName(QStringLiteral("buttonCancel"));
    buttons.cancel->setText(tr("&Cancel"));
    buttons.cancel->setToolTip(tr("Reject values."));
    form().show(settings);
}

}  // namespace vyn
