#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "api/bitmap.h"
#include "api/point.h"
#include "render/render.h"

namespace vyn {

/// A line along which a field has one value. The higher values lie on one and the same side of all
/// lines; a closed one ends where it began.
struct IsoLine {
    double level = 0;
    std::vector<Point> places;
    bool operator==(const IsoLine&) const = default;
};

/// The lines of these levels (rising) through a grid of values, which are joined linearly;
/// positions in steps of the grid, (0, 0) its first value. A cell with a value at a corner that is
/// no number has no line. Marching squares (Lorensen & Cline 1987), an ambiguous cell by its mean.
/// The order is that of the levels, open lines before closed ones; the same bits on any number of
/// threads.
std::vector<IsoLine> trace_iso_lines(const Bitmap<float>& grid, std::span<const double> levels);

/// Black or white, as 0xAARRGGBB: what is seen best on the colour that lies under a line of this
/// level.
std::uint32_t iso_ink(const colour_map& colours, double level);

/// How many steps lines have at most in a window, which is to be redrawn at once.
inline constexpr std::size_t most_iso_steps = 8000;

/// The lines of what a rectangle shows, image positions. They go through means over some two screen
/// pixels, and over larger squares where noise would make more than `most_steps` steps of them, so
/// that lines are seen and no hatching. None for a colour image.
std::vector<IsoLine> iso_lines(const ViewSource& source, const ViewRectangle& seen,
                               std::span<const double> levels,
                               std::size_t most_steps = most_iso_steps);

}  // namespace vyn
