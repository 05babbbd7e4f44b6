#include "app/pages/form_double_basic.h"

namespace vyn {

FormDoubleBasic::FormDoubleBasic(Worker& worker, QWidget* parent) : BasicPage(worker, parent) {
    setObjectName(QStringLiteral("FormDoubleBasic"));
}

QString FormDoubleBasic::label() const {
    return experiment_type(vyn_db()) == ExperimentType::lifetime ? tr("Lifetime Basic")
                                                                 : tr("Double Channel Basic");
}

}  // namespace vyn
