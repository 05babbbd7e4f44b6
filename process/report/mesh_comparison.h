#pragma once

#include <array>
#include <string>
#include <vector>

#include "api/field_data.h"

namespace vyn {

struct MeshComparisonOptions {
    std::string quantity;  ///< of both; empty: the field's first one
    int edge = 0;          ///< nodes so many edges or fewer away from one not seen are left out
    std::vector<std::array<double, 3>> dots;  ///< places whose surroundings are left out
    double dot_distance = 0;                  ///< in the mesh's unit
};

/// How a field on a mesh differs from the truth at its nodes; errors are field - truth.
struct MeshComparison {
    std::string quantity;
    std::string unit;
    std::size_t nodes = 0;
    std::size_t seen = 0;   ///< of them with a value in the field
    std::size_t count = 0;  ///< compared
    double rms_error = 0;
    double mean_error = 0;
    double max_error = 0;   ///< largest absolute error
    std::size_t worst = 0;  ///< node where that is, from 0
    double truth_min = 0;   ///< over the compared nodes
    double truth_max = 0;
    /// Where the truth has quantities "seen", "seen_2" ... of its cameras (1 seen, 0 not, else in
    /// doubt): values at nodes that no camera sees, and nodes that all see without a value.
    bool knows_seen = false;
    std::size_t hidden_with_value = 0;
    std::size_t seen_without_value = 0;

    double truth_range() const { return truth_max - truth_min; }
};

/// Compares the values of the same nodes where both have one. Raises AlgoError when a quantity is
/// missing or not at the nodes, when no node is left, or the meshes have not the same nodes (to
/// 1e-6 of their size).
MeshComparison compare_on_mesh(const field_data<double>& field, const field_data<double>& truth,
                               const MeshComparisonOptions& options);

}  // namespace vyn
