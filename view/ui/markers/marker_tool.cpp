#include "view/ui/markers/marker_tool.h"

#include "core/ui/icons.h"
#include "view/ui/markers/marker_controller.h"

namespace vyn {

namespace {

Point place_of(const ViewMouse& mouse) {
    return {mouse.image.x(), mouse.image.y()};
}

const char* cursor_name(MouseMode mode) {
    switch (mode) {
        case MouseMode::marker_add:
            return "mark_add_cur.png";
        case MouseMode::marker_move:
            return "mark_move_cur.png";
        case MouseMode::marker_revise:
            return "mark_rev_cur.png";
        case MouseMode::marker_edit:
            return "mark_edit_cur.png";
        case MouseMode::marker_delete:
            return "mark_del_cur.png";
        default:
            return "mark_08_01.png";
    }
}

}  // namespace

MarkerTool::MarkerTool(MarkerController& markers, MouseMode mode)
    : markers_(markers), mode_(mode), gesture_(gesture_kind(mode, RegionShape::rectangle)) {}

QCursor MarkerTool::cursor() const {
    return vyn_cursor(QLatin1String(cursor_name(mode_)));
}

void MarkerTool::press(const ViewMouse& mouse) {
    if (mouse.button == Qt::LeftButton) act(gesture_.press(place_of(mouse)), mouse.modifiers);
}

void MarkerTool::move(const ViewMouse& mouse) {
    act(gesture_.move(place_of(mouse)), mouse.modifiers);
}

void MarkerTool::release(const ViewMouse& mouse) {
    if (mouse.button == Qt::LeftButton) act(gesture_.release(place_of(mouse)), mouse.modifiers);
}

void MarkerTool::double_click(const ViewMouse& mouse) {
    if (mouse.button == Qt::LeftButton)
        act(gesture_.double_click(place_of(mouse)), mouse.modifiers);
}

void MarkerTool::cancel() {
    act(gesture_.cancel(), Qt::NoModifier);
}

void MarkerTool::act(MouseGesture::Event event, Qt::KeyboardModifiers modifiers) {
    const std::vector<Point>& places = gesture_.places();
    switch (event) {
        case MouseGesture::Event::none:
            return;
        case MouseGesture::Event::begun:
            return markers_.pick_up(places.front());
        case MouseGesture::Event::changed:
            return markers_.drag(places.back());
        case MouseGesture::Event::cancelled:
            return markers_.put_back();
        case MouseGesture::Event::finished:
            if (mode_ == MouseMode::marker_move)
                markers_.drop(places.back(), modifiers & Qt::ShiftModifier
                                                 ? MarkerController::Drop::exactly
                                                 : MarkerController::Drop::on_the_dot);
            else
                markers_.click(mode_, places.front());
    }
}

}  // namespace vyn
