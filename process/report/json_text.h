#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace vyn {

/// A JSON value as text, in one line unless an indent is given. Bytes that are no UTF-8, as names
/// of files may hold, become U+FFFD.
std::string json_text(const nlohmann::json& value, int indent = -1);

}  // namespace vyn
