#include "render/model/visible_faces.h"

#include <algorithm>
#include <cmath>

#include "api/parallel.h"

namespace vyn {

namespace {

constexpr int fineness = 256;    // of positions in a pixel
constexpr double guard = 16000;  // pixels; farther ones would overflow
constexpr int band_rows = 16;
constexpr std::size_t chunk_faces = 32768;
constexpr std::size_t vertex_block = 16384;

using Corner = VisibleFaces::Corner;

PixelPlace place_of(const ViewVertex& vertex) {
    // A call of the library's rounding costs more than all the rest.
    const auto rounded = [](double value) {
        return static_cast<std::int32_t>(value + std::copysign(0.5, value));
    };
    return {rounded(fineness * double{vertex.x} / vertex.w),
            rounded(fineness * double{vertex.y} / vertex.w)};
}

int ceil_pixel(std::int32_t position) {
    return (position + fineness - 1) >> 8;
}
int floor_pixel(std::int32_t position) {
    return position >> 8;
}

/// A face with a corner behind the eye or far outside, cut by the near plane and the guard band
/// (Sutherland and Hodgman 1974).
class CutFace {
  public:
    CutFace(const std::array<Corner, 3>& corners, double near_plane, ModelView::Kind kind)
        : count_(3), perspective_(kind == ModelView::Kind::perspective) {
        std::ranges::copy(corners, polygon_.begin());
        if (perspective_) cut([&](const ViewVertex& v) { return v.w - near_plane; });
        cut([](const ViewVertex& v) { return guard * v.w - v.x; });
        cut([](const ViewVertex& v) { return guard * v.w + v.x; });
        cut([](const ViewVertex& v) { return guard * v.w - v.y; });
        cut([](const ViewVertex& v) { return guard * v.w + v.y; });
        for (std::size_t i = 0; i < count_; ++i)
            polygon_[i].at = place_of(polygon_[i].vertex);
    }
    std::span<const Corner> corners() const { return {polygon_.data(), count_}; }

  private:
    template <class Distance>
    void cut(Distance distance) {
        std::array<Corner, 8> kept;
        std::size_t n = 0;
        for (std::size_t i = 0; i < count_; ++i) {
            const ViewVertex& a = polygon_[i].vertex;
            const ViewVertex& b = polygon_[(i + 1) % count_].vertex;
            const double da = distance(a);
            const double db = distance(b);
            if (da >= 0) kept[n++].vertex = a;
            if ((da >= 0) != (db >= 0)) kept[n++].vertex = between(a, b, da / (da - db));
        }
        polygon_ = kept;
        count_ = n;
    }
    ViewVertex between(const ViewVertex& a, const ViewVertex& b, double share) const {
        const auto mix = [&](float from, float to) {
            return static_cast<float>((1 - share) * from + share * to);
        };
        ViewVertex v;
        v.x = mix(a.x, b.x);
        v.y = mix(a.y, b.y);
        v.w = mix(a.w, b.w);
        v.nearness = perspective_ ? 1 / v.w : mix(a.nearness, b.nearness);
        return v;
    }

    std::array<Corner, 8> polygon_{};
    std::size_t count_;
    bool perspective_;
};

bool must_be_cut(const std::array<Corner, 3>& corners) {
    return std::ranges::any_of(
        corners, [](const Corner& corner) { return corner.at.column == PixelPlace::off; });
}

/// Twice the area that a, b and c span, in 256ths of a pixel squared; exact.
std::int64_t span_of(const PixelPlace& a, const PixelPlace& b, const PixelPlace& c) {
    return std::int64_t{b.column - a.column} * (c.row - a.row) -
           std::int64_t{b.row - a.row} * (c.column - a.column);
}

/// The rows of a picture whose pixels a face may show; none where first > last.
struct RowRange {
    int first;
    int last;
};
RowRange rows_between(std::int32_t left, std::int32_t right, std::int32_t top, std::int32_t bottom,
                      const ModelView& view) {
    const int x0 = std::max(ceil_pixel(left), 0);
    const int x1 = std::min(floor_pixel(right), view.width - 1);
    if (x0 > x1) return {0, -1};
    return {std::max(ceil_pixel(top), 0), std::min(floor_pixel(bottom), view.height - 1)};
}

RowRange rows_of(std::span<const Corner> polygon, const ModelView& view) {
    if (polygon.empty()) return {0, -1};
    const auto column = [](const Corner& corner) { return corner.at.column; };
    const auto row = [](const Corner& corner) { return corner.at.row; };
    const auto [left, right] = std::ranges::minmax(polygon, {}, column);
    const auto [top, bottom] = std::ranges::minmax(polygon, {}, row);
    return rows_between(left.at.column, right.at.column, top.at.row, bottom.at.row, view);
}

}  // namespace

void VisibleFaces::place_vertices(const field_data<double>& mesh, Progress& progress) {
    vertices_.resize(mesh.vertices.size());
    places_.resize(mesh.vertices.size());
    const bool perspective = view_.kind == ModelView::Kind::perspective;
    const auto blocks = static_cast<int>((vertices_.size() + vertex_block - 1) / vertex_block);
    parallel_rows(blocks, 1, progress, [&](int block, int) {
        const std::size_t begin = static_cast<std::size_t>(block) * vertex_block;
        const std::size_t end = std::min(begin + vertex_block, vertices_.size());
        for (std::size_t i = begin; i < end; ++i) {
            const Vec3 place = view_.in_view(mesh.vertices[i]);
            const double w = perspective ? place[2] : 1;
            ViewVertex& vertex = vertices_[i];
            const double x = view_.fx * place[0] + view_.cx * w;
            const double y = view_.fy * place[1] + view_.cy * w;
            vertex.x = static_cast<float>(x);
            vertex.y = static_cast<float>(y);
            vertex.w = static_cast<float>(w);
            vertex.nearness = static_cast<float>(perspective ? 1 / w : -place[2]);
            const bool within =
                w > near_plane_ && std::abs(x) < guard * w && std::abs(y) < guard * w;
            places_[i] = within ? place_of(vertex) : PixelPlace{PixelPlace::off, 0};
        }
    });
}

void VisibleFaces::sort_chunk(const Surface& surface, std::size_t begin, std::size_t end,
                              Bins& bins) const {
    for (auto& bin : bins)
        bin.clear();
    for (std::size_t t = begin; t < end; ++t) {
        if (left_out_[t]) continue;
        const auto& [i, j, k] = surface.triangles[t];
        const PixelPlace a = places_[static_cast<std::size_t>(i)];
        const PixelPlace b = places_[static_cast<std::size_t>(j)];
        const PixelPlace c = places_[static_cast<std::size_t>(k)];
        const std::int32_t left = std::min(std::min(a.column, b.column), c.column);
        const RowRange rows =
            left != PixelPlace::off
                ? rows_between(left, std::max(std::max(a.column, b.column), c.column),
                               std::min(std::min(a.row, b.row), c.row),
                               std::max(std::max(a.row, b.row), c.row), view_)
                : rows_of(
                      CutFace(corners_of(surface.triangles[t]), near_plane_, view_.kind).corners(),
                      view_);
        if (rows.first > rows.last) continue;
        for (int band = rows.first / band_rows; band <= rows.last / band_rows; ++band)
            bins[static_cast<std::size_t>(band)].push_back(static_cast<std::int32_t>(t));
    }
}

std::array<Corner, 3> VisibleFaces::corners_of(const std::array<int, 3>& triangle) const {
    std::array<Corner, 3> corners;
    for (std::size_t i = 0; i < 3; ++i) {
        const auto vertex = static_cast<std::size_t>(triangle[i]);
        corners[i] = {vertices_[vertex], places_[vertex]};
    }
    return corners;
}

void VisibleFaces::draw_face(const std::array<Corner, 3>& corners, std::int32_t number, int y0,
                             int y1) {
    const PixelPlace& a = corners[0].at;
    std::int64_t area = span_of(a, corners[1].at, corners[2].at);
    if (area == 0) return;
    const Corner& second = corners[area > 0 ? 1 : 2];
    const Corner& third = corners[area > 0 ? 2 : 1];
    const PixelPlace& b = second.at;
    const PixelPlace& c = third.at;
    area = std::abs(area);
    const int left = std::max(ceil_pixel(std::min({a.column, b.column, c.column})), 0);
    const int right =
        std::min(floor_pixel(std::max({a.column, b.column, c.column})), view_.width - 1);
    y0 = std::max(ceil_pixel(std::min({a.row, b.row, c.row})), y0);
    y1 = std::min(floor_pixel(std::max({a.row, b.row, c.row})), y1 - 1);
    if (left > right || y0 > y1) return;

    const PixelPlace pixel{left * fineness, y0 * fineness};
    std::array<std::int64_t, 3> start{span_of(b, c, pixel), span_of(c, a, pixel),
                                      span_of(a, b, pixel)};
    const auto step_right = [](const PixelPlace& from, const PixelPlace& to) {
        return -std::int64_t{fineness} * (to.row - from.row);
    };
    const auto step_down = [](const PixelPlace& from, const PixelPlace& to) {
        return std::int64_t{fineness} * (to.column - from.column);
    };
    const std::array<std::int64_t, 3> by_column{step_right(b, c), step_right(c, a),
                                                step_right(a, b)};
    const std::array<std::int64_t, 3> by_row{step_down(b, c), step_down(c, a), step_down(a, b)};
    const double scale = 1 / static_cast<double>(area);
    const std::array<double, 3> near{double{corners[0].vertex.nearness},
                                     double{second.vertex.nearness}, double{third.vertex.nearness}};
    for (int y = y0; y <= y1; ++y) {
        std::array<std::int64_t, 3> edge = start;
        for (int x = left; x <= right; ++x) {
            // Pixels on an edge belong to both its faces: no gap, and the nearer or first one wins.
            if ((edge[0] | edge[1] | edge[2]) >= 0) {
                const auto nearness =
                    static_cast<float>(scale * (static_cast<double>(edge[0]) * near[0] +
                                                static_cast<double>(edge[1]) * near[1] +
                                                static_cast<double>(edge[2]) * near[2]));
                if (nearness > nearness_(x, y)) {
                    nearness_(x, y) = nearness;
                    face_(x, y) = number;
                }
            }
            for (std::size_t i = 0; i < 3; ++i)
                edge[i] += by_column[i];
        }
        for (std::size_t i = 0; i < 3; ++i)
            start[i] += by_row[i];
    }
}

void VisibleFaces::draw_band(const Surface& surface, int band) {
    const int y0 = band * band_rows;
    const int y1 = std::min(y0 + band_rows, view_.height);
    for (int y = y0; y < y1; ++y) {
        std::fill_n(face_.row(y), view_.width, nothing);
        std::fill_n(nearness_.row(y), view_.width, -std::numeric_limits<float>::infinity());
    }
    for (const Bins& bins : chunks_)
        for (const std::int32_t number : bins[static_cast<std::size_t>(band)]) {
            const auto corners = corners_of(surface.triangles[static_cast<std::size_t>(number)]);
            if (!must_be_cut(corners)) {
                draw_face(corners, number, y0, y1);
                continue;
            }
            const CutFace cut(corners, near_plane_, view_.kind);
            const auto polygon = cut.corners();
            for (std::size_t i = 2; i < polygon.size(); ++i)
                draw_face({polygon[0], polygon[i - 1], polygon[i]}, number, y0, y1);
        }
}

void VisibleFaces::draw(const field_data<double>& mesh, const Surface& surface,
                        const ModelView& view, std::span<const std::uint8_t> hidden_zones,
                        Progress& progress) {
    view_ = view;
    constexpr double nearest = 1e-4;  // of the diagonal
    near_plane_ = view.kind == ModelView::Kind::perspective ? nearest * surface.diagonal : 0;
    if (face_.width() != view.width || face_.height() != view.height) {
        face_ = Bitmap<std::int32_t>(view.width, view.height);
        nearness_ = Bitmap<float>(view.width, view.height);
    }
    const std::size_t faces = surface.triangles.size();
    left_out_.resize(faces);
    for (std::size_t t = 0; t < faces; ++t)
        left_out_[t] = surface.counts[t] == 0;
    for (std::size_t z = 0; z < mesh.zones.size() && z < hidden_zones.size(); ++z)
        if (hidden_zones[z])
            std::fill_n(
                left_out_.begin() + static_cast<std::ptrdiff_t>(mesh.zones[z].first_triangle),
                mesh.zones[z].triangle_count, std::uint8_t{1});
    place_vertices(mesh, progress);

    const int bands = (view.height + band_rows - 1) / band_rows;
    chunks_.resize((faces + chunk_faces - 1) / chunk_faces);
    for (Bins& bins : chunks_)
        bins.resize(static_cast<std::size_t>(bands));
    parallel_rows(static_cast<int>(chunks_.size()), 1, progress, [&](int chunk, int) {
        const std::size_t begin = static_cast<std::size_t>(chunk) * chunk_faces;
        sort_chunk(surface, begin, std::min(begin + chunk_faces, faces),
                   chunks_[static_cast<std::size_t>(chunk)]);
    });
    parallel_rows(bands, 1, progress, [&](int band, int) { draw_band(surface, band); });
}

FaceShares VisibleFaces::shares(const Surface& surface, std::size_t face, double x,
                                double y) const {
    std::array<std::array<double, 2>, 3> corner;
    for (std::size_t i = 0; i < 3; ++i) {
        const ViewVertex& v = vertices_[static_cast<std::size_t>(surface.triangles[face][i])];
        corner[i] = {v.x - x * v.w, v.y - y * v.w};
    }
    const auto spanned = [&](std::size_t i, std::size_t j) {
        return corner[i][0] * corner[j][1] - corner[i][1] * corner[j][0];
    };
    const FaceShares spans{spanned(1, 2), spanned(2, 0), spanned(0, 1)};
    const double sum = spans[0] + spans[1] + spans[2];
    if (sum == 0) return {1, 0, 0};
    return {spans[0] / sum, spans[1] / sum, spans[2] / sum};
}

}  // namespace vyn
