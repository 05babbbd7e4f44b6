#pragma once

#include <QAbstractButton>

#include "app/pages/thumbnail.h"

namespace vyn {

class ColourBar;

/// The computed field at a glance, with its colour bar; a click opens it in a viewer.
class FieldPreview : public QAbstractButton {
    Q_OBJECT
  public:
    explicit FieldPreview(QWidget* parent = nullptr);

    /// A null picture: there is no field.
    void show_field(const Thumbnail& field, const palette_array& palette);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    ColourBar* bar_;
    QImage picture_;
};

}  // namespace vyn
