#pragma once

#include <filesystem>
#include <string>

namespace vyn {

/// SHA-256 of a file's bytes, hexadecimal. Raises FileError naming the file.
std::string file_sha256(const std::filesystem::path& file);

}  // namespace vyn
