#pragma once

#include <QDialog>
#include <memory>

#include "api/image.h"
#include "view/ui/canvas/scoped_overlay.h"
#include "view/ui/markers/marker_overlay.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QPushButton;
class QSpinBox;

namespace vyn {

class MarkerController;
class NumberEdit;
class PictureWindow;

/// Finds the dots of the shown image by itself. What was found is drawn on the image and becomes
/// markers when the user accepts it.
class MarkerFindingDialog : public QDialog {
    Q_OBJECT
  public:
    MarkerFindingDialog(PictureWindow& viewer, MarkerController& markers);

  public Q_SLOTS:
    void find();
    void accept() override;

  private:
    void show_found();
    void forget_found();

    PictureWindow& viewer_;
    MarkerController& markers_;
    std::shared_ptr<const image> searched_;
    std::shared_ptr<MarkerSet> found_;
    MarkerOverlay overlay_;
    ScopedOverlay shown_;

    QComboBox* polarity_;
    NumberEdit* min_size_;
    NumberEdit* max_size_;
    QSpinBox* expect_;
    QCheckBox* keep_;
    QLabel* result_;
    QPushButton* ok_;
};

}  // namespace vyn
