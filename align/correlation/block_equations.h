#pragma once

#include <cstdint>
#include <memory>

#include "align/correlation/field_equations.h"
#include "align/correlation/masked_plane.h"
#include "align/correlation/node_grid.h"
#include "align/displacement_field.h"

namespace vyn {

/// Whether the cell of a node can be measured.
enum class CellState : std::uint8_t {
    measured = 0,  ///< the pictures agree there
    outside,       ///< too few usable pixels
    no_texture,    ///< nothing to measure by in the wind-off picture, or noise only
    no_match,      ///< texture, but the pictures do not agree
};

/// One Gauss-Newton step of every node towards the displacement at which the pictures agree.
struct BlockEquations {
    FieldEquations equations;  ///< of the total displacement
    Bitmap<CellState> state;
};

/// Powers of the derivatives of both contrasts after a low-pass, summed over the cells that agree.
struct TexturePowers {
    double own = 0;      ///< each picture's with itself, mean of both: texture and noise
    double crossed = 0;  ///< of the one with the other: texture alone
};

/// Both pictures in the same frame: the wind-on picture seen through `field`.
struct AlignedPair {
    const MaskedPlane& off;
    const MaskedPlane& on;
    const DisplacementField& field;
};

/// Contrasts of both pictures against their local means over the pixels that both have, compared
/// after a Gaussian low-pass.
class PairComparison {
  public:
    PairComparison(const AlignedPair& pair, const NodeGrid& grid, Progress& progress);
    ~PairComparison();
    PairComparison(const PairComparison&) = delete;
    PairComparison& operator=(const PairComparison&) = delete;

    /// The equations of all blocks: offset and contrast of the two pictures from the cell, normal
    /// equations with the gradients of one picture times those of the other, whose noise is
    /// independent, from the block. `low_pass` is the standard deviation of the Gaussian, pixels.
    BlockEquations equations(double low_pass, Progress& progress) const;

    /// The powers over some rows of blocks of the picture.
    TexturePowers powers(double low_pass, Progress& progress) const;

  private:
    struct Parts;
    std::unique_ptr<const Parts> parts_;
};

/// The low-pass that gives the least variance of the displacement (of those from 0.7 to 2.8
/// pixels), for white noise: that of a sum of g e over g^2, e low-passed noise, is as the power of
/// g low-passed again over the squared power of g without its noise.
double best_low_pass(const PairComparison& pair, Progress& progress);

}  // namespace vyn
