#pragma once

#include <QDialog>

#include "calib/paint.h"
#include "core/data_set.h"

class QLabel;

namespace vyn {

class ConditionsPanel;
class PaintPlot;

/// The project's paint: what its law looks like, its files, and the way to its numbers.
class QVynPaint : public QDialog {
    Q_OBJECT
  public:
    explicit QVynPaint(dataSetInterface& settings, QWidget* parent = nullptr);

    /// Shows the paint of a file; false, after a message, when there is none.
    bool open_file(const std::string& file);

    void accept() override;

  private:
    QLayout* buttons();
    void show_draft();
    void open_paint();
    /// A paint of a file is no law fitted to ports.
    void ask_for_law();
    void save_paint();
    void edit_calibration();
    /// A law of a calibration cell's table.
    void fit_table();
    void take_law(const paintFeatures& paint);
    paintFeatures record();

    dataSetInterface& settings_;
    /// The project's settings with the paint as it will be stored.
    simpleNamedDataSet draft_;
    QLabel* summary_;
    PaintPlot* plot_;
    ConditionsPanel* conditions_;
};

}  // namespace vyn
