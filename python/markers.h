#pragma once

#include <vector>

#include <pybind11/pybind11.h>

#include "markers/marker.h"

namespace vyn::python {

/// Markers of an image (columns and rows) or, with three coordinates, on a model.
MarkerSet set_of(std::vector<Marker> markers);

}  // namespace vyn::python
