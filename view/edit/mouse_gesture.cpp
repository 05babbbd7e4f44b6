#include "view/edit/mouse_gesture.h"

#include <algorithm>

namespace vyn {

GestureKind gesture_kind(MouseMode mode, RegionShape shape) {
    switch (mode) {
        case MouseMode::probe:
        case MouseMode::zoom_in:
        case MouseMode::zoom_out:
            return GestureKind::none;
        case MouseMode::marker_add:
        case MouseMode::marker_revise:
        case MouseMode::marker_toggle:
        case MouseMode::marker_edit:
        case MouseMode::marker_delete:
            return GestureKind::click;
        case MouseMode::graph:
        case MouseMode::marker_move:
        case MouseMode::associate:
            return GestureKind::drag;
        case MouseMode::region:
            if (shape == RegionShape::polygon) return GestureKind::polygon;
            return shape == RegionShape::brush ? GestureKind::stroke : GestureKind::drag;
    }
    return GestureKind::none;
}

MouseGesture::Event MouseGesture::press(Point place) {
    switch (kind_) {
        case GestureKind::none:
            return Event::none;
        case GestureKind::click:
            places_ = {place};
            return Event::finished;
        case GestureKind::drag:
            return begin({place, place});
        case GestureKind::stroke:
            return begin({place});
        case GestureKind::polygon:
            if (!active_) return begin({place, place});
            places_.back() = place;
            places_.push_back(place);
            return Event::changed;
    }
    return Event::none;
}

MouseGesture::Event MouseGesture::move(Point place) {
    if (!active_ || places_.back() == place) return Event::none;
    if (kind_ == GestureKind::stroke)
        places_.push_back(place);
    else
        places_.back() = place;
    return Event::changed;
}

MouseGesture::Event MouseGesture::release(Point place) {
    if (!active_ || kind_ == GestureKind::polygon) return Event::none;
    move(place);
    return finish();
}

MouseGesture::Event MouseGesture::double_click(Point place) {
    if (kind_ != GestureKind::polygon) return press(place);
    if (!active_) return Event::none;
    places_.pop_back();
    places_.erase(std::unique(places_.begin(), places_.end()), places_.end());
    constexpr std::size_t fewest_corners = 3;
    return places_.size() < fewest_corners ? cancel() : finish();
}

MouseGesture::Event MouseGesture::cancel() {
    if (!active_) return Event::none;
    active_ = false;
    return Event::cancelled;
}

MouseGesture::Event MouseGesture::begin(std::vector<Point> places) {
    active_ = true;
    places_ = std::move(places);
    return Event::begun;
}

MouseGesture::Event MouseGesture::finish() {
    active_ = false;
    return Event::finished;
}

}  // namespace vyn
