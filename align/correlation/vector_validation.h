#pragma once

#include <vector>

#include "align/correlation/field_filling.h"
#include "align/poly_transform.h"
#include "api/bitmap.h"

namespace vyn {

/// Displacements found at the nodes of a grid.
struct NodeVectors {
    Bitmap<double> u;
    Bitmap<double> v;
    Bitmap<std::uint8_t> found;  ///< 1 = there is one
};

/// Takes away vectors that differ from the median of their neighbours by more than twice the
/// neighbours' own spread (normalised median test; Westerweel & Scarano 2005), twice over.
void reject_by_neighbours(NodeVectors& vectors);

/// The linear mapping through the vectors, without those that are far off; empty (n = 0) when there
/// are fewer than three.
PolyTransform robust_mapping(const NodeVectors& vectors, int step);

/// Takes away vectors that differ from the mapping by more than five times their usual distance,
/// and by more than `tolerance` pixels.
void reject_by_mapping(NodeVectors& vectors, int step, const PolyTransform& mapping,
                       double tolerance);

int count_found(const NodeVectors& vectors);

}  // namespace vyn
