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

}  // namespace vyn
