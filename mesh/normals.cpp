#include "mesh/normals.h"

#include <algorithm>
#include <numbers>
#include <numeric>

namespace vyn {

namespace {

const double sharp_cosine = std::cos(std::numbers::pi / 4);

/// Corners (3 by triangle) joined into the smooth neighbourhoods of a vertex.
class CornerGroups {
  public:
    explicit CornerGroups(std::size_t corners) : parent_(corners) {
        std::iota(parent_.begin(), parent_.end(), std::size_t{0});
    }
    std::size_t root(std::size_t corner) {
        while (parent_[corner] != corner)
            corner = parent_[corner] = parent_[parent_[corner]];
        return corner;
    }
    /// The lower number becomes the root, whatever the order of the calls.
    void join(std::size_t a, std::size_t b) {
        a = root(a);
        b = root(b);
        parent_[std::max(a, b)] = std::min(a, b);
    }

  private:
    std::vector<std::size_t> parent_;
};

}  // namespace

VertexNormals vertex_normals(const field_data<double>& mesh, const Surface& surface) {
    const std::size_t triangles = surface.triangles.size();
    std::vector<Vec3> area(triangles);
    std::vector<int> zone_of(triangles, -1);
    for (std::size_t z = 0; z < mesh.zones.size(); ++z)
        for (auto t = mesh.zones[z].first_triangle; t < mesh.zones[z].end_triangle(); ++t)
            zone_of[t] = static_cast<int>(z);
    for (std::size_t t = 0; t < triangles; ++t)
        if (surface.counts[t]) area[t] = surface.area_vector(mesh, t);

    const auto place_at = [&](std::size_t t, std::size_t corner) {
        return surface.place[static_cast<std::size_t>(surface.triangles[t][corner])];
    };
    CornerGroups groups(3 * triangles);
    for (std::size_t t = 0; t < triangles; ++t)
        for (std::size_t side = 0; side < 3; ++side) {
            const int other = surface.neighbour[3 * t + side];
            if (other <= static_cast<int>(t)) continue;
            const auto u = static_cast<std::size_t>(other);
            const double cosine = dot(area[t], area[u]) / (length(area[t]) * length(area[u]));
            if (zone_of[t] != zone_of[u] || cosine < sharp_cosine) continue;
            for (const std::size_t corner : {side, (side + 1) % 3})
                for (std::size_t c = 0; c < 3; ++c)
                    if (place_at(u, c) == place_at(t, corner))
                        groups.join(3 * t + corner, 3 * u + c);
        }

    std::vector<Vec3> sum(3 * triangles);
    for (std::size_t i = 0; i < 3 * triangles; ++i)
        if (surface.counts[i / 3]) {
            Vec3& total = sum[groups.root(i)];
            total = total + area[i / 3];
        }

    // Each vertex's groups, once each, in the order of their roots.
    const std::size_t vertices = mesh.vertices.size();
    std::vector<std::size_t> next(vertices + 1, 0);
    const auto for_corners = [&](const auto& each) {
        for (std::size_t t = 0; t < triangles; ++t)
            if (surface.counts[t])
                for (std::size_t c = 0; c < 3; ++c)
                    each(static_cast<std::size_t>(surface.triangles[t][c]), 3 * t + c);
    };
    for_corners([&](std::size_t vertex, std::size_t) { ++next[vertex + 1]; });
    std::partial_sum(next.begin(), next.end(), next.begin());
    std::vector<std::size_t> uses(next.back());
    for_corners([&](std::size_t vertex, std::size_t corner) {
        uses[next[vertex]++] = groups.root(corner);
    });
    VertexNormals result;
    result.first.assign(vertices + 1, 0);
    auto first = uses.begin();
    for (std::size_t vertex = 0; vertex < vertices; ++vertex) {
        // Filling has moved each start to its end.
        const auto last = uses.begin() + static_cast<std::ptrdiff_t>(next[vertex]);
        std::sort(first, last);
        for (auto group = first; group != last; ++group) {
            const double size = length(sum[*group]);
            // Twice the same, or faces back to back.
            if ((group != first && *group == group[-1]) || !(size > 0)) continue;
            result.normals.push_back((1 / size) * sum[*group]);
            ++result.first[vertex + 1];
        }
        first = last;
    }
    std::partial_sum(result.first.begin(), result.first.end(), result.first.begin());
    return result;
}

}  // namespace vyn
