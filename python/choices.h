#pragma once

#include <array>
#include <string>
#include <string_view>
#include <utility>

#include <pybind11/pybind11.h>

namespace vyn::python {

template <class Value, std::size_t count>
using Choices = std::array<std::pair<std::string_view, Value>, count>;

/// The value of a name; raises ValueError that tells `what` is chosen and the names that there are.
template <class Value, std::size_t count>
Value chosen(const Choices<Value, count>& choices, std::string_view name, const char* what) {
    std::string names;
    for (const auto& [known, value] : choices) {
        if (known == name) return value;
        names += (names.empty() ? "'" : ", '") + std::string(known) + "'";
    }
    throw pybind11::value_error(std::string(what) + " is one of " + names + ", not '" +
                                std::string(name) + "'");
}

}  // namespace vyn::python
