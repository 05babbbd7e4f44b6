#pragma once

#include <map>
#include <span>
#include <utility>
#include <vector>

#include "mesh/sections.h"

namespace vyn {

/// Where a function over the vertices is 0 on one zone of a mesh: segments through its triangles,
/// joined through shared edges. Vertices at which the function is 0 count as above; triangles with
/// a vertex where it is NaN are not cut.
class LevelCut {
  public:
    struct Segment {
        int ends[2];  ///< numbers of points
        std::size_t triangle = 0;
        bool used = false;
    };

    /// All must outlive it. Values are linear along edges.
    LevelCut(const field_data<double>& mesh, const Surface& surface,
             std::span<const double> heights, const field_data<double>::Quantity& quantity);

    void cut(const field_data<double>::Zone& zone);

    const std::vector<Segment>& segments() const { return segments_; }
    const SectionPoint& point(int number) const {
        return crossings_[static_cast<std::size_t>(number)].point;
    }
    /// The curves: open ones from their ends first, then the closed ones.
    std::vector<SectionCurve> curves(const std::string& zone);

  private:
    /// Where an edge of the mesh is crossed, and the segments that end there.
    struct Crossing {
        SectionPoint point;
        std::vector<int> segments;
    };

    double height(int vertex) const { return heights_[static_cast<std::size_t>(vertex)]; }
    void cut_triangle(std::size_t triangle);
    int crossing(int a, int b);
    Segment* unused_at(int crossing);
    SectionCurve walk(int start);

    const field_data<double>& mesh_;
    const Surface& surface_;
    std::span<const double> heights_;
    const field_data<double>::Quantity& quantity_;
    const field_data<double>::Quantity* sigma_;
    const field_data<double>::Quantity* common_;
    const field_data<double>::Quantity* random_;
    const field_data<double>::Quantity* view_;
    std::map<std::pair<int, int>, int> numbers_;
    std::vector<Crossing> crossings_;
    std::vector<Segment> segments_;
};

}  // namespace vyn
