#include "process/report/mesh_comparison.h"

#include <algorithm>
#include <cmath>

#include "core/errors.h"

namespace vyn {

namespace {

using Field = field_data<double>;

const Field::Quantity& at_nodes(const Field& mesh, const std::string& name, const char* whose) {
    const Field::Quantity* quantity = mesh.find(name);
    if (!quantity || quantity->place != Field::Place::node)
        throw AlgoError("Algorithm error!",
                        std::string(whose) + " has no quantity '" + name + "' at its nodes");
    return *quantity;
}

double distance(const std::array<double, 3>& a, const std::array<double, 3>& b) {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

void check_same_nodes(const Field& field, const Field& truth) {
    constexpr double tolerance = 1e-6;
    bool same = field.vertices.size() == truth.vertices.size();
    double size = 0;
    for (const auto& place : truth.vertices)
        size = std::max({size, std::abs(place[0]), std::abs(place[1]), std::abs(place[2])});
    for (std::size_t i = 0; same && i < field.vertices.size(); ++i)
        same = distance(field.vertices[i], truth.vertices[i]) <= tolerance * size;
    if (!same) throw AlgoError("Algorithm error!", "the two meshes have not the same nodes");
}

/// Takes away the nodes that share a face with one that was taken away before.
void shrink(const Field& mesh, std::vector<std::uint8_t>& kept) {
    const std::vector<std::uint8_t> before = kept;
    const auto was_kept = [&](int node) { return before[static_cast<std::size_t>(node)] != 0; };
    for (const auto& triangle : mesh.triangles)
        if (!std::ranges::all_of(triangle, was_kept))
            for (const int node : triangle)
                kept[static_cast<std::size_t>(node)] = 0;
}

}  // namespace

MeshComparison compare_on_mesh(const Field& field, const Field& truth,
                               const MeshComparisonOptions& options) {
    check_same_nodes(field, truth);
    if (options.quantity.empty() && field.quantities.empty())
        throw AlgoError("Algorithm error!", "the field has no values");
    MeshComparison result;
    result.quantity = options.quantity.empty() ? field.quantities.front().name : options.quantity;
    const Field::Quantity& found = at_nodes(field, result.quantity, "the field");
    const Field::Quantity& wanted = at_nodes(truth, result.quantity, "the truth");
    result.unit = found.unit;
    result.nodes = found.values.size();

    std::vector<const std::vector<double>*> seen;
    for (const Field::Quantity& quantity : truth.quantities)
        if (quantity.place == Field::Place::node &&
            (quantity.name == "seen" || quantity.name.starts_with("seen_")))
            seen.push_back(&quantity.values);
    result.knows_seen = !seen.empty();
    const auto all_say = [&](std::size_t node, double what) {
        return std::ranges::all_of(seen,
                                   [&](const auto* values) { return (*values)[node] == what; });
    };
    std::vector<std::uint8_t> kept(result.nodes);
    for (std::size_t i = 0; i < result.nodes; ++i) {
        kept[i] = !std::isnan(found.values[i]);
        result.seen += kept[i];
        if (!result.knows_seen) continue;
        result.hidden_with_value += kept[i] && all_say(i, 0);
        result.seen_without_value += !kept[i] && all_say(i, 1);
    }
    for (int i = 0; i < options.edge; ++i)
        shrink(field, kept);
    double squares = 0;
    double sum = 0;
    for (std::size_t i = 0; i < result.nodes; ++i) {
        if (!kept[i] || std::isnan(wanted.values[i])) continue;
        if (options.dot_distance > 0 && std::ranges::any_of(options.dots, [&](const auto& dot) {
                return distance(dot, field.vertices[i]) <= options.dot_distance;
            }))
            continue;
        const double value = wanted.values[i];
        const double error = found.values[i] - value;
        if (result.count == 0) result.truth_min = result.truth_max = value;
        result.truth_min = std::min(result.truth_min, value);
        result.truth_max = std::max(result.truth_max, value);
        if (result.count == 0 || std::abs(error) > result.max_error) {
            result.max_error = std::abs(error);
            result.worst = i;
        }
        ++result.count;
        sum += error;
        squares += error * error;
    }
    if (result.count == 0) throw AlgoError("Algorithm error!", "there is no node to compare");
    const auto count = static_cast<double>(result.count);
    result.mean_error = sum / count;
    result.rms_error = std::sqrt(squares / count);
    return result;
}

}  // namespace vyn
