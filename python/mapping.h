#pragma once

#include "align/image_map.h"

namespace vyn::python {

/// Where each pixel of an output picture is seen in a source picture.
struct Mapping {
    ImageMap map;
};

}  // namespace vyn::python
