#pragma once

#include <vector>

#include "markers/marker.h"
#include "render/canvas.h"
#include "render/colour_map.h"
#include "render/iso_labels.h"

namespace vyn {

/// Lines of equal value with their numbers, for a field of this size whose frame has letters of
/// this height; places in pixels of the field.
IsoDrawing number_iso_lines(std::vector<IsoLine> lines, double letters, double width,
                            double height);

/// Black or white, as is seen best on the colours under them.
void draw_iso_lines(const IsoDrawing& iso, const colour_map& colours, double letters,
                    Canvas& canvas);

/// A ring with the marker's number round a place on the canvas; grey when it is not active.
void draw_marker(const Marker& marker, Point place, double letters, Canvas& canvas);

}  // namespace vyn
