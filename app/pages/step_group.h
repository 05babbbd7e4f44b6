#pragma once

#include <QGroupBox>
#include <vector>

#include "process/page/requirements.h"

class QBoxLayout;
class QLabel;
class QPushButton;

namespace vyn {

/// The steps of the computation, one button each, and how the last run ended.
class StepGroup : public QGroupBox {
    Q_OBJECT
  public:
    StepGroup(bool two_channels, QWidget* parent);
    /// A step for which something is missing cannot be started, and says so.
    void show_needs(const StepNeeds& needs);
    void show_run(const QString& text, bool failed);

  Q_SIGNALS:
    void wanted(PageStep step);

  private:
    struct Line {
        PageStep step;
        QPushButton* button;
        QString tip;
    };
    QPushButton* add(QBoxLayout& layout, PageStep step, const char* object_name,
                     const QString& text, const QString& tip);

    std::vector<Line> lines_;
    QLabel* run_state_;
};

}  // namespace vyn
