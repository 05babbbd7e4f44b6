#pragma once

#include "view/ui/canvas/view_tool.h"

namespace vyn {

class VynFieldView;

/// A click zooms about itself; with Shift the other way round.
class ZoomTool final : public ViewTool {
  public:
    enum class Direction { in, out };
    ZoomTool(VynFieldView& view, Direction direction) : view_(view), direction_(direction) {}
    QCursor cursor() const override;
    void press(const ViewMouse& mouse) override;

  private:
    VynFieldView& view_;
    Direction direction_;
};

/// Points at pixels; the view itself tells what lies under the pointer.
class ProbeTool final : public ViewTool {
  public:
    QCursor cursor() const override { return {Qt::CrossCursor}; }
};

}  // namespace vyn
