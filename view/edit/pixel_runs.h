#pragma once

#include <functional>
#include <span>
#include <vector>

#include "api/image.h"
#include "api/point.h"

namespace vyn {

/// Pixels of one row, from `first` up to but not including `last`.
struct PixelRun {
    int y = 0;
    int first = 0;
    int last = 0;
    bool operator==(const PixelRun&) const = default;
};

/// Pixels of a picture: runs row by row from the top, those of a row from the left, neither
/// overlapping nor touching.
using PixelRuns = std::vector<PixelRun>;

struct PictureSize {
    int width = 0;
    int height = 0;
};

/// The pixels of a picture whose centres lie in a shape; positions in pixels, they may lie
/// anywhere. The rims of rectangle, ellipse and brush belong to the shape.
PixelRuns rectangle_runs(PictureSize size, Point corner, Point opposite);
/// The ellipse inscribed into that rectangle.
PixelRuns ellipse_runs(PictureSize size, Point corner, Point opposite);
/// Even-odd rule; left and upper rims belong to the shape, right and lower ones do not, so that
/// polygons that share an edge share no pixel.
PixelRuns polygon_runs(PictureSize size, std::span<const Point> corners);
/// Everything within `radius` of a line through the places; one place gives a disc.
PixelRuns brush_runs(PictureSize size, std::span<const Point> places, double radius);

/// The runs that `search(y, runs)` appends for each row, rows searched by several threads.
PixelRuns search_rows(int height, const std::function<void(int y, PixelRuns& runs)>& search);

/// Appends the runs of the pixels of a row whose flag is 1, the others' being 0.
void add_runs(int y, std::span<const std::uint8_t> flags, PixelRuns& runs);

/// A set of pixels by its rows: sets the flags of the pixels of row y that belong to it to 1, all
/// being 0 before; false when there is none. Called by several threads.
using RowFlags = std::function<bool(int y, std::span<std::uint8_t> flags)>;

RowFlags flags_of(PixelRuns runs);
/// Every pixel whose value lies from low to high, both included; NaN is in no range. The image must
/// outlive it.
RowFlags threshold_flags(const image& picture, double low, double high);

}  // namespace vyn
