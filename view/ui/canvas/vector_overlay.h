#pragma once

#include <memory>

#include "api/image.h"
#include "render/fashion.h"
#include "view/ui/canvas/view_tool.h"

namespace vyn {

/// Draws the vectors of an image as arrows that begin at their nodes.
class VectorOverlay final : public ViewOverlay {
  public:
    void set_picture(std::shared_ptr<const image> picture) { picture_ = std::move(picture); }
    void set_style(const VectorStyle& style) { style_ = style; }
    void paint(QPainter& painter, const ViewTransform& transform) const override;

  private:
    std::shared_ptr<const image> picture_;
    VectorStyle style_;
};

}  // namespace vyn
