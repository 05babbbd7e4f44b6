#include "align/pairing.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <unordered_map>

#include "align/consensus.h"
#include "core/numbers.h"

namespace vyn {

using namespace pairing_parts;

namespace {

Point position(const Marker& marker) {
    return {marker.x, marker.y};
}

MarkerPair make_pair(const Marker& reference, const Marker& moved) {
    return {position(reference), position(moved), reference.id};
}

/// Index by number; nothing when a number stands twice.
std::optional<std::unordered_map<int, std::size_t>> index_by_id(
    const std::vector<Marker>& markers) {
    std::unordered_map<int, std::size_t> index;
    for (std::size_t i = 0; i < markers.size(); ++i)
        if (!index.emplace(markers[i].id, i).second) return std::nullopt;
    return index;
}

std::vector<MarkerPair> pair_by_order(const std::vector<Marker>& reference,
                                      const std::vector<Marker>& moved, std::size_t at_most) {
    const std::size_t count = std::min({reference.size(), moved.size(), at_most});
    std::vector<MarkerPair> pairs;
    pairs.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        pairs.push_back(make_pair(reference[i], moved[i]));
    return pairs;
}

std::vector<MarkerPair> pair_by_id(const std::vector<Marker>& reference,
                                   const std::vector<Marker>& moved,
                                   const std::unordered_map<int, std::size_t>& moved_index) {
    std::vector<MarkerPair> pairs;
    for (const Marker& marker : reference)
        if (const auto found = moved_index.find(marker.id); found != moved_index.end())
            pairs.push_back(make_pair(marker, moved[found->second]));
    return pairs;
}

/// The first `fixed` pairs by order as far as the window holds them, then mutual nearest neighbours
/// of the other markers.
std::vector<MarkerPair> pair_by_neighbour(const std::vector<Marker>& reference,
                                          const std::vector<Marker>& moved, std::size_t fixed,
                                          const PolyTransform& mapping, const Window& window) {
    std::vector<MarkerPair> pairs;
    std::vector<const Marker*> from;
    std::vector<Point> predicted;
    std::vector<Point> found;
    for (std::size_t i = 0; i < std::max(reference.size(), moved.size()); ++i) {
        if (i < fixed &&
            window.holds(apply_poly(mapping, position(reference[i])), position(moved[i]))) {
            pairs.push_back(make_pair(reference[i], moved[i]));
            continue;
        }
        if (i < reference.size()) {
            from.push_back(&reference[i]);
            predicted.push_back(apply_poly(mapping, position(reference[i])));
        }
        if (i < moved.size()) found.push_back(position(moved[i]));
    }
    for (const IndexPair& pair : mutual_nearest(predicted, found, NearestFinder(found), window))
        pairs.push_back({position(*from[pair.first]), found[pair.second], from[pair.first]->id});
    return pairs;
}

std::vector<MarkerPair> pairs_inside(const std::vector<MarkerPair>& pairs,
                                     const PolyTransform& mapping, const Window& window) {
    std::vector<MarkerPair> inside;
    std::ranges::copy_if(pairs, std::back_inserter(inside), [&](const MarkerPair& pair) {
        return window.holds(apply_poly(mapping, pair.reference), pair.moved);
    });
    return inside;
}

/// How many of how many markers that could have pairs have them.
struct Agreement {
    std::size_t pairs;
    std::size_t of;
};

/// Tells of the pairs that the window does not hold, and of doubt when there are such.
void note_outside(const std::vector<MarkerPair>& pairs, const PolyTransform& mapping,
                  const Window& window, Agreement agreement, Pairing& pairing) {
    bool outside = false;
    for (const MarkerPair& pair : pairs) {
        const Point mapped = apply_poly(mapping, pair.reference);
        if (window.holds(mapped, pair.moved)) continue;
        outside = true;
        const double off = std::hypot(pair.moved.x - mapped.x, pair.moved.y - mapped.y);
        pairing.notes.push_back("Marker No " + std::to_string(pair.reference_id) + " is " +
                                format_fixed(off, 1) +
                                " px from where the other markers put it, outside the search "
                                "window, and is left out");
    }
    if (!outside || (agreement.pairs > static_cast<std::size_t>(mapping.n) &&
                     2 * agreement.pairs > agreement.of))
        return;
    pairing.doubtful = true;
    pairing.notes.push_back("Only " + std::to_string(agreement.pairs) + " of " +
                            std::to_string(agreement.of) +
                            " marker pairs agree; which ones are true is not certain");
}

/// Pairs by number or order, less those outside the window.
void pair_listed(const std::vector<Marker>& reference, const std::vector<Marker>& moved,
                 std::size_t fixed, const PairingOptions& options, Pairing& pairing) {
    std::vector<MarkerPair> pairs;
    const auto moved_index = index_by_id(moved);
    if (moved_index && index_by_id(reference)) {
        pairs = pair_by_id(reference, moved, *moved_index);
    } else {
        pairing.notes.push_back("Marker numbers are not unique; markers are paired by their order");
        pairs = pair_by_order(reference, moved, reference.size());
    }
    const Window window(options.window_side);
    Evidence evidence;
    for (const MarkerPair& pair : pairs)
        evidence.places.push_back(pair.reference);
    evidence.distance = [&](std::size_t i, const Point& mapped) -> std::optional<double> {
        const Point& seen = pairs[i].moved;
        if (!window.holds(mapped, seen)) return std::nullopt;
        return std::hypot(seen.x - mapped.x, seen.y - mapped.y);
    };
    evidence.agreeing = [&](const PolyTransform& map) { return pairs_inside(pairs, map, window); };
    const std::size_t samples = fixed == 0 ? pairs.size() : std::min(fixed, pairs.size());
    const PolyTransform mapping = consensus_mapping(
        {pairs.data(), samples},
        fixed == 0 ? std::max(options.coefficients, 3) : options.coefficients, evidence, window);
    pairing.pairs = pairs_inside(pairs, mapping, window);
    note_outside(pairs, mapping, window, {pairing.pairs.size(), pairs.size()}, pairing);
}

/// Fixed pairs by order and the rest by nearest neighbour.
void pair_neighbours(const std::vector<Marker>& reference, const std::vector<Marker>& moved,
                     std::size_t fixed, const PairingOptions& options, Pairing& pairing) {
    const Window window(options.window_side);
    const std::vector<MarkerPair> first = pair_by_order(reference, moved, fixed);
    std::vector<Point> seen;
    for (const Marker& marker : moved)
        seen.push_back(position(marker));
    const NearestFinder finder(seen);
    Evidence evidence;
    for (const Marker& marker : reference)
        evidence.places.push_back(position(marker));
    evidence.distance = [&](std::size_t, const Point& mapped) -> std::optional<double> {
        const auto nearest = finder.nearest(mapped, window);
        if (!nearest) return std::nullopt;
        return std::hypot(seen[*nearest].x - mapped.x, seen[*nearest].y - mapped.y);
    };
    evidence.agreeing = [&](const PolyTransform& map) {
        return pair_by_neighbour(reference, moved, first.size(), map, window);
    };
    const PolyTransform mapping = consensus_mapping(first, options.coefficients, evidence, window);
    pairing.pairs = pair_by_neighbour(reference, moved, first.size(), mapping, window);
    note_outside(first, mapping, window,
                 {pairing.pairs.size(), std::min(reference.size(), moved.size())}, pairing);
}

}  // namespace

bool is_pairing_method(int link) {
    return link == 0 || link == 1;
}

Pairing pair_markers(const MarkerSet& reference_set, const MarkerSet& moved_set,
                     const PairingOptions& options) {
    Pairing pairing;
    if (!is_pairing_method(options.link)) {
        pairing.notes.push_back("There is no marker pairing method " +
                                std::to_string(options.link) + ", only 0 and 1");
        return pairing;
    }
    pairing.ok = true;
    const std::vector<Marker> reference = usable_markers(reference_set, pairing.notes);
    const std::vector<Marker> moved = usable_markers(moved_set, pairing.notes);
    const auto fixed = static_cast<std::size_t>(std::max(options.fix_first, 0));

    const auto pair = options.link == 1 ? pair_neighbours : pair_listed;
    pair(reference, moved, fixed, options, pairing);
    return pairing;
}

}  // namespace vyn
