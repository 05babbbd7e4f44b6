#include "calib/ui/convert_dialog.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QGroupBox>

#include "calib/ui/conditions_panel.h"
#include "core/keys.h"
#include "core/ui/form_grid.h"
#include "core/ui/number_edit.h"

namespace vyn {

QVynConvert::QVynConvert(dataSetInterface& settings, QWidget* parent)
    : SettingDialog(settings, parent) {
    setWindowTitle(tr("Vyn Convert"));
    auto* rows = new FormGrid;
    rows->add_row(tr("&Field:"),
                  form().choice(keys::convert_field.path,
                                {{tr("Pressure"), "Pressure"},
                                 {tr("P_Pstat: pressure over static pressure"), "P_Pstat"},
                                 {tr("Cp: pressure coefficient"), "Cp"},
                                 {tr("Irefe_Isens: intensity ratio"), "Irefe_Isens"}}));
    rows->add_row(tr("&Wind-off ratio:"),
                  form().choice(keys::convert_wind_off_ratio.path,
                                {{tr("By the law at wind-off conditions"), "law"},
                                 {tr("1, for a law fitted to ports of this ratio"), "unity"}}));
    QGroupBox* limits = form().group(keys::convert_threshold.path, tr("&Threshold"));
    auto* limit_rows = new FormGrid(limits);
    limit_rows->add_row(tr("&Exclude below:"), form().number(keys::convert_min.path));
    limit_rows->add_row(tr("&Clamp above:"), form().number(keys::convert_max.path));

    auto* panel = new ConditionsPanel;
    panel->follow(settings, form());
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(rows);
    layout->addWidget(limits);
    layout->addWidget(panel, 1);
    add_buttons(*layout);
    form().show(settings);
}

}  // namespace vyn
