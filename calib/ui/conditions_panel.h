#pragma once

#include <QTextEdit>

#include "core/data_set.h"

namespace vyn {

class SettingForm;

/// Shows the test conditions as they will enter the paint's law, with what is wrong with them.
class ConditionsPanel : public QTextEdit {
    Q_OBJECT
  public:
    explicit ConditionsPanel(QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    void show_conditions(dataSetInterface& settings);
    /// Follows a form that is being edited: the settings of `data` with those of the form.
    void follow(dataSetInterface& settings, const SettingForm& form);
};

}  // namespace vyn
