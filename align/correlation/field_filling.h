#pragma once

#include <cstdint>
#include <functional>

#include "align/correlation/local_polynomials.h"
#include "align/correlation/node_grid.h"
#include "align/displacement_field.h"

namespace vyn {

/// Displacement, pixels, that holds where nothing was measured.
using BaseField = std::function<Point(Point position)>;

/// Where the displacement of a node comes from.
enum class NodeSource : std::uint8_t {
    measured = 0,
    filled = 1,  ///< from measured nodes nearby
    none = 2,    ///< the base field
};

struct FilledField {
    DisplacementField field;
    Bitmap<NodeSource> source;  ///< of the picture's nodes
};

/// The field of the polynomials at the measured nodes (byte not 0). Other nodes take what the
/// polynomials of the nodes about them determine, or go on from the nearest measured node (by the
/// slopes and, up to 3 nodes, curvatures of `continuation`, which should be smooth), and turn into
/// the base field between 2 nodes and 2 cells.
FilledField filled_field(const LocalPolynomials& polynomials, const LocalPolynomials& continuation,
                         const Bitmap<std::uint8_t>& measured, const NodeGrid& grid,
                         const BaseField& base);

/// The base field alone.
DisplacementField base_only(const NodeGrid& grid, const BaseField& base);

}  // namespace vyn
