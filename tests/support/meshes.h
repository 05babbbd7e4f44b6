#pragma once

#include <cmath>
#include <functional>
#include <limits>

#include "api/field_data.h"

namespace vyn::test {

using Mesh = field_data<double>;
using MeshPlace = std::array<double, 3>;

/// Appends a structured zone of ni x nj vertices at the places of (u, v) in 0..1; its quadrangles
/// are two triangles each.
inline void add_patch(Mesh& mesh, const std::string& name, int ni, int nj,
                      const std::function<MeshPlace(double u, double v)>& place) {
    const int first = static_cast<int>(mesh.vertices.size());
    const auto first_triangle = mesh.triangles.size();
    int cell = static_cast<int>(mesh.cell_count());
    for (int j = 0; j < nj; ++j)
        for (int i = 0; i < ni; ++i)
            mesh.vertices.push_back(place(double(i) / (ni - 1), double(j) / (nj - 1)));
    for (int j = 0; j + 1 < nj; ++j)
        for (int i = 0; i + 1 < ni; ++i, ++cell) {
            const int a = first + j * ni + i;
            mesh.triangles.push_back({a, a + 1, a + 1 + ni});
            mesh.triangles.push_back({a, a + 1 + ni, a + ni});
            mesh.cells.insert(mesh.cells.end(), 2, cell);
        }
    mesh.zones.push_back({name, first_triangle, mesh.triangles.size() - first_triangle,
                          static_cast<std::size_t>(first), ni, nj});
}

/// A sphere of radius 1 in one structured zone: both poles are rows of degenerate faces, the seam
/// stands twice.
inline Mesh sphere(int around, int along) {
    Mesh mesh;
    const double pi = std::acos(-1.0);
    add_patch(mesh, "sphere", around + 1, along + 1, [&](double u, double v) {
        return MeshPlace{std::sin(pi * v) * std::cos(2 * pi * u),
                         -std::sin(pi * v) * std::sin(2 * pi * u), std::cos(pi * v)};
    });
    return mesh;
}

/// A cube from 0 to side, one zone for each face, all pointing outward; `n` vertices along an edge.
inline Mesh cube(int n, double side = 1) {
    Mesh mesh;
    for (int axis = 0; axis < 3; ++axis)
        for (int end = 0; end < 2; ++end)
            add_patch(mesh, "xyz"[axis] + std::string(end ? "+" : "-"), n, n,
                      [&](double u, double v) {
                          if (end == 0) std::swap(u, v);
                          MeshPlace p{};
                          const auto k = static_cast<std::size_t>(axis);
                          p[k] = end * side;
                          p[(k + 1) % 3] = u * side;
                          p[(k + 2) % 3] = v * side;
                          return p;
                      });
    return mesh;
}

inline constexpr double not_seen = std::numeric_limits<double>::quiet_NaN();

/// Two zones with odd coordinates, values at nodes and cells that are not all seen, a blanked
/// vertex, unit, view and history.
inline Mesh example_mesh() {
    Mesh mesh;
    add_patch(mesh, "upper, \"left\"", 5, 4, [](double u, double v) {
        return MeshPlace{10 * u, 1.0 / 3 + 7 * v, std::sin(3 * u) * 1e-3};
    });
    add_patch(mesh, "lower", 3, 6, [](double u, double v) {
        return MeshPlace{10 * u - 1e-17, -7 * v - 2, -1e5 * u * v};
    });
    mesh.quantities = {{"Cp", {}, "", Mesh::Place::node}, {"mean", {}, "Pa", Mesh::Place::cell}};
    for (std::size_t i = 0; i < mesh.vertices.size(); ++i)
        mesh.quantities[0].values.push_back(i % 7 == 3 ? not_seen : std::cos(double(i)) / 3);
    for (std::size_t i = 0; i < mesh.cell_count(); ++i)
        mesh.quantities[1].values.push_back(i % 5 == 2 ? not_seen : 1e5 + double(i) / 7);
    mesh.blanked.assign(mesh.vertices.size(), 0);
    mesh.blanked[6] = 1;
    mesh.unit = "sm";
    mesh.history = R"({"mesh": "a <b> & \"c\""})";
    Mesh::View view;
    view.name = "wind_off";
    view.rotation = {1, 0, 0, 0, 0.6, -0.8, 0, 0.8, 0.6};
    view.shift = {1.5, -2.25, 1000.0 / 3};
    view.fx = 1500.5;
    view.fy = 1499.25;
    view.lens = {511.5, 383.5, 1e-8, -2e-15};
    view.field_lens = {512, 384, 2e-8, 0};
    view.width = 1024;
    view.height = 768;
    view.rms = 0.04;
    mesh.views = {view};
    return mesh;
}

/// Equal to the bit, NaN being equal to NaN.
inline bool same_values(const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](double x, double y) {
               return x == y || (std::isnan(x) && std::isnan(y));
           });
}

}  // namespace vyn::test
