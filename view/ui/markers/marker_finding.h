#pragma once

#include <QDialog>
#include <memory>

#include "align/dots/marker_detection.h"
#include "view/ui/canvas/scoped_overlay.h"
#include "view/ui/markers/marker_overlay.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QPushButton;
class QSlider;
class QSpinBox;
class QTableWidget;

namespace vyn {

class MarkerController;
class NumberEdit;
class PictureWindow;

/// Finds the dots of the shown image by itself. What was found is drawn on the image and becomes
/// markers when the user accepts it: the candidates from a quality on, which the user can slide;
/// the doubtful ones among them and those left out are drawn in ways of their own.
class MarkerFindingDialog : public QDialog {
    Q_OBJECT
  public:
    MarkerFindingDialog(PictureWindow& viewer, MarkerController& markers);

  public Q_SLOTS:
    void find();
    void accept() override;

  private:
    DetectionOptions options() const;
    /// Takes the candidates that the slider allows, and shows what becomes of each.
    void choose();
    void show_table(std::size_t taken);
    void forget_found();

    PictureWindow& viewer_;
    MarkerController& markers_;
    std::shared_ptr<const image> searched_;
    std::shared_ptr<DotCandidates> candidates_;
    MarkerSet found_;
    MarkerOverlay sure_overlay_;
    MarkerOverlay doubtful_overlay_;
    MarkerOverlay left_out_overlay_;
    ScopedOverlay left_out_shown_;
    ScopedOverlay doubtful_shown_;
    ScopedOverlay sure_shown_;

    QComboBox* polarity_;
    NumberEdit* min_size_;
    NumberEdit* max_size_;
    QSpinBox* expect_;
    QSlider* cut_;
    QLabel* cut_text_;
    QTableWidget* table_;
    QCheckBox* keep_;
    QLabel* result_;
    QPushButton* ok_;
};

}  // namespace vyn
