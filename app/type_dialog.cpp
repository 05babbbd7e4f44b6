#include "app/type_dialog.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace vyn {

ExperimentTypeDialog::ExperimentTypeDialog(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("ExperimentType"));
    setWindowTitle(tr("Experiment Type"));
    new QVBoxLayout(this);
    single_ = add_choice("rbSingle", tr("PSP Single Channel"));
    binary_ = add_choice("rbDouble", tr("PSP Binary Channel"));
    lifetime_ = add_choice("rbLifeTime", tr("PSP Lifetime"));
    s3f_ = add_choice("rbS3F", tr("S3F"));
    single_->setChecked(true);

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* ok = buttons->addButton(QDialogButtonBox::Ok);
    ok->setObjectName(QStringLiteral("pbOk"));
    QPushButton* cancel = buttons->addButton(QDialogButtonBox::Cancel);
    cancel->setObjectName(QStringLiteral("pbCancel"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout()->addWidget(buttons);
}

QRadioButton* ExperimentTypeDialog::add_choice(const char* name, const QString& text) {
    auto* button = new QRadioButton(text, this);
    button->setObjectName(QLatin1String(name));
    layout()->addWidget(button);
    return button;
}

std::optional<ExperimentType> ExperimentTypeDialog::type() const {
    if (single_->isChecked()) return ExperimentType::single;
    if (binary_->isChecked()) return ExperimentType::binary;
    if (lifetime_->isChecked()) return ExperimentType::lifetime;
    if (s3f_->isChecked()) return ExperimentType::s3f;
    return std::nullopt;
}

}  // namespace vyn
