#pragma once

#include <filesystem>
#include <string>

namespace vyn {

/// SHA-256 of a file's bytes, hexadecimal. Raises FileError naming the file.
std::string file_sha256(const std::filesystem::path& file);

/// The same, computed once for a file of this size and time of change. Any thread.
std::string known_file_sha256(const std::filesystem::path& file);

}  // namespace vyn
