#include "app/pages/form_single_basic.h"

namespace vyn {

FormSingleBasic::FormSingleBasic(Worker& worker, QWidget* parent) : BasicPage(worker, parent) {
    setObjectName(QStringLiteral("FormSingleBasic"));
}

QString FormSingleBasic::label() const {
    return tr("Single Channel Basic");
}

}  // namespace vyn
