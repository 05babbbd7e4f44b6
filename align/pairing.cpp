#include "align/pairing.h"

#include <algorithm>
#include <optional>
#include <unordered_map>

#include "align/pairing_parts.h"

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

/// The mapping of the fullest order that so few pairs determine, but not above the one wanted; the
/// identity without pairs.
PolyTransform provisional_mapping(std::span<const MarkerPair> pairs, int wanted_coefficients) {
    std::vector<Point> from;
    std::vector<Point> to;
    for (const MarkerPair& pair : pairs) {
        from.push_back(pair.reference);
        to.push_back(pair.moved);
    }
    int n = 0;
    for (const int candidate : {1, 3, 6, 10})
        if (candidate <= wanted_coefficients && static_cast<std::size_t>(candidate) <= pairs.size())
            n = candidate;
    const PolyFit fit = fit_poly(from, to, n);
    return fit.ok ? fit.map : PolyTransform{};
}

/// Mutual nearest neighbours of the markers from `first` on, the reference ones taken through the
/// mapping.
void append_mutual_nearest(const std::vector<Marker>& reference, const std::vector<Marker>& moved,
                           std::size_t first, const PolyTransform& mapping, const Window& window,
                           std::vector<MarkerPair>& pairs) {
    std::vector<Point> predicted;
    for (std::size_t i = first; i < reference.size(); ++i)
        predicted.push_back(apply_poly(mapping, position(reference[i])));
    std::vector<Point> found;
    for (std::size_t i = first; i < moved.size(); ++i)
        found.push_back(position(moved[i]));
    for (const IndexPair& pair : mutual_nearest(predicted, found, NearestFinder(found), window))
        pairs.push_back(make_pair(reference[first + pair.first], moved[first + pair.second]));
}

/// Drops the pairs after the first `fixed` that leave the window about their predicted position.
void drop_outliers(std::vector<MarkerPair>& pairs, std::size_t fixed, const PairingOptions& options,
                   std::vector<std::string>& notes) {
    if (fixed == 0 || pairs.size() <= fixed) return;
    const PolyTransform mapping = provisional_mapping({pairs.data(), fixed}, options.coefficients);
    const Window window(options.window_side);
    const auto outside = [&](const MarkerPair& pair) {
        if (window.holds(apply_poly(mapping, pair.reference), pair.moved)) return false;
        notes.push_back("Marker No " + std::to_string(pair.reference_id) +
                        " is outside the search window and is left out");
        return true;
    };
    pairs.erase(
        std::remove_if(pairs.begin() + static_cast<std::ptrdiff_t>(fixed), pairs.end(), outside),
        pairs.end());
}

}  // namespace

Pairing pair_markers(const MarkerSet& reference_set, const MarkerSet& moved_set,
                     const PairingOptions& options) {
    Pairing pairing;
    if (options.link != 0 && options.link != 1) {
        pairing.notes.push_back("There is no marker pairing method " +
                                std::to_string(options.link) + ", only 0 and 1");
        return pairing;
    }
    pairing.ok = true;
    const std::vector<Marker> reference = usable_markers(reference_set, pairing.notes);
    const std::vector<Marker> moved = usable_markers(moved_set, pairing.notes);
    const auto fixed = static_cast<std::size_t>(std::max(options.fix_first, 0));

    if (options.link == 1) {
        pairing.pairs = pair_by_order(reference, moved, fixed);
        append_mutual_nearest(reference, moved, pairing.pairs.size(),
                              provisional_mapping(pairing.pairs, options.coefficients),
                              Window(options.window_side), pairing.pairs);
        return pairing;
    }
    const auto moved_index = index_by_id(moved);
    if (moved_index && index_by_id(reference)) {
        pairing.pairs = pair_by_id(reference, moved, *moved_index);
    } else {
        pairing.notes.push_back("Marker numbers are not unique; markers are paired by their order");
        pairing.pairs = pair_by_order(reference, moved, reference.size());
    }
    drop_outliers(pairing.pairs, fixed, options, pairing.notes);
    return pairing;
}

}  // namespace vyn
