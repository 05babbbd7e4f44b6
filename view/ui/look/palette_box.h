#pragma once

#include <QComboBox>

#include "render/palette.h"

namespace vyn {

/// Chooser over the program's palettes, each with a small picture of its ramp.
class PaletteBox : public QComboBox {
    Q_OBJECT
  public:
    explicit PaletteBox(QWidget* parent = nullptr);

    /// Shows the list anew with this palette chosen.
    void refresh(const palette_array& chosen);
    const palette_array& chosen() const;
};

}  // namespace vyn
