#pragma once

#include <memory>

#include "api/field_data.h"

namespace vyn::python {

/// What Python calls a Mesh: a constant snapshot, as images are.
struct MeshHandle {
    std::shared_ptr<const field_data<double>> mesh;
};

}  // namespace vyn::python
