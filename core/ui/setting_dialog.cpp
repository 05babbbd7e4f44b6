#include "core/ui/setting_dialog.h"

#include <QBoxLayout>
#include <QDialogButtonBox>
#include <QPushButton>

namespace vyn {

SettingDialog::SettingDialog(dataSetInterface& settings, QWidget* parent)
    : QDialog(parent), settings_(settings) {}

void SettingDialog::accept() {
    if (!form_.check()) return;
    store();
    QDialog::accept();
}

SettingDialog::Buttons SettingDialog::add_buttons(QBoxLayout& layout) {
    auto* box = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    Buttons buttons{box->button(QDialogButtonBox::Ok), box->button(QDialogButtonBox::Cancel)};
    buttons.ok->setText(tr("OK"));
    buttons.cancel->setText(tr("Cancel"));
    connect(box, &QDialogButtonBox::accepted, this, &SettingDialog::accept);
    connect(box, &QDialogButtonBox::rejected, this, &SettingDialog::reject);
    layout.addWidget(box);
    buttons.ok->setDefault(true);  // only now is the dialog there to hear of it
    return buttons;
}

}  // namespace vyn
