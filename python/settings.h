#pragma once

#include <string>
#include <utility>
#include <vector>

#include <pybind11/pybind11.h>

#include "core/data_set.h"

namespace vyn::python {

/// Paths of the key table with values, from a dictionary of numbers, truth values and texts, or
/// None. Raises AlgoError naming key and value that the table does not allow.
std::vector<std::pair<std::string, any>> settings_of(const pybind11::object& dictionary);

/// Puts them into the settings; all or none.
void apply_settings(dataSetInterface& data, const pybind11::object& dictionary);

/// A setting's value for Python.
pybind11::object object_of(const any& value);

}  // namespace vyn::python
