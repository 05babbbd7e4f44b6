#include "render/model/model_view.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace vyn {

namespace {

/// Smallest and largest of a coordinate.
struct Extent {
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    void take(double value) {
        low = std::min(low, value);
        high = std::max(high, value);
    }
    double middle() const { return (low + high) / 2; }
    double size() const { return high - low; }
};

}  // namespace

ModelView view_from(double azimuth, double elevation, const field_data<double>& mesh, int width,
                    int height) {
    constexpr double degree = std::numbers::pi / 180;
    constexpr double filled = 0.9;  // of the picture
    const double a = azimuth * degree;
    const double e = elevation * degree;
    ModelView view;
    view.width = width;
    view.height = height;
    const Vec3 away{std::cos(a) * std::cos(e), -std::sin(a) * std::cos(e), -std::sin(e)};
    const Vec3 right{-std::sin(a), -std::cos(a), 0};
    view.rotation = {right, cross(away, right), away};
    std::array<Extent, 3> extents;
    for (const auto& triangle : mesh.triangles)
        for (const int vertex : triangle) {
            const Vec3 place = view.in_view(mesh.vertices[static_cast<std::size_t>(vertex)]);
            for (std::size_t i = 0; i < 3; ++i)
                extents[i].take(place[i]);
        }
    if (mesh.triangles.empty()) return view;
    view.shift = {-extents[0].middle(), -extents[1].middle(), -extents[2].low};
    const double scale = filled * std::min(width / std::max(extents[0].size(), 1e-300),
                                           height / std::max(extents[1].size(), 1e-300));
    view.fx = view.fy = std::isfinite(scale) ? scale : 1;
    view.cx = (width - 1) / 2.0;
    view.cy = (height - 1) / 2.0;
    return view;
}

ModelView view_of_camera(const field_data<double>::View& camera, double mm_per_unit, double zoom) {
    ModelView view;
    view.kind = ModelView::Kind::perspective;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t i = 0; i < 3; ++i)
            view.rotation[row][i] = camera.rotation[3 * row + i];
        view.shift[row] = camera.shift[row] / mm_per_unit;
    }
    view.fx = zoom * camera.fx;
    view.fy = zoom * camera.fy;
    // A pixel covers half a pixel to each side of its centre.
    view.cx = zoom * (camera.lens.cx + 0.5) - 0.5;
    view.cy = zoom * (camera.lens.cy + 0.5) - 0.5;
    view.width = std::max(1, static_cast<int>(std::lround(zoom * camera.width)));
    view.height = std::max(1, static_cast<int>(std::lround(zoom * camera.height)));
    return view;
}

ModelView turned(ModelView view, const Vec3& pivot, double around, double over) {
    constexpr double degree = std::numbers::pi / 180;
    const double ca = std::cos(around * degree);
    const double sa = std::sin(around * degree);
    const double co = std::cos(over * degree);
    const double so = std::sin(over * degree);
    const Vec3 stays = view.in_view(pivot);
    for (Vec3& row : view.rotation)
        row = {row[0] * ca + row[1] * sa, row[1] * ca - row[0] * sa, row[2]};
    const Vec3 down = view.rotation[1];
    const Vec3 away = view.rotation[2];
    view.rotation[1] = co * down - so * away;
    view.rotation[2] = so * down + co * away;
    for (std::size_t i = 0; i < 3; ++i)
        view.shift[i] = stays[i] - dot(view.rotation[i], pivot);
    return view;
}

ModelView panned(ModelView view, double dx, double dy) {
    view.cx += dx;
    view.cy += dy;
    return view;
}

ModelView zoomed(ModelView view, double factor, double x, double y) {
    view.fx *= factor;
    view.fy *= factor;
    view.cx = x + (view.cx - x) * factor;
    view.cy = y + (view.cy - y) * factor;
    return view;
}

ModelView resized(ModelView view, int width, int height) {
    const double factor = std::min(static_cast<double>(width) / std::max(view.width, 1),
                                   static_cast<double>(height) / std::max(view.height, 1));
    const double x = (view.width - 1) / 2.0;
    const double y = (view.height - 1) / 2.0;
    view = panned(zoomed(view, factor, x, y), (width - 1) / 2.0 - x, (height - 1) / 2.0 - y);
    view.width = width;
    view.height = height;
    return view;
}

std::optional<std::array<double, 2>> pixel_of(const ModelView& view, const Vec3& place) {
    const Vec3 p = view.in_view(place);
    const double w = view.kind == ModelView::Kind::perspective ? p[2] : 1;
    if (!(w > 0)) return std::nullopt;
    return std::array<double, 2>{view.fx * p[0] / w + view.cx, view.fy * p[1] / w + view.cy};
}

}  // namespace vyn
