#include "align/marker_alignment.h"

#include <algorithm>
#include <cmath>

#include "align/consensus.h"
#include "align/marker_matching.h"
#include "api/median.h"
#include "core/numbers.h"

namespace vyn {

using namespace pairing_parts;

namespace {

constexpr int largest_box = 1'000'000;
/// No marker is found better (pixels); below it residuals say nothing.
constexpr double marker_accuracy = 0.05;
constexpr std::size_t named_markers = 5;
constexpr int max_rounds = 20;

int active_count(const MarkerSet& set) {
    return static_cast<int>(std::count_if(set.markers.begin(), set.markers.end(),
                                          [](const Marker& marker) { return marker.active; }));
}

void measure_residuals(MarkerMatch& match) {
    double squares = 0;
    double distances = 0;
    match.max_error_marker = match.pairs.front().reference_id;
    for (const MarkerPair& pair : match.pairs) {
        const Point mapped = apply_poly(match.moved_from_reference, pair.reference);
        const Point residual{pair.moved.x - mapped.x, pair.moved.y - mapped.y};
        const double distance = std::hypot(residual.x, residual.y);
        match.residuals.push_back(residual);
        squares += distance * distance;
        distances += distance;
        if (distance > match.max_absolute_error) {
            match.max_absolute_error = distance;
            match.max_error_marker = pair.reference_id;
        }
    }
    const auto count = static_cast<double>(match.pairs.size());
    match.mean_square_error = std::sqrt(squares / count);
    match.mean_absolute_error = distances / count;
}

/// Tells of markers far from the mapping that fits all others, and how far.
void note_far_markers(MarkerMatch& match, int coefficients) {
    PolyTransform mapping = match.moved_from_reference;
    std::vector<std::size_t> far;
    std::vector<double> distances = distances_from(mapping, match.pairs);
    for (int round = 0; round < max_rounds; ++round) {
        const double limit = suspicious_distance(distances);
        std::vector<std::size_t> now;
        std::vector<MarkerPair> near;
        for (std::size_t i = 0; i < distances.size(); ++i)
            if (distances[i] > limit)
                now.push_back(i);
            else
                near.push_back(match.pairs[i]);
        if (now == far || near.size() <= static_cast<std::size_t>(coefficients)) break;
        far = std::move(now);
        const PolyFit fit = fit_pairs(near, coefficients);
        if (!fit.ok) break;
        distances = distances_from(fit.map, match.pairs);
    }
    if (far.empty()) return;
    std::string text = "Far from where the other markers put them, but used:";
    for (std::size_t k = 0; k < std::min(far.size(), named_markers); ++k)
        text += (k == 0 ? " No " : ", No ") + std::to_string(match.pairs[far[k]].reference_id) +
                " by " + format_fixed(distances[far[k]], 1) + " px";
    if (far.size() > named_markers)
        text += " and " + std::to_string(far.size() - named_markers) + " more";
    match.notes.push_back(text);
}

void judge_residuals(MarkerMatch& match, int coefficients) {
    const double middle = median(distances_from(match.moved_from_reference, match.pairs));
    const double worst = match.max_absolute_error;
    if (worst > marker_accuracy &&
        (worst > suspicious_pixels || worst > suspicious_medians * middle)) {
        note_far_markers(match, coefficients);
        match.notes.push_back("The worst residual of the markers is " + format_general(worst, 3) +
                              " px at marker No " + std::to_string(match.max_error_marker) +
                              ", their median " + format_general(middle, 3) + " px");
    }
    match.poor = match.poor || match.mean_square_error > poor_alignment_rms;
    if (match.poor)
        match.notes.push_back(
            "Poorly aligned: the markers' root mean square error is " +
            format_general(match.mean_square_error, 3) + " px" +
            (match.mean_square_error > poor_alignment_rms ? "" : ", but too few pairs agree"));
}

}  // namespace

MarkerMatch match_markers(const MarkerSet& reference, const MarkerSet& moved,
                          const MarkerMatchOptions& options) {
    MarkerMatch match;
    match.reference_count = static_cast<int>(reference.markers.size());
    match.moved_count = static_cast<int>(moved.markers.size());
    match.different_counts = active_count(reference) != active_count(moved);
    if (match.different_counts) match.notes.push_back("Different count of 'align' markers");

    const int coefficients = poly_coefficient_count(options.order);
    const int box = std::clamp(options.box, 0, largest_box);
    const PairingOptions how{.link = options.link,
                             .window_side = 2 * box + 1,
                             .fix_first = options.fix_first,
                             .coefficients = coefficients};
    Pairing pairing = options.by_geometry ? pair_by_geometry(reference, moved, how)
                                          : pair_markers(reference, moved, how);
    match.notes.insert(match.notes.end(), pairing.notes.begin(), pairing.notes.end());
    if (!pairing.ok) {
        match.failure = "Pairing the markers failed: " + pairing.notes.back();
        return match;
    }
    match.poor = pairing.doubtful;
    match.pairs = std::move(pairing.pairs);
    if (match.pairs.empty()) {
        match.failure = no_pairs_text;
        return match;
    }
    match.orders = leave_one_out_errors(match.pairs);
    if (2 * match.pairs.size() < static_cast<std::size_t>(coefficients)) {
        match.failure = std::to_string(match.pairs.size()) + " marker pairs are too few for " +
                        std::to_string(coefficients) + " coefficients per axis";
        return match;
    }
    const PolyFit fit = fit_pairs(match.pairs, coefficients);
    match.moved_from_reference = fit.map;
    match.underdetermined = fit.underdetermined;
    if (!fit.ok) {
        match.failure = "The least-squares fit to the marker pairs failed";
        return match;
    }
    if (fit.underdetermined)
        match.notes.push_back(
            "The marker pairs do not determine a mapping of this order; the least correction that "
            "fits them is used");
    measure_residuals(match);
    judge_residuals(match, coefficients);
    match.ok = true;
    return match;
}

int order_of_mapping(int wanted, const MarkerSet& reference, const MarkerSet& moved,
                     MarkerMatchOptions options) {
    if (wanted >= 0) return wanted;
    options.order = 1;
    return match_markers(reference, moved, options).orders.suggested.value_or(1);
}

std::vector<std::string> report_lines(const MarkerMatch& match, const std::string& reference_name,
                                      const std::string& moved_name) {
    const auto number = [](double value) { return format_general(value, 6); };
    std::vector<std::string> lines{
        "Markers Connection:",
        "Number of markers:" + std::to_string(match.moved_count),
        "Number of standard markers = " + std::to_string(match.reference_count),
        "Number of pairs = " + std::to_string(match.pairs.size()),
    };
    if (match.ok) {
        lines.push_back("Mean-square error = " + number(match.mean_square_error));
        lines.push_back("Mean absolute error = " + number(match.mean_absolute_error));
        lines.push_back("Maximal absolute error = " + number(match.max_absolute_error) +
                        " at marker No " + std::to_string(match.max_error_marker));
        lines.push_back("Image Alignment:    " + moved_name + " - (" + reference_name + ")");
    }
    lines.emplace_back();
    return lines;
}

std::vector<std::string> order_lines(const OrderErrors& orders) {
    std::vector<std::string> lines;
    for (std::size_t order = 0; order < orders.leave_one_out.size(); ++order)
        if (const std::optional<double> error = orders.leave_one_out[order])
            lines.push_back("Leave-one-out error, order " + std::to_string(order) + " = " +
                            format_general(*error, 6));
    if (orders.suggested)
        lines.push_back("Order with the smallest leave-one-out error = " +
                        std::to_string(*orders.suggested));
    return lines;
}

}  // namespace vyn
