#include "align/channel_maps.h"

#include <algorithm>
#include <cmath>

namespace vyn {

MapConsistency consistency_of(const ChannelMaps& maps, std::span<const Point> signal_on) {
    MapConsistency result;
    double squares = 0;
    for (const Point& start : signal_on) {
        const Point reference_on = apply_poly(maps.reference_from_signal, start);
        const Point reference_off = inverse_mapped(maps.reference_on_from_off, reference_on);
        const Point signal_off = inverse_mapped(maps.reference_from_signal, reference_off);
        const Point end = apply_poly(maps.signal_on_from_off, signal_off);
        const double distance = std::hypot(end.x - start.x, end.y - start.y);
        squares += distance * distance;
        result.max = std::max(result.max, distance);
        ++result.points;
    }
    if (result.points > 0) result.rms = std::sqrt(squares / result.points);
    return result;
}

RowMap camera_row_map(std::vector<PolyTransform> maps, const Distortion& lens) {
    if (maps.empty()) maps.emplace_back();
    RowMap first = row_map(maps.front());
    maps.erase(maps.begin());
    for (const PolyTransform& map : maps)
        apply_poly(map, {});  // refuses a wrong count before any row
    return [first = std::move(first), rest = std::move(maps), lens](int x0, int n, int y, double* x,
                                                                    double* y_out) {
        first(x0, n, y, x, y_out);
        for (const PolyTransform& map : rest)
            for (int i = 0; i < n; ++i) {
                const Point mapped = apply_poly(map, {x[i], y_out[i]});
                x[i] = mapped.x;
                y_out[i] = mapped.y;
            }
        distort_positions(lens, n, x, y_out);
    };
}

}  // namespace vyn
