#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "core/errors.h"

namespace vyn::plugins {

/// Raises the FileError of a reader: names the file and what is wrong with it in plain words.
[[noreturn]] void refuse(const std::filesystem::path& file, const std::string& reason,
                         ErrorPlace at = std::source_location::current());

/// The same for a writer.
[[noreturn]] void fail_writing(const std::filesystem::path& file, const std::string& reason,
                               ErrorPlace at = std::source_location::current());

/// Refuses a picture without pixels, beyond the limits of a bitmap or larger than the free memory.
void check_sides(const std::filesystem::path& file, std::int64_t width, std::int64_t height,
                 ErrorPlace at = std::source_location::current());

/// More than any of the compressions read here packs into one byte; a file that promises more than
/// this many times its size is damaged or hostile.
inline constexpr std::uint64_t max_compression_ratio = 1400;

}  // namespace vyn::plugins
