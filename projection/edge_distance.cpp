#include "projection/edge_distance.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "api/parallel.h"

namespace vyn {

namespace {

constexpr float farthest = 255;

/// Squared distances along one line from squared distances across it: the lower envelope of
/// parabolas.
void transform_line(std::vector<double>& line, std::vector<int>& vertex,
                    std::vector<double>& border) {
    const int n = static_cast<int>(line.size());
    const std::vector<double> f = line;
    const auto at = [&](int i) { return f[static_cast<std::size_t>(i)]; };
    int k = 0;
    vertex[0] = 0;
    border[0] = -std::numeric_limits<double>::infinity();
    border[1] = std::numeric_limits<double>::infinity();
    for (int q = 1; q < n; ++q) {
        double s = 0;
        while (true) {
            const int v = vertex[static_cast<std::size_t>(k)];
            s = ((at(q) + double(q) * q) - (at(v) + double(v) * v)) / (2.0 * (q - v));
            if (k == 0 || s > border[static_cast<std::size_t>(k)]) break;
            --k;
        }
        ++k;
        vertex[static_cast<std::size_t>(k)] = q;
        border[static_cast<std::size_t>(k)] = s;
        border[static_cast<std::size_t>(k) + 1] = std::numeric_limits<double>::infinity();
    }
    k = 0;
    for (int q = 0; q < n; ++q) {
        while (border[static_cast<std::size_t>(k) + 1] < q)
            ++k;
        const double d = q - vertex[static_cast<std::size_t>(k)];
        line[static_cast<std::size_t>(q)] = d * d + at(vertex[static_cast<std::size_t>(k)]);
    }
}

void draw_line(Bitmap<std::uint8_t>& edges, Point a, Point b) {
    // What lies far outside of the picture needs no pixels.
    const double most = 4.0 * (edges.width() + edges.height());
    const double size = std::max(std::abs(b.x - a.x), std::abs(b.y - a.y));
    if (!(size < most)) return;
    const int steps = static_cast<int>(std::ceil(size)) + 1;
    for (int i = 0; i <= steps; ++i) {
        const double t = double(i) / steps;
        const double x = std::round(a.x + t * (b.x - a.x));
        const double y = std::round(a.y + t * (b.y - a.y));
        if (!(x >= 0 && y >= 0 && x < edges.width() && y < edges.height())) continue;
        edges(static_cast<int>(x), static_cast<int>(y)) = 1;
    }
}

void draw_silhouettes(const ViewGeometry& geometry, const PreparedMesh& prepared,
                      Bitmap<std::uint8_t>& edges) {
    const Surface& surface = prepared.surface;
    const auto vertex = [&](int number) -> const Vec3& {
        return prepared.mesh.vertices[static_cast<std::size_t>(number)];
    };
    std::vector<std::uint8_t> facing(surface.triangles.size());
    for (std::size_t t = 0; t < surface.triangles.size(); ++t)
        facing[t] = dot(surface.area_vector(prepared.mesh, t),
                        geometry.centre() - vertex(surface.triangles[t][0])) > 0;
    for (std::size_t t = 0; t < surface.triangles.size(); ++t) {
        if (!surface.counts[t]) continue;
        for (std::size_t side = 0; side < 3; ++side) {
            const int other = surface.neighbour[3 * t + side];
            const bool silhouette =
                other < 0 || (facing[t] && !facing[static_cast<std::size_t>(other)]);
            if (!silhouette) continue;
            const auto a = geometry.pixel(vertex(surface.triangles[t][side]));
            const auto b = geometry.pixel(vertex(surface.triangles[t][(side + 1) % 3]));
            if (a && b) draw_line(edges, *a, *b);
        }
    }
}

}  // namespace

Bitmap<float> edge_distance(const FieldSampler& sampler, const ViewGeometry& geometry,
                            const PreparedMesh& prepared, int width, int height,
                            Progress& progress) {
    Bitmap<std::uint8_t> edges(width, height, 0);
    draw_silhouettes(geometry, prepared, edges);
    Bitmap<float> squares(width, height);
    parallel_rows(width, 64, progress, [&](int x0, int x1) {
        std::vector<double> line(static_cast<std::size_t>(height) + 2);
        std::vector<int> vertex(line.size());
        std::vector<double> border(line.size() + 1);
        for (int x = x0; x < x1; ++x) {
            line.front() = line.back() = 0;  // outside of the picture
            for (int y = 0; y < height; ++y)
                line[static_cast<std::size_t>(y) + 1] =
                    edges(x, y) || !sampler.valid(x, y) ? 0 : farthest * double{farthest};
            transform_line(line, vertex, border);
            for (int y = 0; y < height; ++y)
                squares(x, y) = static_cast<float>(line[static_cast<std::size_t>(y) + 1]);
        }
    });
    parallel_rows(height, 64, progress, [&](int y0, int y1) {
        std::vector<double> line(static_cast<std::size_t>(width) + 2);
        std::vector<int> vertex(line.size());
        std::vector<double> border(line.size() + 1);
        for (int y = y0; y < y1; ++y) {
            line.front() = line.back() = 0;
            for (int x = 0; x < width; ++x)
                line[static_cast<std::size_t>(x) + 1] = static_cast<double>(squares(x, y));
            transform_line(line, vertex, border);
            for (int x = 0; x < width; ++x)
                squares(x, y) = std::min(
                    farthest, static_cast<float>(std::sqrt(line[static_cast<std::size_t>(x) + 1])));
        }
    });
    return squares;
}

}  // namespace vyn
