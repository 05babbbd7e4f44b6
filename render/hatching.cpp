#include "render/hatching.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vyn {

std::vector<Stroke> hatch_strokes(const Hatching& hatching, const ViewRectangle& rectangle,
                                  int distance) {
    std::vector<Stroke> strokes;
    if (!hatching.shown()) return strokes;
    const Bitmap<float>& values = hatching.sigma->values();
    const Bitmap<std::uint8_t>& mask = hatching.sigma->mask();
    // Of the image, by screen pixel.
    const auto places = [&](double origin, int count) {
        std::vector<int> seen(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i)
            seen[static_cast<std::size_t>(i)] =
                static_cast<int>(std::floor(origin + (i + 0.5) / rectangle.zoom + 0.5));
        return seen;
    };
    const std::vector<int> columns = places(rectangle.x, rectangle.width);
    const std::vector<int> rows = places(rectangle.y, rectangle.height);
    const auto above = [&](int x, int y) {
        const int column = columns[static_cast<std::size_t>(x)];
        const int row = rows[static_cast<std::size_t>(y)];
        return values.contains(column, row) && mask(column, row) == 0 &&
               double{values(column, row)} > hatching.limit;
    };
    // Along each diagonal x + y = sum from its upper end on.
    for (int sum = 0; sum <= rectangle.width + rectangle.height - 2; sum += distance) {
        const int last = std::min(sum, rectangle.height - 1);
        int begin = -1;
        for (int y = std::max(0, sum - rectangle.width + 1); y <= last + 1; ++y) {
            const bool inside = y <= last && above(sum - y, y);
            if (inside && begin < 0) begin = y;
            if (inside || begin < 0) continue;
            strokes.push_back(
                {{double(sum - begin + 1), double(begin)}, {double(sum - y + 1), double(y)}});
            begin = -1;
        }
    }
    return strokes;
}

HatchDrawing hatch_drawing(const Hatching& hatching, const ViewRectangle& field, double letters) {
    constexpr int least = 7;  // pixels between lines of one pixel, as the viewer draws them
    const int distance = std::max(least, static_cast<int>(std::lround(0.5 * letters)));
    return {hatch_strokes(hatching, field, distance), distance / (least * std::numbers::sqrt2)};
}

void draw_hatching(const HatchDrawing& hatching, Canvas& canvas) {
    canvas.stroke(hatching.strokes, hatching.pen, {0, 0, 0});
    std::vector<Stroke> beside = hatching.strokes;
    for (Stroke& stroke : beside)
        for (Point& place : stroke)
            place.x += hatching.pen * std::numbers::sqrt2;
    canvas.stroke(beside, hatching.pen, {255, 255, 255});
}

}  // namespace vyn
