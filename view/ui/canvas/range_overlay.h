#pragma once

#include <memory>

#include "api/image.h"
#include "view/ui/canvas/view_tool.h"

namespace vyn {

/// Tints the pixels whose value lies in a range, both ends included.
class RangeOverlay final : public ViewOverlay {
  public:
    explicit RangeOverlay(std::shared_ptr<const image> picture) : picture_(std::move(picture)) {}
    void set_range(double low, double high);
    void paint(QPainter& painter, const ViewTransform& transform) const override;

  private:
    std::shared_ptr<const image> picture_;
    double low_ = 0;
    double high_ = -1;
};

}  // namespace vyn
