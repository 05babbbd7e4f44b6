#include "align/correlation/field_filling.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace vyn {

namespace {

constexpr int ring = DisplacementField::ring;
constexpr double full_reach = 2;       ///< nodes up to which the base field has no share
constexpr double quadratic_reach = 3;  ///< nodes

/// Nodes of the picture and the rings about it; the picture's node (0, 0) is (0, 0) here, too.
class NearestMeasured {
  public:
    struct Node {
        int column = 0;
        int row = 0;
        bool known = false;
    };

    /// Looks as far as `reach` nodes.
    NearestMeasured(const Bitmap<std::uint8_t>& measured, int reach)
        : nearest_(measured.width() + 2 * ring, measured.height() + 2 * ring, Node{}) {
        std::vector<Node> front;
        for (int r = 0; r < measured.height(); ++r)
            for (int c = 0; c < measured.width(); ++c)
                if (measured(c, r) != 0) {
                    nearest_(c + ring, r + ring) = {c, r, true};
                    front.push_back({c + ring, r + ring, true});
                }
        for (int i = 0; i < reach && !front.empty(); ++i)
            front = grown(front);
    }

    const Node& of(int column, int row) const { return nearest_(column + ring, row + ring); }

  private:
    /// One step outwards: nodes beside the front take the nearest of what their neighbours know.
    std::vector<Node> grown(const std::vector<Node>& front) {
        std::vector<Node> next;
        for (const Node& at : front)
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx) {
                    const int c = at.column + dx;
                    const int r = at.row + dy;
                    if (!nearest_.contains(c, r) || nearest_(c, r).known) continue;
                    nearest_(c, r).known = true;
                    nearest_(c, r).column = -1;
                    next.push_back({c, r, true});
                }
        std::vector<Node> found;
        for (const Node& at : next)
            found.push_back(best_about(at.column, at.row));
        for (std::size_t i = 0; i < next.size(); ++i)
            nearest_(next[i].column, next[i].row) = found[i];
        return next;
    }
    Node best_about(int column, int row) const {
        Node best;
        int least = 1 << 30;
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx) {
                if (!nearest_.contains(column + dx, row + dy)) continue;
                const Node& other = nearest_(column + dx, row + dy);
                if (!other.known || other.column < 0) continue;
                const int x = other.column + ring - column;
                const int y = other.row + ring - row;
                if (x * x + y * y < least) {
                    least = x * x + y * y;
                    best = other;
                }
            }
        return best;
    }

    Bitmap<Node> nearest_;
};

/// Largest variance of a node that counts as determined: that of poor measured nodes.
double largest_variance(const LocalPolynomials& polynomials, const Bitmap<std::uint8_t>& measured) {
    constexpr double tolerance = 16;  ///< four times the usual standard deviation
    std::vector<double> variances;
    for (int r = 0; r < measured.height(); ++r)
        for (int c = 0; c < measured.width(); ++c)
            if (measured(c, r) != 0) {
                variances.push_back(polynomials.variance(c, r).sum());
            }
    if (variances.empty()) return 0;
    const auto middle = variances.begin() + static_cast<std::ptrdiff_t>(variances.size() / 2);
    std::nth_element(variances.begin(), middle, variances.end());
    return tolerance * *middle;
}

/// Share of the measured side at a distance in nodes: 1 up to full_reach, 0 from two cells on.
double share_at(double distance, const NodeGrid& grid) {
    const double end = std::max(2.0 * grid.cell / grid.step, full_reach + 1);
    const double t = std::clamp((end - distance) / (end - full_reach), 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

}  // namespace

DisplacementField base_only(const NodeGrid& grid, const BaseField& base) {
    Bitmap<double> u(grid.columns() + 2 * ring, grid.rows() + 2 * ring);
    Bitmap<double> v(u.width(), u.height());
    for (int r = -ring; r < grid.rows() + ring; ++r)
        for (int c = -ring; c < grid.columns() + ring; ++c) {
            const Point d =
                base({static_cast<double>(c) * grid.step, static_cast<double>(r) * grid.step});
            u(c + ring, r + ring) = d.x;
            v(c + ring, r + ring) = d.y;
        }
    return DisplacementField(grid.step, u, v);
}

FilledField filled_field(const LocalPolynomials& polynomials, const LocalPolynomials& continuation,
                         const Bitmap<std::uint8_t>& measured, const NodeGrid& grid,
                         const BaseField& base) {
    const int columns = grid.columns();
    const int rows = grid.rows();
    const int reach = std::max(2 * grid.cell / grid.step, static_cast<int>(full_reach)) + 1;
    const NearestMeasured nearest(measured, reach);
    const double largest = largest_variance(polynomials, measured);
    FilledField result{{}, Bitmap<NodeSource>(columns, rows, NodeSource::none)};
    Bitmap<double> u(columns + 2 * ring, rows + 2 * ring);
    Bitmap<double> v(u.width(), u.height());

    const auto determined = [&](int c, int r, Point& d) {
        if (c < 0 || c >= columns || r < 0 || r >= rows) return false;
        if (!polynomials.is_known(c, r)) return false;
        d = polynomials.at(c, r);
        return measured(c, r) != 0 || polynomials.variance(c, r).sum() <= largest;
    };
    const auto displacement = [&](int c, int r, NodeSource& source) {
        const Point at{static_cast<double>(c) * grid.step, static_cast<double>(r) * grid.step};
        const NearestMeasured::Node& from = nearest.of(c, r);
        source = NodeSource::none;
        if (!from.known) return base(at);
        const double x = c - from.column;
        const double y = r - from.row;
        const double distance = std::hypot(x, y);
        const double share = share_at(distance, grid);
        if (share == 0) return base(at);
        source = distance > 0 ? NodeSource::filled : NodeSource::measured;
        Point d;
        if (distance > full_reach || !determined(c, r, d)) {
            const Point start = polynomials.at(from.column, from.row);
            const Point change = continuation.change(from.column, from.row, {x, y},
                                                     distance > quadratic_reach
                                                         ? LocalPolynomials::Extent::linear
                                                         : LocalPolynomials::Extent::quadratic);
            d = {start.x + change.x, start.y + change.y};
        }
        if (share == 1) return d;
        const Point otherwise = base(at);
        return Point{otherwise.x + share * (d.x - otherwise.x),
                     otherwise.y + share * (d.y - otherwise.y)};
    };
    for (int r = -ring; r < rows + ring; ++r)
        for (int c = -ring; c < columns + ring; ++c) {
            NodeSource source{};
            const Point d = displacement(c, r, source);
            u(c + ring, r + ring) = d.x;
            v(c + ring, r + ring) = d.y;
            if (result.source.contains(c, r)) result.source(c, r) = source;
        }
    result.field = DisplacementField(grid.step, u, v);
    return result;
}

}  // namespace vyn
