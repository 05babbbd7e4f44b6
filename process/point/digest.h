#pragma once

#include <filesystem>
#include <string>

namespace vyn {

/// SHA-256 of a file's bytes, hexadecimal. Raises FileError naming the file.
std::string file_sha256(const std::filesystem::path& file);

/// The same, computed once for a file of this size and time of change; of several files that a name
/// means together (`files_named`), that of the lines which sha256sum prints of them in their
/// folder. Any thread.
std::string known_file_sha256(const std::filesystem::path& name);

}  // namespace vyn
