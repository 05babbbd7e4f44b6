#pragma once

#include <QDialog>
#include <memory>

#include "align/marker_alignment.h"
#include "view/ui/canvas/scoped_overlay.h"

class QComboBox;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class QSpinBox;

namespace vyn {

class MarkerController;
class PictureWindow;

/// Draws a line from each partner's place in the other image to the marker.
class PairOverlay final : public ViewOverlay {
  public:
    std::vector<MarkerPair> pairs;
    void paint(QPainter& painter, const ViewTransform& transform) const override;
};

/// Pairs the markers of the shown image with those of another one. The pairs and what the mapping
/// leaves are shown; when the user accepts them, paired markers get their partners' numbers.
class MarkerPairingDialog : public QDialog {
    Q_OBJECT
  public:
    MarkerPairingDialog(PictureWindow& viewer, MarkerController& markers);

  public Q_SLOTS:
    void pair();
    void accept() override;

  private:
    void forget_pairs();

    PictureWindow& viewer_;
    MarkerController& markers_;
    std::shared_ptr<MarkerMatch> match_;
    PairOverlay overlay_;
    ScopedOverlay shown_;

    QComboBox* partner_;
    QComboBox* method_;
    QSpinBox* order_;
    QSpinBox* box_;
    QPlainTextEdit* report_;
    QPushButton* ok_;
};

}  // namespace vyn
