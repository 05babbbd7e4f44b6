#include "mesh/sections.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "core/errors.h"
#include "mesh/level_cut.h"

namespace vyn {

namespace {

using Field = field_data<double>;

constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr double unknown = std::numeric_limits<double>::quiet_NaN();

const Field::Quantity& nodal_quantity(const Field& mesh, const std::string& name) {
    const Field::Quantity* values = mesh.find(name);
    if (!values || values->place != Field::Place::node)
        throw AlgoError("Algorithm error!", "the mesh has no values '" + name + "' at its nodes");
    return *values;
}

/// A cut of every zone, and their curves.
std::vector<LevelCut> cut_zones(const Field& mesh, const Surface& surface,
                                std::span<const double> heights, const std::string& quantity,
                                std::vector<SectionCurve>& curves) {
    const Field::Quantity& values = nodal_quantity(mesh, quantity);
    std::vector<LevelCut> cuts;
    for (const auto& zone : mesh.zones) {
        cuts.emplace_back(mesh, surface, heights, values).cut(zone);
        for (SectionCurve& curve : cuts.back().curves(zone.name))
            curves.push_back(std::move(curve));
    }
    return cuts;
}

/// The part of an axis in the plane, of length 1.
Vec3 in_plane(const Vec3& normal, std::size_t axis) {
    Vec3 direction{};
    direction[axis] = 1;
    direction = direction - dot(direction, normal) * normal;
    return (1 / length(direction)) * direction;
}

void set_axes(const SectionPlane& plane, SectionLoads& loads) {
    constexpr double nearly_across = 0.99;
    const bool across_x = std::abs(plane.normal[0]) > nearly_across;
    loads.along = in_plane(plane.normal, across_x ? 1 : 0);
    loads.up = cross(loads.along, plane.normal);
    // Up is up: along z, or along y where the plane is one of constant z.
    const bool across_z = std::abs(plane.normal[2]) > nearly_across;
    if (loads.up[across_z ? 1 : 2] < 0) loads.up = -1 * loads.up;
}

/// The point of a polyline at a coordinate along an axis; nothing beyond its ends.
std::optional<Vec3> point_at(const std::vector<Vec3>& line, std::size_t axis, double at) {
    for (std::size_t i = 0; i + 1 < line.size(); ++i) {
        const double a = line[i][axis];
        const double b = line[i + 1][axis];
        if (a == b || (at - a) * (at - b) > 0) continue;
        const double share = (at - a) / (b - a);
        return (1 - share) * line[i] + share * line[i + 1];
    }
    return std::nullopt;
}

}  // namespace

Section cut_section(const Field& mesh, const Surface& surface, const SectionPlane& plane,
                    const std::string& quantity) {
    std::vector<double> heights(mesh.vertices.size());
    for (std::size_t v = 0; v < heights.size(); ++v)
        heights[v] = dot(plane.normal, mesh.vertices[v]) - plane.offset;
    Section section;
    const auto cuts = cut_zones(mesh, surface, heights, quantity, section.curves);
    SectionLoads& loads = section.loads;
    set_axes(plane, loads);
    double leading = infinite;
    double trailing = -infinite;
    for (const SectionCurve& curve : section.curves)
        for (const SectionPoint& point : curve.points) {
            leading = std::min(leading, dot(point.place, loads.along));
            trailing = std::max(trailing, dot(point.place, loads.along));
        }
    loads.chord = std::max(0.0, trailing - leading);
    if (!(loads.chord > 0)) return section;
    double quarter_up = 0;  // height of the leading point: the chord line's
    for (SectionCurve& curve : section.curves)
        for (SectionPoint& point : curve.points) {
            point.x_c = (dot(point.place, loads.along) - leading) / loads.chord;
            if (point.x_c == 0) quarter_up = dot(point.place, loads.up);
        }
    double whole = 0;
    double covered = 0;
    for (const LevelCut& cut : cuts)
        for (const LevelCut::Segment& segment : cut.segments()) {
            const SectionPoint& a = cut.point(segment.ends[0]);
            const SectionPoint& b = cut.point(segment.ends[1]);
            Vec3 outward = cross(b.place - a.place, plane.normal);
            if (dot(outward, surface.area_vector(mesh, segment.triangle)) < 0)
                outward = -1 * outward;
            const double size = length(outward);
            whole += size;
            if (std::isnan(a.value) || std::isnan(b.value)) continue;
            covered += size;
            const Vec3 force = (-(a.value + b.value) / 2) * outward;
            const Vec3 middle = 0.5 * (a.place + b.place);
            const double arm = dot(middle, loads.along) - leading - loads.chord / 4;
            const double rise = dot(middle, loads.up) - quarter_up;
            loads.normal += dot(force, loads.up) / loads.chord;
            loads.axial += dot(force, loads.along) / loads.chord;
            loads.moment += (rise * dot(force, loads.along) - arm * dot(force, loads.up)) /
                            (loads.chord * loads.chord);
        }
    loads.covered_share = whole > 0 ? covered / whole : 0;
    return section;
}

std::vector<SectionCurve> cut_at_chord(const Field& mesh, const Surface& surface,
                                       const ChordLines& lines, double x_c,
                                       const std::string& quantity) {
    if (lines.leading.size() < 2 || lines.trailing.size() < 2)
        throw AlgoError("Algorithm error!",
                        "leading and trailing line need two points at least, they have " +
                            std::to_string(lines.leading.size()) + " and " +
                            std::to_string(lines.trailing.size()));
    const Vec3 reach = lines.leading.back() - lines.leading.front();
    const std::size_t span = std::abs(reach[2]) > std::abs(reach[1]) ? 2 : 1;
    std::vector<double> heights(mesh.vertices.size(), unknown);
    for (std::size_t v = 0; v < heights.size(); ++v) {
        const Vec3& place = mesh.vertices[v];
        const auto from = point_at(lines.leading, span, place[span]);
        const auto to = point_at(lines.trailing, span, place[span]);
        if (!from || !to) continue;
        const Vec3 chord = *to - *from;
        const double size = dot(chord, chord);
        if (size > 0) heights[v] = dot(place - *from, chord) / size - x_c;
    }
    std::vector<SectionCurve> curves;
    cut_zones(mesh, surface, heights, quantity, curves);
    for (SectionCurve& curve : curves)
        for (SectionPoint& point : curve.points)
            point.x_c = x_c;
    return curves;
}

}  // namespace vyn
