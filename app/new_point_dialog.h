#pragma once

#include <QDialog>
#include <vector>

#include "process/project/new_point.h"

class QComboBox;
class QTableWidget;

namespace vyn {

/// Shows which files a new test point takes in the place of those of the present one, and lets the
/// user pick the number that goes up and the files to leave out.
class NewPointDialog : public QDialog {
    Q_OBJECT
  public:
    explicit NewPointDialog(std::vector<NextPoint> ways, QWidget* parent = nullptr);
    /// The way chosen; files that the user does not want have no new name.
    NextPoint point() const;

  private:
    void show_way();

    std::vector<NextPoint> ways_;
    QComboBox* way_;
    QTableWidget* files_;
};

}  // namespace vyn
