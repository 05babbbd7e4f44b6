#include "mesh/level_cut.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vyn {

namespace {

using Field = field_data<double>;

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();

}  // namespace

LevelCut::LevelCut(const Field& mesh, const Surface& surface, std::span<const double> heights,
                   const Field::Quantity& quantity)
    : mesh_(mesh),
      surface_(surface),
      heights_(heights),
      quantity_(quantity),
      sigma_(mesh.find("sigma_pose")),
      common_(mesh.find("sigma_common")),
      random_(mesh.find("sigma_random")),
      view_(mesh.find("view")) {}

void LevelCut::cut(const Field::Zone& zone) {
    for (auto t = zone.first_triangle; t < zone.end_triangle(); ++t)
        if (surface_.counts[t]) cut_triangle(t);
}

std::vector<SectionCurve> LevelCut::curves(const std::string& zone) {
    std::vector<SectionCurve> result;
    for (const bool open_ends : {true, false})
        for (std::size_t c = 0; c < crossings_.size(); ++c) {
            if (open_ends && crossings_[c].segments.size() != 1) continue;
            while (unused_at(static_cast<int>(c))) {
                result.push_back(walk(static_cast<int>(c)));
                result.back().zone = zone;
            }
        }
    return result;
}

/// Every triangle that is cut has two cut edges.
void LevelCut::cut_triangle(std::size_t t) {
    const auto& corners = surface_.triangles[t];
    if (std::ranges::any_of(corners, [&](int v) { return std::isnan(height(v)); })) return;
    int found[2];
    int count = 0;
    for (std::size_t c = 0; c < 3 && count < 2; ++c) {
        const int a = corners[c];
        const int b = corners[(c + 1) % 3];
        if ((height(a) >= 0) != (height(b) >= 0)) found[count++] = crossing(a, b);
    }
    if (count < 2) return;
    const int number = static_cast<int>(segments_.size());
    segments_.push_back({{found[0], found[1]}, t});
    for (const int end : found)
        crossings_[static_cast<std::size_t>(end)].segments.push_back(number);
}

int LevelCut::crossing(int a, int b) {
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
        // The value of a vertex on the cut stands alone.
        if (t == 0) return quantity->values[va];
        if (t == 1) return quantity->values[vb];
        return (1 - t) * quantity->values[va] + t * quantity->values[vb];
    };
    point.value = between(&quantity_);
    point.sigma = between(sigma_);
    point.sigma_field = std::hypot(between(common_), between(random_));
    const bool has_view = view_ && view_->place == Field::Place::node;
    point.view = has_view ? view_->values[t < 0.5 ? va : vb] : unknown;
    crossings_.push_back({point, {}});
    return known->second;
}

LevelCut::Segment* LevelCut::unused_at(int crossing) {
    for (const int s : crossings_[static_cast<std::size_t>(crossing)].segments)
        if (!segments_[static_cast<std::size_t>(s)].used)
            return &segments_[static_cast<std::size_t>(s)];
    return nullptr;
}

SectionCurve LevelCut::walk(int start) {
    SectionCurve curve;
    int at = start;
    curve.points.push_back(point(at));
    while (Segment* next = unused_at(at)) {
        next->used = true;
        at = next->ends[0] == at ? next->ends[1] : next->ends[0];
        SectionPoint reached = point(at);
        const double step = length(reached.place - curve.points.back().place);
        reached.s = curve.points.back().s + step;
        // Edges that meet in a vertex of the cut give the same point several times.
        if (step > 0) curve.points.push_back(reached);
        if (at == start) break;
    }
    curve.closed = at == start;
    return curve;
}

}  // namespace vyn
