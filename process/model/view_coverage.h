#pragma once

#include <string>
#include <vector>

#include "api/field_data.h"

namespace vyn {

/// What one camera gave to the values on a mesh.
struct ViewCoverage {
    std::string name;
    double rms = 0;           ///< of its markers, pixels
    double best_share = 0;    ///< of the nodes (or cells) with a value: where it is the best view
    double shared_share = 0;  ///< of these: where another camera sees the place, too
    double spread = 0;  ///< rms difference of the views there, in the field's unit; NaN for none
};

/// By view of a mesh that a field was put on; empty for any other.
std::vector<ViewCoverage> view_coverage(const field_data<double>& mesh);

}  // namespace vyn
