#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace vyn::plugins {

/// Raises the FileError of a reader: names the file and what is wrong with it in plain words.
[[noreturn]] void refuse(const char* unit, int line, const std::filesystem::path& file,
                         const std::string& reason);

/// The same for a writer.
[[noreturn]] void fail_writing(const char* unit, int line, const std::filesystem::path& file,
                               const std::string& reason);

/// Refuses a picture without pixels or beyond the limits of a bitmap.
void check_sides(const char* unit, const std::filesystem::path& file, std::int64_t width,
                 std::int64_t height);

/// More than any of the compressions read here packs into one byte; a file that promises more than
/// this many times its size is damaged or hostile.
inline constexpr std::uint64_t max_compression_ratio = 1400;

}  // namespace vyn::plugins
