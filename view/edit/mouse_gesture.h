#pragma once

#include <vector>

#include "api/point.h"
#include "view/edit/mouse_mode.h"

namespace vyn {

/// How the left button is used in a mode.
enum class GestureKind {
    none,
    click,    ///< acts where the button goes down
    drag,     ///< from the press to the release
    stroke,   ///< every place on the way counts
    polygon,  ///< a corner per click; a double click ends it
};

/// What the region tools draw.
enum class RegionShape { rectangle, ellipse, polygon, brush };

/// Probing and zooming are the view's own affair: none.
GestureKind gesture_kind(MouseMode mode, RegionShape shape);

/// Follows the left button through one mode and tells what its events amount to.
class MouseGesture {
  public:
    explicit MouseGesture(GestureKind kind) : kind_(kind) {}

    enum class Event { none, begun, changed, finished, cancelled };

    Event press(Point place);
    Event move(Point place);
    Event release(Point place);
    /// Comes in the place of the second press. Ends a polygon, whose last corner is the first
    /// press.
    Event double_click(Point place);
    /// Escape, or another tool was chosen.
    Event cancel();

    /// True between the begin and the end of a gesture.
    bool active() const { return active_; }
    /// A click: the place. A drag: start and present end. A stroke: the places so far. A polygon:
    /// its corners and, while it is drawn, the pointer. They stay until the next gesture begins.
    const std::vector<Point>& places() const { return places_; }

  private:
    Event begin(std::vector<Point> places);
    Event finish();

    GestureKind kind_;
    bool active_ = false;
    std::vector<Point> places_;
};

}  // namespace vyn
