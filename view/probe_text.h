#pragma once

#include <string>

#include "core/data_set.h"
#include "render/view_source.h"

namespace vyn {

/// The status line for a pixel of the field of this name.
std::string probe_text(const ProbedPixel& pixel, const std::string& field_name);

/// What an image holds, for the status line, the colour bar and axes.
struct FieldLabel {
    std::string name;
    std::string unit;  ///< empty for numbers without one

    /// "Pressure, Pa" or "Cp".
    std::string text() const { return unit.empty() ? name : name + ", " + unit; }
};

/// By the image's name in the list: the field's quantity with its unit as the project sets them,
/// "I/Iref" for ratios, "Displacement" for images with vectors, "Intensity" for all others.
FieldLabel field_label(const image& picture, dataSetInterface& data);

}  // namespace vyn
