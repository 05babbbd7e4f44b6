#include "align/correlation/cell_view.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "align/correlation/cell_search.h"
#include "align/correlation/masked_plane.h"
#include "align/correlation/subpixel_peak.h"

namespace vyn {

namespace {

constexpr double least_share = 0.5;

/// The pixels (x0, y0) and on; nothing when they reach out of the picture.
std::optional<image> cut_out(const image& picture, int x0, int y0, int side) {
    if (x0 < 0 || y0 < 0 || x0 + side > picture.width() || y0 + side > picture.height())
        return std::nullopt;
    image part(side, side);
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            part.values()(x, y) = picture.values()(x0 + x, y0 + y);
            part.mask()(x, y) = picture.mask()(x0 + x, y0 + y);
        }
    return part;
}

struct Contrast {
    Bitmap<float> plane;
    Bitmap<std::uint8_t> used;
};

/// The contrast of the inner pixels of a part of a picture, which leaves out `border` on each side.
Contrast contrast_of(const image& part, int cell, int border) {
    Progress silent;
    const MaskedPlane usable =
        usable_pixels(part, -std::numeric_limits<float>::infinity(), std::max(cell / 4, 1), silent);
    const Bitmap<float> whole = contrast_plane(usable, cell, 0, silent);
    const int side = part.width() - 2 * border;
    Contrast inner{Bitmap<float>(side, side), Bitmap<std::uint8_t>(side, side)};
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            inner.plane(x, y) = whole(x + border, y + border);
            inner.used(x, y) = usable.valid(x + border, y + border);
        }
    return inner;
}

/// Zero-mean normalised correlation of the cell with the part of the window at (x0, y0), over the
/// pixels that both can use; 0 where these are too few.
double correlation(const Contrast& cell, const Contrast& window, int x0, int y0) {
    const int side = cell.plane.width();
    double n = 0, a = 0, b = 0, aa = 0, bb = 0, ab = 0;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            if (!cell.used(x, y) || !window.used(x0 + x, y0 + y)) continue;
            const auto p = static_cast<double>(cell.plane(x, y));
            const auto q = static_cast<double>(window.plane(x0 + x, y0 + y));
            n += 1;
            a += p;
            b += q;
            aa += p * p;
            bb += q * q;
            ab += p * q;
        }
    if (n < least_share * side * side) return 0;
    const double scatter = (aa - a * a / n) * (bb - b * b / n);
    return scatter > 0 ? (ab - a * b / n) / std::sqrt(scatter) : 0;
}

}  // namespace

std::optional<CellView> view_cell(const image& off, const image& on, Point place, Point guess,
                                  int side, int radius) {
    off.check_planes();
    on.check_planes();
    const auto corner = [&](double at) { return static_cast<int>(std::lround(at)) - side / 2; };
    const int border = side;  // what the local mean looks at
    const auto off_part =
        cut_out(off, corner(place.x) - border, corner(place.y) - border, 3 * side);
    const int reach = border + radius;
    const auto on_part = cut_out(on, corner(place.x + guess.x) - reach,
                                 corner(place.y + guess.y) - reach, 3 * side + 2 * radius);
    if (!off_part || !on_part) return std::nullopt;
    Contrast cell = contrast_of(*off_part, side, border);
    Contrast window = contrast_of(*on_part, side, border);
    if (static_cast<double>(count_set(cell.used)) < least_share * side * side) return std::nullopt;

    CorrelationSurface surface(radius);
    CellView view;
    view.surface = Bitmap<float>(surface.side(), surface.side());
    for (int r = 0; r < surface.side(); ++r)
        for (int c = 0; c < surface.side(); ++c) {
            surface.at(c, r) = correlation(cell, window, c, r);
            view.surface(c, r) = static_cast<float>(surface.at(c, r));
        }
    view.verdict = surface.judge(view.peak);
    if (view.verdict == PeakVerdict::clear) {
        const auto [column, row, height, rival] = view.peak;
        view.displacement = {
            std::round(place.x + guess.x) - std::round(place.x) + column - radius +
                subpixel_peak(surface.at(column - 1, row), height, surface.at(column + 1, row)),
            std::round(place.y + guess.y) - std::round(place.y) + row - radius +
                subpixel_peak(surface.at(column, row - 1), height, surface.at(column, row + 1))};
    }
    view.cell = std::move(cell.plane);
    view.window = std::move(window.plane);
    return view;
}

}  // namespace vyn
