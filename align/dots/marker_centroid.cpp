#include "align/dots/marker_centroid.h"

#include <algorithm>
#include <cmath>

#include "align/dots/surface_fit.h"
#include "core/log.h"

namespace vyn {

namespace {

/// No image reaches further; corners beyond become this, so that they fit an integer.
constexpr double corner_limit = 1e9;

int to_corner(double position) {
    return static_cast<int>(std::clamp(position, -corner_limit, corner_limit));
}

bool failed(const char* text) {
    get_log().write(LogLevel::information, text);
    return false;
}

}  // namespace

bool Precise_centroid(const image& picture, Point& point, int size) {
    if (!std::isfinite(point.x) || !std::isfinite(point.y))
        return failed("Approx_surface:Can't find LSQ fit");
    const int half = size / 2;
    SurfaceCoefficients c{};
    if (!Approx_surface(picture, {to_corner(point.x - half), to_corner(point.y - half)},
                        {to_corner(point.x + half), to_corner(point.y + half)}, c))
        return false;
    if (c[3] * c[4] < 0) return failed("Precise_centroid: no extremal point");

    const double determinant = 4 * c[3] * c[4] - c[5] * c[5];
    const Point extremum{(-2 * c[4] * c[1] + c[5] * c[2]) / determinant,
                         (-2 * c[3] * c[2] + c[5] * c[1]) / determinant};
    if (determinant == 0 || !std::isfinite(extremum.x) || !std::isfinite(extremum.y))
        return failed("Precise_centroid:Can't solve the equation");
    if (std::hypot(extremum.x - point.x, extremum.y - point.y) > size)
        return failed("Precise_centroid:extreem is beyound scope");
    point = extremum;
    return true;
}

bool refine_marker(const image& picture, Point& point, int size, DotPolarity polarity,
                   MarkerRefinement refinement) {
    if (refinement == MarkerRefinement::surface) return Precise_centroid(picture, point, size);
    const std::optional<DotFit> fit = fit_dot(picture, point, size / 2.0, polarity);
    if (!fit) return false;
    point = fit->centre;
    return true;
}

std::vector<std::int32_t> refine_markers(const image& picture, MarkerSet& set, int size,
                                         DotPolarity polarity, MarkerRefinement refinement,
                                         Progress& progress) {
    std::vector<std::int32_t> stayed;
    double done = 0;
    for (Marker& marker : set.markers) {
        throw_if_aborted(progress);
        progress.fraction(done++ / static_cast<double>(set.markers.size()));
        if (!marker.active) continue;
        Point point{marker.x, marker.y};
        if (refine_marker(picture, point, size, polarity, refinement)) {
            marker.x = point.x;
            marker.y = point.y;
        } else {
            stayed.push_back(marker.id);
        }
    }
    return stayed;
}

}  // namespace vyn
