#include "align/correlation/field_search.h"

#include <algorithm>
#include <cmath>

#include "align/correlation/cell_search.h"
#include "align/correlation/warp.h"

namespace vyn {

namespace {

constexpr int cells_in_a_row = 4;
constexpr int first_radius = 6;
constexpr int second_radius = 3;
constexpr int later_radius = 2;
constexpr double peak_deviation = 0.1;  ///< pixels, of a peak of height 1
constexpr LocalPolynomials::Shape smoothing{2, 1.8};
constexpr double enough_found = 0.2;    ///< of the cells, to go on from
constexpr double enough_to_end = 0.95;  ///< of the cells, not to search the full size
constexpr double nearly_all = 0.9;      ///< of the cells
constexpr double worth_repeating = 0.02;
constexpr int least_found = 6;
constexpr double mapping_tolerance = 3;  ///< pixels

FieldEquations equations_of(const CellMatches& matches) {
    FieldEquations e(matches.correlation.width(), matches.correlation.height());
    for (int r = 0; r < e.rows(); ++r)
        for (int c = 0; c < e.columns(); ++c) {
            if (!matches.vectors.found(c, r)) continue;
            const auto height = static_cast<double>(matches.correlation(c, r));
            const double information = height * height / (peak_deviation * peak_deviation);
            e.xx(c, r) = e.yy(c, r) = information;
            e.x(c, r) = information * matches.vectors.u(c, r);
            e.y(c, r) = information * matches.vectors.v(c, r);
        }
    return e;
}

BaseField of_field(const DisplacementField& field) {
    return [&field](Point at) { return field.at(at); };
}

/// Nodes on usable pixels: about as many as cells could be found.
int usable_cells(const MaskedPlane& plane, const NodeGrid& grid) {
    int cells = 0;
    for (int r = 0; r < grid.rows(); ++r)
        for (int c = 0; c < grid.columns(); ++c)
            cells += plane.valid(c * grid.step, r * grid.step) != 0;
    return cells;
}

}  // namespace

BaseField at_level(const BaseField& base, int level) {
    const double scale = std::ldexp(1.0, level);
    return [base, scale](Point at) {
        const Point d = base({at.x * scale, at.y * scale});
        return Point{d.x / scale, d.y / scale};
    };
}

SearchedField search_field(const PictureLevels& levels, int step, int cell, const BaseField& base,
                           BaseKind kind, Progress& progress) {
    const auto grid_of = [&](int level) {
        const MaskedPlane& plane = *levels.off[static_cast<std::size_t>(level)];
        return NodeGrid{plane.width(), plane.height(), step, cell};
    };
    int coarsest = 0;
    while (coarsest + 1 < static_cast<int>(levels.off.size()) &&
           std::min(grid_of(coarsest + 1).width, grid_of(coarsest + 1).height) >=
               cells_in_a_row * cell)
        ++coarsest;

    SearchedField result{{}, base};
    DisplacementField field = base_only(grid_of(coarsest), at_level(base, coarsest));
    int radius = first_radius;
    double share = 0;
    int level = coarsest;
    const auto pass = [&](Progress& part) {
        const NodeGrid grid = grid_of(level);
        const MaskedPlane& off = *levels.off[static_cast<std::size_t>(level)];
        const MaskedPlane& on = *levels.on[static_cast<std::size_t>(level)];
        const MaskedPlane seen = WarpSource(on, part).seen_through(field, part);
        CellMatches matches = search_cells({off, seen, field}, grid, radius, part);
        reject_by_neighbours(matches.vectors);
        const PolyTransform mapping = robust_mapping(matches.vectors, step);
        if (mapping.n > 0) reject_by_mapping(matches.vectors, step, mapping, mapping_tolerance);
        const int found = count_found(matches.vectors);
        share = static_cast<double>(found) / std::max(usable_cells(off, grid), 1);
        if (found < least_found || share < enough_found) return;
        if (kind == BaseKind::guessed && mapping.n > 0)
            result.base = [mapping, scale = std::ldexp(1.0, level)](Point at) {
                const Point to = apply_poly(mapping, {at.x / scale, at.y / scale});
                return Point{to.x * scale - at.x, to.y * scale - at.y};
            };
        const LocalPolynomials smooth(equations_of(matches), smoothing, part);
        field =
            filled_field(smooth, smooth, matches.vectors.found, grid, at_level(result.base, level))
                .field;
        radius = radius == first_radius || share < nearly_all ? second_radius : later_radius;
    };
    for (;; --level) {
        SubProgress part(progress, 1 - std::ldexp(1.0, level - coarsest), 1);
        double before = 0;
        do {
            before = share;
            pass(part);
        } while (share < nearly_all && share > before + worth_repeating);
        if (level == 0 || (level == 1 && share >= enough_to_end)) break;
        // the same field on the nodes of the next level, where it is twice as large
        field = base_only(grid_of(level - 1), at_level(of_field(field), -1));
    }
    if (level == 1) field = base_only(grid_of(0), at_level(of_field(field), -1));
    result.field = field;
    return result;
}

}  // namespace vyn
