#pragma once

#include "view/edit/mouse_gesture.h"
#include "view/ui/canvas/view_tool.h"

namespace vyn {

class AssociationController;

/// The left button drags rings onto dots.
class AssociationTool final : public ViewTool {
  public:
    explicit AssociationTool(AssociationController& association);
    QCursor cursor() const override;
    void press(const ViewMouse& mouse) override;
    void move(const ViewMouse& mouse) override;
    void release(const ViewMouse& mouse) override;
    void cancel() override;

  private:
    void act(MouseGesture::Event event);

    AssociationController& association_;
    MouseGesture gesture_{GestureKind::drag};
};

}  // namespace vyn
