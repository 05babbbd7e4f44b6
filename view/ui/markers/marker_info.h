#pragma once

#include <QWidget>

class QCheckBox;
class QLabel;
class QPushButton;

namespace vyn {

class MarkerController;
class NumberEdit;

/// The panel with the current marker's values.
class VynMarkerInfo : public QWidget {
    Q_OBJECT
  public:
    explicit VynMarkerInfo(MarkerController& markers);

  public Q_SLOTS:
    void go_prev();
    void go_next();
    /// Loads the panel from the current marker.
    void read();
    /// Writes the edited values back. False when one is no number: it is marked and nothing
    /// changes.
    bool accept();

  private:
    MarkerController& markers_;
    QLabel* position_;
    NumberEdit* number_;
    NumberEdit* x_;
    NumberEdit* y_;
    NumberEdit* f_;
    QLabel* f_label_;
    QCheckBox* active_;
    QPushButton* prev_;
    QPushButton* next_;
    QPushButton* apply_;
};

}  // namespace vyn
