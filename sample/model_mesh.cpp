#include "sample/model_mesh.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <string>

#include "api/parallel.h"

namespace vyn {

namespace {

using Part = SurfacePlace::Part;

constexpr double surface_area = 640000;  // mm^2, about, with what its rows are closer at the edges
constexpr int node_block = 1024;

/// Which corner order of the quadrangles points outward.
enum class Turn { as_numbered, against };

class Builder {
  public:
    explicit Builder(ModelMesh& model) : model_(model) {}

    /// The places of (u, v) in 0..1, u running fastest.
    void zone(const std::string& name, int ni, int nj, Turn turn,
              const std::function<SurfacePlace(double u, double v)>& place) {
        field_data<double>& mesh = model_.mesh;
        const int first = static_cast<int>(mesh.vertices.size());
        const std::size_t first_triangle = mesh.triangles.size();
        for (int j = 0; j < nj; ++j)
            for (int i = 0; i < ni; ++i) {
                model_.places.push_back(place(double(i) / (ni - 1), double(j) / (nj - 1)));
                mesh.vertices.push_back(model_.places.back().place);
            }
        for (int j = 0; j + 1 < nj; ++j)
            for (int i = 0; i + 1 < ni; ++i, ++cell_) {
                const int a = first + j * ni + i;
                int b = a + 1;
                int d = a + ni;
                if (turn == Turn::against) std::swap(b, d);
                const int c = a + 1 + ni;
                mesh.triangles.push_back({a, b, c});
                mesh.triangles.push_back({a, c, d});
                mesh.cells.insert(mesh.cells.end(), 2, cell_);
            }
        mesh.zones.push_back({name, first_triangle, mesh.triangles.size() - first_triangle,
                              static_cast<std::size_t>(first), ni, nj});
    }

  private:
    ModelMesh& model_;
    int cell_ = 0;
};

/// Closer together at both ends, as round edges and noses ask for.
double between_edges(double u) {
    return (1 - std::cos(std::numbers::pi * u)) / 2;
}

SurfacePlace wing_node(double chordwise, double root, double v, double side, Part part) {
    const double y =
        v >= 1 ? model_shape::half_span
               : root + (model_shape::half_span - root) * std::sin(std::numbers::pi / 2 * v);
    return {part, model_shape::wing_place(chordwise, side * y, part), chordwise,
            side * y / model_shape::half_span};
}

}  // namespace

ModelMesh model_mesh(int nodes) {
    ModelMesh model;
    model.mesh.unit = "mm";
    Builder builder(model);
    const double step = std::sqrt(surface_area / nodes);
    const auto rows = [&](double mm) { return std::max(4, static_cast<int>(mm / step) + 1); };
    builder.zone(
        "body", rows(2 * std::numbers::pi * model_shape::body_radius),
        rows(1.1 * model_shape::body_length), Turn::against, [](double u, double v) {
            // The seam is below.
            const double angle = std::numbers::pi * (1 + 2 * u);
            const double along = between_edges(v);
            return SurfacePlace{Part::body, model_shape::body_place(along, angle), along, 0};
        });
    const int along_chord = rows(250);
    std::vector<double> roots;
    roots.reserve(static_cast<std::size_t>(along_chord));
    for (int i = 0; i < along_chord; ++i)
        roots.push_back(model_shape::wing_root(between_edges(double(i) / (along_chord - 1))));
    for (const double side : {1.0, -1.0})
        for (const Part part : {Part::upper, Part::lower}) {
            const bool upper = part == Part::upper;
            builder.zone(
                std::string(side > 0 ? "starboard" : "port") + (upper ? " upper" : " lower"),
                along_chord, rows(560), (side > 0) == upper ? Turn::as_numbered : Turn::against,
                [&](double u, double v) {
                    const double root =
                        roots[static_cast<std::size_t>(std::lround(u * (along_chord - 1)))];
                    return wing_node(between_edges(u), root, v, side, part);
                });
        }
    return model;
}

NodeView view_nodes(const ModelMesh& mesh, const ModelCamera& camera, Progress& progress) {
    /// Places that lie as much nearer than the tangent plane hide it; those farther are past an
    /// edge.
    const double nearer = 2 * camera.mm_per_pixel();
    constexpr double least_cosine = 0.08;  // closer to the silhouette all is doubt
    const std::size_t count = mesh.places.size();
    NodeView view{std::vector<double>(count), std::vector<double>(count)};
    const Vec3 centre = camera.centre();
    const auto look = [&](std::size_t i) {
        const SurfacePlace& at = mesh.places[i];
        const Vec3 sight = centre - at.place;
        const Vec3 normal = model_shape::normal_at(at);
        const double cosine = dot(normal, sight) / length(sight);
        view.angle[i] = std::acos(std::clamp(cosine, -1.0, 1.0)) * 180 / std::numbers::pi;
        view.seen[i] = cosine < 0 ? 0 : 0.5;
        if (std::abs(cosine) < least_cosine) view.seen[i] = 0.5;
        if (cosine < least_cosine) return;
        const Point pixel = camera.ideal(at.place);
        int hidden = 0;
        int missed = 0;
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx) {
                const ModelRay ray = camera.ray({pixel.x + dx, pixel.y + dy});
                const double plane = -dot(normal, sight) / dot(normal, ray.direction);
                const auto hit = model_shape::nearest_hit(ray, 0);
                hidden += hit && hit->distance < plane - nearer;
                missed += !hit || hit->distance > plane + nearer;
            }
        const Point raw = camera.raw(at.place);
        const bool inside = raw.x > 1 && raw.y > 1 && raw.x < camera.pinhole.width - 2 &&
                            raw.y < camera.pinhole.height - 2;
        if (hidden == 9 || !inside) view.seen[i] = 0;
        if (hidden == 0 && missed == 0 && inside) view.seen[i] = 1;
    };
    const auto blocks = static_cast<int>((count + node_block - 1) / node_block);
    parallel_rows(blocks, 1, progress, [&](int b0, int b1) {
        const std::size_t end = std::min(count, static_cast<std::size_t>(b1) * node_block);
        for (std::size_t i = static_cast<std::size_t>(b0) * node_block; i < end; ++i)
            look(i);
    });
    return view;
}

}  // namespace vyn
