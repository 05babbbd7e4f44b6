#include "mesh/sections.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

#include "core/errors.h"

namespace vyn {

namespace {

using Field = field_data<double>;

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();

/// A crossing of the plane with an edge of the mesh, and the segments that end there.
struct Crossing {
    SectionPoint point;
    std::vector<int> segments;
};

/// The cut through one triangle, with its outward normal times its length in the plane.
struct Segment {
    int ends[2];
    Vec3 outward;
    bool used = false;
};

class ZoneCut {
  public:
    ZoneCut(const Field& mesh, const Surface& surface, const SectionPlane& plane,
            const Field::Quantity& quantity)
        : mesh_(mesh),
          surface_(surface),
          plane_(plane),
          quantity_(quantity),
          sigma_(mesh.find("sigma_pose")),
          view_(mesh.find("view")) {}

    void run(const Field::Zone& zone) {
        for (auto t = zone.first_triangle; t < zone.end_triangle(); ++t)
            if (surface_.counts[t]) cut(t);
    }

    /// The curves: open ones from their ends first, then the closed ones.
    std::vector<SectionCurve> curves(const std::string& zone) {
        std::vector<SectionCurve> result;
        for (const bool open_ends : {true, false})
            for (std::size_t c = 0; c < crossings_.size(); ++c) {
                if (open_ends && crossings_[c].segments.size() != 1) continue;
                while (const Segment* next = unused_at(static_cast<int>(c))) {
                    (void)next;
                    result.push_back(walk(static_cast<int>(c)));
                    result.back().zone = zone;
                }
            }
        return result;
    }

    const std::vector<Segment>& segments() const { return segments_; }
    const SectionPoint& point(int crossing) const {
        return crossings_[static_cast<std::size_t>(crossing)].point;
    }

  private:
    double height(int vertex) const {
        return dot(plane_.normal, mesh_.vertices[static_cast<std::size_t>(vertex)]) - plane_.offset;
    }

    /// Vertices in the plane count as above it, so that every cut triangle has two cut edges.
    void cut(std::size_t t) {
        const auto& corners = surface_.triangles[t];
        int found[2];
        int count = 0;
        for (std::size_t c = 0; c < 3 && count < 2; ++c) {
            const int a = corners[c];
            const int b = corners[(c + 1) % 3];
            if ((height(a) >= 0) != (height(b) >= 0)) found[count++] = crossing(a, b);
        }
        if (count < 2) return;
        const Vec3 normal = surface_.area_vector(mesh_, t);
        const Vec3 along = point(found[1]).place - point(found[0]).place;
        Vec3 outward = cross(along, plane_.normal);
        if (dot(outward, normal) < 0) outward = -1 * outward;
        const int number = static_cast<int>(segments_.size());
        segments_.push_back({{found[0], found[1]}, outward});
        for (const int end : found)
            crossings_[static_cast<std::size_t>(end)].segments.push_back(number);
    }

    int crossing(int a, int b) {
        const int place_a = surface_.place[static_cast<std::size_t>(a)];
        const int place_b = surface_.place[static_cast<std::size_t>(b)];
        const auto [known, fresh] =
            numbers_.emplace(std::minmax(place_a, place_b), static_cast<int>(crossings_.size()));
        if (!fresh) return known->second;
        if (place_a > place_b) std::swap(a, b);
        const double t = height(a) / (height(a) - height(b));
        SectionPoint point;
        const auto va = static_cast<std::size_t>(a);
        const auto vb = static_cast<std::size_t>(b);
        point.place = (1 - t) * mesh_.vertices[va] + t * mesh_.vertices[vb];
        const auto between = [&](const Field::Quantity* quantity) {
            if (!quantity || quantity->place != Field::Place::node) return unknown;
            // The value of a vertex in the plane stands alone.
            if (t == 0) return quantity->values[va];
            if (t == 1) return quantity->values[vb];
            return (1 - t) * quantity->values[va] + t * quantity->values[vb];
        };
        point.value = between(&quantity_);
        point.sigma = between(sigma_);
        point.view = view_ ? view_->values[t < 0.5 ? va : vb] : unknown;
        crossings_.push_back({point, {}});
        return known->second;
    }

    Segment* unused_at(int crossing) {
        for (const int s : crossings_[static_cast<std::size_t>(crossing)].segments)
            if (!segments_[static_cast<std::size_t>(s)].used)
                return &segments_[static_cast<std::size_t>(s)];
        return nullptr;
    }

    SectionCurve walk(int start) {
        SectionCurve curve;
        int at = start;
        curve.points.push_back(point(at));
        while (Segment* next = unused_at(at)) {
            next->used = true;
            at = next->ends[0] == at ? next->ends[1] : next->ends[0];
            SectionPoint reached = point(at);
            const double step = length(reached.place - curve.points.back().place);
            reached.s = curve.points.back().s + step;
            // Edges that meet in a vertex of the plane give the same point several times.
            if (step > 0) curve.points.push_back(reached);
            if (at == start) break;
        }
        curve.closed = at == start;
        return curve;
    }

    const Field& mesh_;
    const Surface& surface_;
    const SectionPlane& plane_;
    const Field::Quantity& quantity_;
    const Field::Quantity* sigma_;
    const Field::Quantity* view_;
    std::map<std::pair<int, int>, int> numbers_;
    std::vector<Crossing> crossings_;
    std::vector<Segment> segments_;
};

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

}  // namespace

Section cut_section(const Field& mesh, const Surface& surface, const SectionPlane& plane,
                    const std::string& quantity) {
    const Field::Quantity* values = mesh.find(quantity);
    if (!values || values->place != Field::Place::node)
        throw AlgoError("Algorithm error!",
                        "the mesh has no values '" + quantity + "' at its nodes");
    Section section;
    std::vector<ZoneCut> cuts;
    for (const auto& zone : mesh.zones) {
        cuts.emplace_back(mesh, surface, plane, *values).run(zone);
        for (SectionCurve& curve : cuts.back().curves(zone.name))
            section.curves.push_back(std::move(curve));
    }
    SectionLoads& loads = section.loads;
    set_axes(plane, loads);
    double leading = std::numeric_limits<double>::infinity();
    double trailing = -leading;
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
    for (const ZoneCut& cut : cuts)
        for (const Segment& segment : cut.segments()) {
            const double size = length(segment.outward);
            whole += size;
            const SectionPoint& a = cut.point(segment.ends[0]);
            const SectionPoint& b = cut.point(segment.ends[1]);
            if (std::isnan(a.value) || std::isnan(b.value)) continue;
            covered += size;
            const Vec3 force = (-(a.value + b.value) / 2) * segment.outward;
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

}  // namespace vyn
