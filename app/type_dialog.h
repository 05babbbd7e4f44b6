#pragma once

#include <QDialog>
#include <optional>

#include "process/point/experiment_type.h"

class QRadioButton;

namespace vyn {

/// Asks what a new project is for.
class ExperimentTypeDialog : public QDialog {
    Q_OBJECT
  public:
    explicit ExperimentTypeDialog(QWidget* parent = nullptr);
    /// Nothing when no choice is made.
    std::optional<ExperimentType> type() const;

  private:
    QRadioButton* add_choice(const char* name, const QString& text);
    QRadioButton* single_;
    QRadioButton* binary_;
    QRadioButton* lifetime_;
    QRadioButton* s3f_;
};

}  // namespace vyn
