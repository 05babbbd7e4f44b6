#pragma once

#include <filesystem>
#include <string>

namespace vyn::plugins {

/// The first text of keyword "Comment" that a PNG file holds uncompressed; empty when there is none
/// or it is longer than a description of this program can be. Read past the library, which would
/// take the memory that a damaged chunk's length asks for.
std::string png_comment(const std::filesystem::path& file);

}  // namespace vyn::plugins
