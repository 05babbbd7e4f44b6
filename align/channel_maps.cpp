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

}  // namespace vyn
