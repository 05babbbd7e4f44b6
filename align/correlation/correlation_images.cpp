#include "align/correlation/correlation_images.h"

#include <algorithm>
#include <cmath>

#include "api/image_parts.h"
#include "api/parallel.h"
#include "core/errors.h"
#include "core/numbers.h"

namespace vyn {

namespace {

constexpr int row_block = 16;

/// Displacement of a place beyond a mapping.
Point beyond(const DisplacementField& field, const ImageMap& known, Point place) {
    const Point d = field.at(place);
    const Point to = known.at(place);
    return {place.x + d.x - to.x, place.y + d.y - to.y};
}

/// Calls `visit(c, r, place)` for each node.
template <class Visit>
void for_each_node(const CorrelationResult& result, const Visit& visit) {
    const int step = result.field.step();
    for (int r = 0; r < result.source.height(); ++r)
        for (int c = 0; c < result.source.width(); ++c)
            visit(c, r, Point{double(c) * step, double(r) * step});
}

bool measured(const CorrelationResult& result, int c, int r) {
    return result.source(c, r) == NodeSource::measured;
}

/// Numbers of the nodes nearest to pixel `at`, of `count`.
int nearest_node(int at, int step, int count) {
    return std::min((at + step / 2) / step, count - 1);
}

/// An image of node vectors; `fill_row(y, values)` gives what stands between the nodes.
template <class FillRow>
image node_image(const CorrelationResult& result, const image& off, Displacement nodes,
                 Progress& progress, const FillRow& fill_row) {
    Bitmap<float> values(off.width(), off.height());
    Bitmap<std::uint8_t> mask(off.width(), off.height());
    const int step = result.field.step();
    parallel_rows(off.height(), row_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            fill_row(y, values.row(y));
            const int r = nearest_node(y, step, result.source.height());
            for (int x = 0; x < off.width(); ++x) {
                const int c = nearest_node(x, step, result.source.width());
                mask(x, y) = off.mask()(x, y) != 0 || !measured(result, c, r) ? 1 : 0;
            }
        }
    });
    image picture = with_planes(off, std::move(values), std::move(mask));
    picture.quantity = {Quantity::Kind::displacement};
    picture.unit = "px";
    picture.saturated.reset();
    picture.full_scale = 0;
    picture.displacement = std::move(nodes);
    return picture;
}

Displacement empty_nodes(const CorrelationResult& result) {
    const Bitmap<float> plane(result.source.width(), result.source.height(), 0.0F);
    return {plane, plane, result.field.step()};
}

}  // namespace

CorrelationResult displacement_of(const ImageMap& map, const image& off, int step) {
    if (step < 1)
        throw AlgoError("Algorithm error!",
                        "the step must be at least 1 pixel, not " + std::to_string(step));
    const NodeGrid grid{off.width(), off.height(), step, step};
    CorrelationResult result;
    result.field = base_only(grid, [&](Point at) {
        const Point to = map.at(at);
        return Point{to.x - at.x, to.y - at.y};
    });
    result.source = Bitmap<NodeSource>(grid.columns(), grid.rows(), NodeSource::none);
    result.sigma_u = Bitmap<float>(grid.columns(), grid.rows(), 0.0F);
    result.sigma_v = result.sigma_u;
    for_each_node(result, [&](int c, int r, Point) {
        if (off.mask()(c * step, r * step) == 0) result.source(c, r) = NodeSource::measured;
    });
    return result;
}

DisplacementLeft displacement_left(const CorrelationResult& result, const ImageMap& known) {
    DisplacementLeft left;
    double sum = 0;
    int count = 0;
    for_each_node(result, [&](int c, int r, Point place) {
        if (!measured(result, c, r)) return;
        const Point d = beyond(result.field, known, place);
        const double length = std::hypot(d.x, d.y);
        sum += length * length;
        ++count;
        if (length <= left.largest) return;
        left.largest = length;
        left.at = place;
    });
    if (count > 0) left.rms = std::sqrt(sum / count);
    return left;
}

image displacement_image(const CorrelationResult& result, const image& off, const ImageMap& known,
                         Progress& progress) {
    Displacement nodes = empty_nodes(result);
    for_each_node(result, [&](int c, int r, Point place) {
        const Point d = beyond(result.field, known, place);
        nodes.u(c, r) = static_cast<float>(d.x);
        nodes.v(c, r) = static_cast<float>(d.y);
    });
    const RowMap to = known.rows();
    const auto fill_row = [&](int y, float* lengths) {
        const auto n = static_cast<std::size_t>(off.width());
        std::vector<double> x(n);
        std::vector<double> y_to(n);
        std::vector<double> seen_x(n);
        std::vector<double> seen_y(n);
        to(0, off.width(), y, x.data(), y_to.data());
        result.field.seen_at(0, off.width(), y, seen_x.data(), seen_y.data());
        for (std::size_t i = 0; i < n; ++i)
            lengths[i] = static_cast<float>(std::hypot(seen_x[i] - x[i], seen_y[i] - y_to[i]));
    };
    return node_image(result, off, std::move(nodes), progress, fill_row);
}

image displacement_sigma_image(const CorrelationResult& result, const image& off,
                               Progress& progress) {
    const auto fill_row = [&](int y, float* lengths) {
        const int step = result.field.step();
        const int r = nearest_node(y, step, result.source.height());
        for (int x = 0; x < off.width(); ++x) {
            const int c = nearest_node(x, step, result.source.width());
            lengths[x] = std::hypot(result.sigma_u(c, r), result.sigma_v(c, r));
        }
    };
    image picture = node_image(result, off, {result.sigma_u, result.sigma_v, result.field.step()},
                               progress, fill_row);
    picture.quantity.deviation = true;
    return picture;
}

DisplacementMap displacement_map(const CorrelationResult& result, const ImageMap& known) {
    DisplacementMap map;
    map.step = result.field.step();
    map.field = Bitmap<DisplacementVector>(result.source.width(), result.source.height());
    map.mask = Bitmap<std::uint8_t>(result.source.width(), result.source.height());
    for_each_node(result, [&](int c, int r, Point place) {
        const Point d = beyond(result.field, known, place);
        map.field(c, r) = {static_cast<float>(d.x), static_cast<float>(d.y)};
        map.mask(c, r) = measured(result, c, r) ? 0 : 1;
    });
    return map;
}

std::string displacement_csv(const CorrelationResult& result, const ImageMap& known) {
    std::string text = "x,y,u,v,sigma_u,sigma_v,measured\n";
    for_each_node(result, [&](int c, int r, Point place) {
        const Point d = beyond(result.field, known, place);
        for (const double value : {place.x, place.y, d.x, d.y, double(result.sigma_u(c, r)),
                                   double(result.sigma_v(c, r))})
            text += format_general(value, 8) + ",";
        text += measured(result, c, r) ? "1\n" : "0\n";
    });
    return text;
}

}  // namespace vyn
