#pragma once

#include <QSizeF>

#include "render/view_source.h"
#include "view/ui/canvas/view_tool.h"

namespace vyn {

/// Zooms that the view allows, widget pixels per image pixel.
inline constexpr double least_zoom = 1.0 / 512;
inline constexpr double most_zoom = 256;

/// So many steps of the square root of 2.
double zoom_factor(double steps);

/// The transform with its zoom multiplied, within what is allowed; the image position at this
/// widget position stays there. A zoom next to a whole power of the square root of 2 becomes that
/// power, so that steps in and out meet again.
ViewTransform zoomed(const ViewTransform& old, QPointF widget, double factor);

/// The whole image in the middle of a widget of this size.
ViewTransform fitted(int width, int height, QSizeF widget);

/// The transform moved as little as needed for the middle of the widget to lie on the image.
ViewTransform held_in_view(ViewTransform transform, ImageSize size, QSizeF widget);

}  // namespace vyn
