#pragma once

#include <filesystem>
#include <string_view>

#include <nlohmann/json_fwd.hpp>
#include <pybind11/pybind11.h>
#include <pybind11/stl/filesystem.h>

namespace vyn::python {

/// A text of the program, which may hold bytes of file names that are no UTF-8: they become
/// surrogates, as in Python's own names of files.
pybind11::str text(std::string_view bytes);

/// Dictionaries, lists and numbers.
pybind11::object object_of(const nlohmann::json& value);

}  // namespace vyn::python
