#pragma once

#include <pybind11/pybind11.h>

namespace vyn::python {

namespace py = pybind11;

/// What the module holds, part by part; classes stand before the functions that take them.
void bind_errors(py::module_& module);
void bind_markers(py::module_& module);
void bind_image(py::module_& module);
void bind_image_files(py::module_& module);
void bind_dots(py::module_& module);
void bind_pixels(py::module_& module);
void bind_align(py::module_& module);
void bind_law(py::module_& module);
void bind_in_situ(py::module_& module);
void bind_model(py::module_& module);
void bind_pose(py::module_& module);
void bind_chain(py::module_& module);

}  // namespace vyn::python
