#pragma once

#include <QWidget>
#include <memory>

#include "align/correlation/cell_view.h"
#include "api/image_list.h"

class QLabel;
class QSpinBox;

namespace vyn {

/// The cell under the pointer as the alignment by texture sees it: the cell of the wind-off
/// picture, the window of the wind-on picture, and how they correlate; to choose the cell's size by
/// eye.
class CellPanel : public QWidget {
    Q_OBJECT
  public:
    explicit CellPanel(QWidget* parent = nullptr);

    /// Looks at a pixel of the wind-off picture. The pictures are those of the list, of the channel
    /// of the image shown: corrected, else raw.
    void look(const imagesList& images, const std::string& shown, int x, int y);

  private:
    void show_view(const std::optional<CellView>& view);

    QSpinBox* side_;
    QLabel* cell_;
    QLabel* window_;
    QLabel* surface_;
    QLabel* verdict_;
};

}  // namespace vyn
