#pragma once

#include "python/image.h"

namespace vyn::python {

/// A PNG file of the image in false colour with a colour bar, no side longer than 800 pixels.
pybind11::bytes thumbnail(const ImageHandle& handle);

}  // namespace vyn::python
