#pragma once

#include "align/poly_transform.h"
#include "api/field_conversion.h"
#include "api/image.h"
#include "api/lens.h"

namespace vyn::bench {

/// The scene that all stages are measured on: a model on a dark ground, seen wind-off and wind-on
/// through a lens, N x N pixels.
struct Scene {
    explicit Scene(int n);

    int size;
    image off;
    image on;
    image dark;
    image flat;
    float dark_level = 90;
    Distortion lens;
    PolyTransform off_from_on;  ///< pixel of the wind-on image from pixel of the wind-off image
    FieldConversion conversion;
};

}  // namespace vyn::bench
