#pragma once

#include <QWidget>

#include "render/fashion.h"
#include "render/view_source.h"

class QAction;
class QCheckBox;
class QGroupBox;
class QLabel;

namespace vyn {

class VectorForm;

/// Beside the view: the modes, the pixel under the pointer, the settings of the vector grid.
class VynFunctionBar : public QWidget {
    Q_OBJECT
  public:
    explicit VynFunctionBar(QWidget* parent = nullptr);

    /// Buttons for these actions, in rows.
    void set_modes(const QList<QAction*>& actions);
    void show_pixel(const ProbedPixel& pixel);
    /// "Pressure, Pa"; names the value.
    void set_quantity(const QString& quantity);
    void show_fashion(const Fashion& fashion);
    /// The pixel as lines of name, tabulator and number, for the clipboard.
    QString pixel_as_text() const;

  public Q_SLOTS:
    /// Whether the image carries vectors.
    void grid_present(bool present);

  Q_SIGNALS:
    void vectors_chosen(const VectorStyle& style);
    void copy_pixel_wanted();

  private:
    QGroupBox* make_pixel_group();
    QGroupBox* make_grid_group();
    void choose_vectors();

    QGroupBox* modes_ = nullptr;
    QGroupBox* grid_ = nullptr;
    QCheckBox* vectors_shown_ = nullptr;
    VectorForm* vectors_ = nullptr;

    ProbedPixel pixel_;
    QString quantity_;
    QLabel* position_ = nullptr;
    QLabel* value_name_ = nullptr;
    QLabel* value_ = nullptr;
    QLabel* place_ = nullptr;
    QLabel* u_ = nullptr;
    QLabel* v_ = nullptr;
};

}  // namespace vyn
