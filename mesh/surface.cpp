#include "mesh/surface.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "core/errors.h"
#include "core/numbers.h"
#include "mesh/places.h"

namespace vyn {

namespace {

using Field = field_data<double>;

/// Of the mesh's diagonal.
constexpr double place_tolerance = 1e-9;
/// A triangle whose height is below this share of its longest edge has no normal worth the name.
constexpr double flat_share = 1e-12;
/// A piece whose area vectors add up to less than this share of its area is closed but for holes:
/// 0 when closed, 0.2 for a box without a lid, 0.5 for a hemisphere, 1 for a plane.
constexpr double open_share = 0.25;

void find_extent(const Field& mesh, Surface& surface) {
    Vec3 low = mesh.vertices.front();
    Vec3 high = low;
    for (const Vec3& vertex : mesh.vertices)
        for (std::size_t i = 0; i < 3; ++i) {
            low[i] = std::min(low[i], vertex[i]);
            high[i] = std::max(high[i], vertex[i]);
        }
    surface.diagonal = length(high - low);
    surface.middle = 0.5 * (low + high);
}

bool is_degenerate(const Field& mesh, const Surface& surface, std::size_t t) {
    const auto& corners = mesh.triangles[t];
    double longest = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        const auto a = static_cast<std::size_t>(corners[i]);
        const auto b = static_cast<std::size_t>(corners[(i + 1) % 3]);
        if (surface.place[a] == surface.place[b]) return true;
        longest = std::max(longest, length(mesh.vertices[b] - mesh.vertices[a]));
    }
    return length(surface.area_vector(mesh, t)) <= flat_share * longest * longest;
}

/// One side of a triangle, under its edge: the lower and the higher of the places at its ends.
struct Side {
    std::uint32_t low;
    std::uint32_t high;
    std::uint32_t triangle;
    std::uint8_t corner;   ///< the side runs from this corner to the next
    std::uint8_t falling;  ///< from the higher place to the lower
    bool same_edge(const Side& other) const { return low == other.low && high == other.high; }
};

/// By edge, those of one edge by triangle: counted by the lower place, of which few sides share
/// one.
std::vector<Side> sorted_sides(const Surface& surface) {
    std::vector<Side> sides;
    sides.reserve(3 * surface.triangles.size());
    std::vector<std::uint32_t> next(surface.place.size() + 1, 0);
    for (std::size_t t = 0; t < surface.triangles.size(); ++t) {
        if (!surface.counts[t]) continue;
        for (std::uint8_t c = 0; c < 3; ++c) {
            const auto at = [&](int corner) {
                return static_cast<std::uint32_t>(surface.place[static_cast<std::size_t>(
                    surface.triangles[t][static_cast<std::size_t>(corner)])]);
            };
            const std::uint32_t a = at(c);
            const std::uint32_t b = at((c + 1) % 3);
            sides.push_back(
                {std::min(a, b), std::max(a, b), static_cast<std::uint32_t>(t), c, a > b});
            ++next[std::min(a, b) + 1];
        }
    }
    std::partial_sum(next.begin(), next.end(), next.begin());
    std::vector<Side> sorted(sides.size());
    for (const Side& side : sides)
        sorted[next[side.low]++] = side;
    for (auto first = sorted.begin(); first != sorted.end();) {
        const auto last = std::find_if(first, sorted.end(),
                                       [&](const Side& side) { return side.low != first->low; });
        std::sort(first, last, [](const Side& a, const Side& b) {
            return a.high != b.high ? a.high < b.high : a.triangle < b.triangle;
        });
        first = last;
    }
    return sorted;
}

/// Neighbours across edges of two triangles, and whether both run the same way there (then one of
/// the two has to be turned).
std::vector<std::uint8_t> connect(Surface& surface) {
    surface.neighbour.assign(3 * surface.triangles.size(), -1);
    std::vector<std::uint8_t> disagrees(3 * surface.triangles.size(), 0);
    const std::vector<Side> sides = sorted_sides(surface);
    for (std::size_t i = 0; i < sides.size();) {
        std::size_t end = i + 1;
        while (end < sides.size() && sides[end].same_edge(sides[i]))
            ++end;
        if (end - i == 1) ++surface.open_edges;
        if (end - i > 2) ++surface.crowded_edges;
        if (end - i == 2) {
            const Side& a = sides[i];
            const Side& b = sides[i + 1];
            const std::size_t side_a = 3 * std::size_t{a.triangle} + a.corner;
            const std::size_t side_b = 3 * std::size_t{b.triangle} + b.corner;
            surface.neighbour[side_a] = static_cast<int>(b.triangle);
            surface.neighbour[side_b] = static_cast<int>(a.triangle);
            disagrees[side_a] = disagrees[side_b] = a.falling == b.falling;
        }
        i = end;
    }
    return disagrees;
}

/// Walks over one piece from a triangle: which of its triangles have to be turned to agree with it.
class Walk {
  public:
    Walk(Surface& surface, const std::vector<std::uint8_t>& disagrees)
        : surface_(surface), disagrees_(disagrees), turn(surface.triangles.size(), 0) {}

    std::vector<std::size_t> piece_from(std::size_t start) {
        const auto number = static_cast<int>(surface_.pieces.size());
        surface_.pieces.emplace_back();
        std::vector<std::size_t> members{start};
        surface_.piece[start] = number;
        for (std::size_t i = 0; i < members.size(); ++i) {
            const std::size_t t = members[i];
            for (std::size_t c = 0; c < 3; ++c) {
                const int other = surface_.neighbour[3 * t + c];
                if (other < 0) continue;
                const auto u = static_cast<std::size_t>(other);
                const std::uint8_t wanted = turn[t] ^ disagrees_[3 * t + c];
                if (surface_.piece[u] < 0) {
                    surface_.piece[u] = number;
                    turn[u] = wanted;
                    members.push_back(u);
                } else if (turn[u] != wanted && t < u) {
                    ++surface_.one_sided_edges;
                }
            }
        }
        return members;
    }

  private:
    Surface& surface_;
    const std::vector<std::uint8_t>& disagrees_;

  public:
    std::vector<std::uint8_t> turn;
};

/// Turns the piece outward, or as most of its area was.
void settle(const Field& mesh, Surface& surface, const std::vector<std::size_t>& members,
            std::vector<std::uint8_t>& turn) {
    SurfacePiece& piece = surface.pieces.back();
    piece.triangles = members.size();
    Vec3 middle{};
    Vec3 sum{};
    double turned_area = 0;
    for (const std::size_t t : members) {
        const Vec3 vector = surface.area_vector(mesh, t);
        const double area = length(vector) / 2;
        piece.area += area;
        if (turn[t]) turned_area += area;
        sum = sum + (turn[t] ? -0.5 : 0.5) * vector;
        for (const int corner : surface.triangles[t])
            middle = middle + (area / 3) * mesh.vertices[static_cast<std::size_t>(corner)];
        for (std::size_t c = 0; c < 3; ++c)
            piece.open_edges += surface.neighbour[3 * t + c] < 0;
    }
    middle = (1 / piece.area) * middle;
    for (const std::size_t t : members) {
        const auto& corners = surface.triangles[t];
        const Vec3 a = mesh.vertices[static_cast<std::size_t>(corners[0])] - middle;
        piece.volume += (turn[t] ? -1 : 1) * dot(a, surface.area_vector(mesh, t)) / 6;
    }
    piece.has_inside = length(sum) < open_share * piece.area;
    const bool all_again = piece.has_inside ? piece.volume < 0 : 2 * turned_area > piece.area;
    if (!all_again) return;
    piece.volume = -piece.volume;
    for (const std::size_t t : members)
        turn[t] ^= 1;
}

void count_turned(const Field& mesh, Surface& surface, const std::vector<std::uint8_t>& turn) {
    for (std::size_t t = 0; t < turn.size(); ++t) {
        if (!turn[t]) continue;
        std::swap(surface.triangles[t][1], surface.triangles[t][2]);
        // The sides swap with the corners: what followed corner 0 now leads back to it.
        std::swap(surface.neighbour[3 * t], surface.neighbour[3 * t + 2]);
        ++surface.turned;
    }
    for (const auto& zone : mesh.zones) {
        std::size_t count = 0;
        for (auto t = zone.first_triangle; t < zone.end_triangle(); ++t)
            count += turn[t];
        surface.zone_turned.push_back(2 * count > zone.triangle_count);
    }
}

/// A phase begins; the share is of the time that they take together.
void reach(Progress& progress, double share) {
    throw_if_aborted(progress);
    progress.fraction(share);
}

}  // namespace

Surface prepare_surface(const Field& mesh, Progress& progress) {
    if (mesh.triangles.empty() || mesh.vertices.empty())
        throw AlgoError("Algorithm error!", "the mesh has no faces");
    Surface surface;
    find_extent(mesh, surface);
    if (!(surface.diagonal > 0))
        throw AlgoError("Algorithm error!", "all vertices of the mesh are at one place");
    reach(progress, 0.05);
    surface.place = equal_places(mesh.vertices, place_tolerance * surface.diagonal);
    reach(progress, 0.45);
    surface.triangles = mesh.triangles;
    surface.counts.assign(mesh.triangles.size(), 1);
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        const bool degenerate = is_degenerate(mesh, surface, t);
        const bool blanked = std::ranges::any_of(mesh.triangles[t], [&](int corner) {
            return mesh.is_blanked(static_cast<std::size_t>(corner));
        });
        surface.degenerate += degenerate;
        surface.counts[t] = !degenerate && !blanked;
    }
    reach(progress, 0.55);
    const std::vector<std::uint8_t> disagrees = connect(surface);
    reach(progress, 0.85);
    surface.piece.assign(mesh.triangles.size(), -1);
    Walk walk(surface, disagrees);
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        if (!surface.counts[t] || surface.piece[t] >= 0) continue;
        const auto members = walk.piece_from(t);
        settle(mesh, surface, members, walk.turn);
    }
    count_turned(mesh, surface, walk.turn);
    return surface;
}

std::vector<std::string> describe(const Field& mesh, const Surface& surface) {
    const auto closed = std::ranges::count_if(
        surface.pieces, [](const SurfacePiece& piece) { return piece.open_edges == 0; });
    const auto inside = std::ranges::count_if(
        surface.pieces, [](const SurfacePiece& piece) { return piece.has_inside; });
    std::vector<std::string> lines;
    lines.push_back(std::to_string(surface.pieces.size()) + " pieces, " + std::to_string(closed) +
                    " closed, " + std::to_string(inside - closed) + " closed but for holes");
    const auto tell = [&](std::size_t count, const char* what) {
        if (count > 0) lines.push_back(std::to_string(count) + " " + what);
    };
    tell(surface.degenerate, "degenerate faces");
    tell(surface.open_edges, "edges of holes and borders");
    tell(surface.crowded_edges, "edges of more than two faces");
    tell(surface.one_sided_edges, "edges where inside and outside cannot agree");
    tell(surface.turned, "faces were turned to agree with the others and point outward");
    for (std::size_t z = 0; z < mesh.zones.size(); ++z)
        if (surface.zone_turned[z])
            lines.push_back("zone '" + mesh.zones[z].name + "' was inside out and is turned");
    return lines;
}

field_data<double> with_mirror_image(const Field& mesh, std::size_t axis) {
    Field both = mesh;
    const std::size_t vertices = mesh.vertices.size();
    const std::size_t triangles = mesh.triangles.size();
    if (2 * vertices > std::numeric_limits<int>::max() ||
        2 * triangles > std::numeric_limits<int>::max())
        throw AlgoError("Algorithm error!", "the mesh is too large to be mirrored");
    for (Vec3 vertex : mesh.vertices) {
        vertex[axis] = -vertex[axis];
        both.vertices.push_back(vertex);
    }
    const int shift = static_cast<int>(vertices);
    for (const auto& t : mesh.triangles)
        both.triangles.push_back({t[0] + shift, t[2] + shift, t[1] + shift});
    const int cells = static_cast<int>(mesh.cell_count());
    if (!mesh.cells.empty())
        for (const int cell : mesh.cells)
            both.cells.push_back(cell + cells);
    both.blanked.insert(both.blanked.end(), mesh.blanked.begin(), mesh.blanked.end());
    for (Field::Zone zone : mesh.zones) {
        zone.name += " mirrored";
        zone.first_triangle += triangles;
        zone.first_vertex += vertices;
        both.zones.push_back(zone);
    }
    for (auto& quantity : both.quantities)
        quantity.values.resize(2 * quantity.values.size(),
                               std::numeric_limits<double>::quiet_NaN());
    return both;
}

}  // namespace vyn
