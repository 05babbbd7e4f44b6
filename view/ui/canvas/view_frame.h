#pragma once

#include <QImage>

#include "render/render.h"
#include "view/ui/canvas/view_tool.h"

namespace vyn {

/// What a view shows of its source, drawn in the screen's own pixels and kept until it changes.
class ViewFrame {
  public:
    void invalidate() { valid_ = false; }
    /// The picture for a widget of this size (device independent) on a screen of this pixel ratio.
    const QImage& draw(const ViewSource& source, const colour_map& colours,
                       const ViewTransform& transform, QSizeF size, double pixel_ratio);

  private:
    QImage picture_;
    bool valid_ = false;
};

}  // namespace vyn
