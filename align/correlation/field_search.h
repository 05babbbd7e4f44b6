#pragma once

#include <vector>

#include "align/correlation/field_filling.h"
#include "align/correlation/masked_plane.h"

namespace vyn {

/// The base field of a picture 2^level times smaller, in its pixels.
BaseField at_level(const BaseField& base, int level);

/// Where a search starts and how it ended.
struct SearchedField {
    DisplacementField field;  ///< on the nodes of the full picture
    BaseField base;           ///< the given one, or the robust linear mapping of what was found
};

/// Whether the base field is to hold or only to start from.
enum class BaseKind { given, guessed };

/// Both pictures and their smaller copies, the full ones first.
struct PictureLevels {
    std::vector<const MaskedPlane*> off;
    std::vector<const MaskedPlane*> on;
};

/// Searches from the coarsest level that holds four cells in a row to half the size (to the full
/// size where that is the only one or little was found): cells by normalised correlation in the
/// picture seen through the field so far, validation, local regression. The radius is 6 pixels
/// until something was found, then 3 and 2.
SearchedField search_field(const PictureLevels& levels, int step, int cell, const BaseField& base,
                           BaseKind kind, Progress& progress);

}  // namespace vyn
