#pragma once

#include "view/edit/mouse_gesture.h"
#include "view/ui/canvas/view_tool.h"

namespace vyn {

class MarkerController;

/// The left button in one of the marker modes.
class MarkerTool final : public ViewTool {
  public:
    MarkerTool(MarkerController& markers, MouseMode mode);
    QCursor cursor() const override;
    void press(const ViewMouse& mouse) override;
    void move(const ViewMouse& mouse) override;
    void release(const ViewMouse& mouse) override;
    void double_click(const ViewMouse& mouse) override;
    void cancel() override;

  private:
    void act(MouseGesture::Event event, Qt::KeyboardModifiers modifiers);

    MarkerController& markers_;
    MouseMode mode_;
    MouseGesture gesture_;
};

}  // namespace vyn
