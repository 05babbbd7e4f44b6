#pragma once

#include <QDialog>
#include <optional>
#include <vector>

#include "calib/paint_fit.h"

class QComboBox;
class QLabel;
class QLayout;
class QLineEdit;
class QPushButton;
class QSpinBox;

namespace vyn {

class PaintFitPlot;

/// Fits a paint's law to the table of a calibration cell, shows how well it fits, writes it to a
/// file and hands it over when the user accepts it.
class PaintFitDialog : public QDialog {
    Q_OBJECT
  public:
    /// Files are looked for in `folder`.
    explicit PaintFitDialog(std::string folder, QWidget* parent = nullptr);

    /// Null until a table was fitted.
    const PaintFit* fit() const { return fit_ ? &*fit_ : nullptr; }

  public Q_SLOTS:
    void choose_table();
    /// Reads the table and fits the law; what is wrong with the table is said in the window.
    void refresh();
    void save();

  private:
    QLayout* question();
    QLayout* answer();
    QLayout* buttons();
    void show_result(const QString& problem);

    std::string folder_;
    std::optional<PaintTable> table_;
    std::optional<PaintFit> fit_;

    QLineEdit* file_;
    QSpinBox* ratio_order_;
    QSpinBox* temperature_order_;
    QComboBox* pressure_unit_;
    QComboBox* temperature_unit_;
    QLabel* words_;
    PaintFitPlot* law_plot_;
    PaintFitPlot* residual_plot_;
    QPushButton* save_ = nullptr;
    QPushButton* accept_ = nullptr;
};

}  // namespace vyn
