#include "view/ui/canvas/zoom_tool.h"

#include "core/ui/icons.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/canvas/view_zoom.h"

namespace vyn {

QCursor ZoomTool::cursor() const {
    return vyn_cursor(direction_ == Direction::in ? QStringLiteral("zoom_in.png")
                                                  : QStringLiteral("zoom_out.png"));
}

void ZoomTool::press(const ViewMouse& mouse) {
    if (mouse.button != Qt::LeftButton) return;
    const bool in = (direction_ == Direction::in) != bool(mouse.modifiers & Qt::ShiftModifier);
    view_.zoom_about(mouse.widget, zoom_factor(in ? 1 : -1));
}

}  // namespace vyn
