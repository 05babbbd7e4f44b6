#include "view/edit/marker_numbers.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>

namespace vyn {

MarkerSet numbered_like_partners(MarkerSet moved, const std::vector<MarkerPair>& pairs) {
    std::vector<bool> paired(moved.markers.size(), false);
    std::set<std::int32_t> taken;
    for (const MarkerPair& pair : pairs)
        for (std::size_t i = 0; i < moved.markers.size(); ++i) {
            Marker& marker = moved.markers[i];
            if (paired[i] || marker.x != pair.moved.x || marker.y != pair.moved.y) continue;
            marker.id = pair.reference_id;
            paired[i] = true;
            taken.insert(marker.id);
            break;
        }
    std::int32_t free = next_free_number(moved);
    for (std::size_t i = 0; i < moved.markers.size(); ++i) {
        if (paired[i]) continue;
        Marker& marker = moved.markers[i];
        if (!taken.insert(marker.id).second) taken.insert(marker.id = free++);
    }
    return moved;
}

MarkerSet renumbered_like(MarkerSet set, const MarkerSet& before, const MarkerSet& after) {
    std::map<std::int32_t, std::int32_t> now;
    const bool same_order = before.markers.size() == after.markers.size();
    for (std::size_t i = 0; i < before.markers.size(); ++i) {
        const Marker& old = before.markers[i];
        auto found = after.markers.begin();
        if (same_order)
            found += static_cast<std::ptrdiff_t>(i);
        else
            found = std::ranges::find_if(
                after.markers, [&](const Marker& m) { return m.x == old.x && m.y == old.y; });
        if (found != after.markers.end()) now.emplace(old.id, found->id);
    }
    std::set<std::int32_t> taken;
    for (const Marker& marker : set.markers)
        if (const auto known = now.find(marker.id); known != now.end()) taken.insert(known->second);
    std::vector<std::size_t> homeless;
    for (std::size_t i = 0; i < set.markers.size(); ++i) {
        std::int32_t& number = set.markers[i].id;
        if (const auto known = now.find(number); known != now.end())
            number = known->second;
        else if (taken.contains(number))
            homeless.push_back(i);
    }
    for (const std::size_t i : homeless)
        set.markers[i].id = next_free_number(set);
    return set;
}

MarkerSet joined(MarkerSet markers, const MarkerSet& found, double distance) {
    const std::vector<Marker> there = markers.markers;
    std::int32_t number = next_free_number(markers);
    for (Marker marker : found.markers) {
        const bool known = std::any_of(there.begin(), there.end(), [&](const Marker& old) {
            return std::hypot(old.x - marker.x, old.y - marker.y) <= distance;
        });
        if (known) continue;
        marker.id = number++;
        markers.markers.push_back(marker);
    }
    markers.hasX = markers.hasY = true;
    return markers;
}

std::int32_t next_free_number(const MarkerSet& set) {
    std::set<std::int32_t> numbers;
    for (const Marker& marker : set.markers)
        if (marker.id > 0) numbers.insert(marker.id);
    if (numbers.empty()) return 1;
    if (*numbers.rbegin() < std::numeric_limits<std::int32_t>::max()) return *numbers.rbegin() + 1;
    std::int32_t number = 1;
    while (numbers.contains(number))
        ++number;
    return number;
}

}  // namespace vyn
