#include "render/model/model_painter.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "api/parallel.h"

namespace vyn {

namespace {

using Field = field_data<double>;

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
constexpr int band_rows = 16;

std::uint32_t shaded(std::uint32_t colour, double factor) {
    constexpr double half = 0.5;
    std::uint32_t result = 0xFF000000U;
    for (const int shift : {0, 8, 16}) {
        const auto channel = static_cast<double>(colour >> shift & 0xFFU);
        result |= static_cast<std::uint32_t>(channel * factor + half) << shift;
    }
    return result;
}

/// Halfway between two colours.
std::uint32_t mixed(std::uint32_t a, std::uint32_t b) {
    return 0xFF000000U | (((a & 0xFEFEFEU) >> 1) + ((b & 0xFEFEFEU) >> 1));
}

/// Colours the pixels of one view.
class Painter {
  public:
    Painter(const Field& mesh, const Surface& surface, const VertexNormals& normals,
            const VisibleFaces& faces, const ModelLook& look)
        : mesh_(mesh), surface_(surface), normals_(normals), faces_(faces), look_(look) {
        // In the view: to the right, down and away.
        constexpr Vec3 from_eye{0.35, 0.45, 1};
        const auto& rotation = faces.view().rotation;
        for (std::size_t i = 0; i < 3; ++i)
            light_[i] = (rotation[0][i] * from_eye[0] + rotation[1][i] * from_eye[1] +
                         rotation[2][i] * from_eye[2]) /
                        length(from_eye);
        jump_ = 0.01 * surface.diagonal;
    }

    std::uint32_t colour(int x, int y) const {
        const std::int32_t number = faces_.face(x, y);
        if (number == VisibleFaces::nothing) return look_.background;
        const auto face = static_cast<std::size_t>(number);
        const FaceShares shares = faces_.shares(surface_, face, x, y);
        std::uint32_t result = look_.unseen;
        if (look_.quantity) {
            const double value = value_on_face(mesh_, surface_, *look_.quantity, face, shares);
            if (!std::isnan(value)) {
                result = look_.colours.colour(static_cast<float>(value), false, true);
            }
        }
        if (!look_.patches.empty() && look_.patches[face] != 0)
            result = mixed(result, patch_colour(look_.patches[face]));
        double factor = look_.light ? brightness(face, shares) : 1;
        if (look_.edges && on_edge(face, shares)) factor *= 0.45;
        if (look_.silhouettes && on_silhouette(x, y)) factor *= 0.25;
        return factor < 1 ? shaded(result, factor) : result;
    }

  private:
    /// Of a vertex with several normals that of the face's side.
    const Vec3* normal_of(std::size_t vertex, std::size_t face) const {
        const std::size_t begin = normals_.first[vertex];
        const std::size_t count = normals_.first[vertex + 1] - begin;
        if (count == 0) return nullptr;
        const Vec3* best = &normals_.normals[begin];
        if (count == 1) return best;
        const Vec3 outward = surface_.area_vector(mesh_, face);
        for (std::size_t i = 1; i < count; ++i)
            if (const Vec3* other = &normals_.normals[begin + i];
                dot(*other, outward) > dot(*best, outward))
                best = other;
        return best;
    }

    double brightness(std::size_t face, const FaceShares& shares) const {
        constexpr double ambient = 0.4;
        Vec3 normal{};
        for (std::size_t i = 0; i < 3; ++i)
            if (const Vec3* at =
                    normal_of(static_cast<std::size_t>(surface_.triangles[face][i]), face))
                normal = normal + shares[i] * *at;
        const double size = length(normal);
        const double facing = size > 0 ? std::min(std::abs(dot(normal, light_)) / size, 1.0) : 1;
        return ambient + (1 - ambient) * facing;
    }

    /// Within about half a pixel of an edge between two of the file's cells.
    bool on_edge(std::size_t face, const FaceShares& shares) const {
        constexpr double smallest_height = 4;  // pixels; smaller faces would be all edges
        const auto& corners = surface_.triangles[face];
        std::array<std::array<double, 2>, 3> at;
        for (std::size_t i = 0; i < 3; ++i) {
            const auto vertex = static_cast<std::size_t>(corners[i]);
            if (faces_.is_off(vertex)) return false;
            const ViewVertex& v = faces_.vertex(vertex);
            at[i] = {double{v.x} / v.w, double{v.y} / v.w};
        }
        const double area = std::abs((at[1][0] - at[0][0]) * (at[2][1] - at[0][1]) -
                                     (at[1][1] - at[0][1]) * (at[2][0] - at[0][0]));
        bool near = false;
        for (std::size_t side = 0; side < 3; ++side) {
            const std::size_t next = (side + 1) % 3;
            const double size = std::hypot(at[next][0] - at[side][0], at[next][1] - at[side][1]);
            const double height = size > 0 ? area / size : 0;
            if (height < smallest_height) return false;
            const int other = surface_.neighbour[3 * face + side];
            const bool inner =
                other >= 0 && mesh_.cell_of(face) == mesh_.cell_of(static_cast<std::size_t>(other));
            near |= !inner && shares[(side + 2) % 3] * height < 0.6;
        }
        return near;
    }

    /// Beside the background or something clearly behind.
    bool on_silhouette(int x, int y) const {
        const ModelView& view = faces_.view();
        const double depth = faces_.depth(x, y);
        constexpr std::array<std::array<int, 2>, 4> beside{{{-1, 0}, {1, 0}, {0, -1}, {0, 1}}};
        return std::ranges::any_of(beside, [&](const std::array<int, 2>& step) {
            const int i = x + step[0];
            const int j = y + step[1];
            if (i < 0 || j < 0 || i >= view.width || j >= view.height) return false;
            return faces_.face(i, j) == VisibleFaces::nothing || faces_.depth(i, j) > depth + jump_;
        });
    }

    const Field& mesh_;
    const Surface& surface_;
    const VertexNormals& normals_;
    const VisibleFaces& faces_;
    const ModelLook& look_;
    Vec3 light_{};
    double jump_ = 0;
};

}  // namespace

std::uint32_t patch_colour(std::uint8_t patch) {
    // Apart from each other and from most palettes.
    constexpr std::array<std::uint32_t, 6> colours{0xFFD81B60, 0xFF00897B, 0xFF5E35B1,
                                                   0xFFF4511E, 0xFF3949AB, 0xFF7CB342};
    return colours[(patch + colours.size() - 1) % colours.size()];
}

double value_on_face(const Field& mesh, const Surface& surface, const Field::Quantity& quantity,
                     std::size_t face, const FaceShares& shares) {
    if (quantity.place == Field::Place::cell)
        return quantity.values[static_cast<std::size_t>(mesh.cell_of(face))];
    double value = 0;
    for (std::size_t i = 0; i < 3; ++i)
        value += shares[i] * quantity.values[static_cast<std::size_t>(surface.triangles[face][i])];
    return value;
}

void paint_model(const Field& mesh, const Surface& surface, const VertexNormals& normals,
                 const VisibleFaces& faces, const ModelLook& look, PixelBuffer out,
                 Progress& progress) {
    const Painter painter(mesh, surface, normals, faces, look);
    const ModelView& view = faces.view();
    parallel_rows(view.height, band_rows, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y)
            for (int x = 0; x < view.width; ++x)
                out.pixels[y * out.stride + x] = painter.colour(x, y);
    });
}

std::optional<ModelProbe> probe_model(const Field& mesh, const Surface& surface,
                                      const VisibleFaces& faces, const Field::Quantity* quantity,
                                      int x, int y) {
    const ModelView& view = faces.view();
    if (x < 0 || y < 0 || x >= view.width || y >= view.height) return std::nullopt;
    const std::int32_t number = faces.face(x, y);
    if (number == VisibleFaces::nothing) return std::nullopt;
    ModelProbe probe;
    probe.face = static_cast<std::size_t>(number);
    const FaceShares shares = faces.shares(surface, probe.face, x, y);
    double nearest = -1;
    for (std::size_t i = 0; i < 3; ++i) {
        const auto vertex = static_cast<std::size_t>(surface.triangles[probe.face][i]);
        probe.place = probe.place + shares[i] * mesh.vertices[vertex];
        if (shares[i] <= nearest) continue;
        nearest = shares[i];
        probe.vertex = vertex;
    }
    while (probe.zone + 1 < mesh.zones.size() &&
           probe.face >= mesh.zones[probe.zone].end_triangle())
        ++probe.zone;
    probe.value = quantity ? value_on_face(mesh, surface, *quantity, probe.face, shares) : unknown;
    return probe;
}

}  // namespace vyn
