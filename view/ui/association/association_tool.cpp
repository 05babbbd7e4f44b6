#include "view/ui/association/association_tool.h"

#include "core/ui/icons.h"
#include "view/ui/association/association_controller.h"

namespace vyn {

namespace {

Point place_of(const ViewMouse& mouse) {
    return {mouse.image.x(), mouse.image.y()};
}

}  // namespace

AssociationTool::AssociationTool(AssociationController& association) : association_(association) {}

QCursor AssociationTool::cursor() const {
    return vyn_cursor(QStringLiteral("mark_move_cur.png"));
}

void AssociationTool::press(const ViewMouse& mouse) {
    if (mouse.button == Qt::LeftButton) act(gesture_.press(place_of(mouse)));
}

void AssociationTool::move(const ViewMouse& mouse) {
    act(gesture_.move(place_of(mouse)));
}

void AssociationTool::release(const ViewMouse& mouse) {
    if (mouse.button == Qt::LeftButton) act(gesture_.release(place_of(mouse)));
}

void AssociationTool::cancel() {
    act(gesture_.cancel());
}

void AssociationTool::act(MouseGesture::Event event) {
    switch (event) {
        case MouseGesture::Event::none:
            return;
        case MouseGesture::Event::begun:
            return association_.pick_up(gesture_.places().front());
        case MouseGesture::Event::changed:
            return association_.drag(gesture_.places().back());
        case MouseGesture::Event::cancelled:
            return association_.let_go();
        case MouseGesture::Event::finished:
            return association_.drop(gesture_.places().back());
    }
}

}  // namespace vyn
