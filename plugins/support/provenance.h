#pragma once

#include <string>

namespace vyn::plugins {

/// The name and version that files written here carry.
std::string software_name();

/// A JSON text in one line of plain ASCII, which every description field can hold: other characters
/// become \u escapes. Text that is no JSON becomes a JSON string.
std::string ascii_json(const std::string& text);

}  // namespace vyn::plugins
