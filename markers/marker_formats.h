#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "markers/marker_files.h"

/// The marker formats one by one; callers go through marker_files.h.
namespace vyn::marker_formats {

/// No marker file is larger: about a million markers with every column.
inline constexpr std::size_t max_file_bytes = std::size_t{64} << 20;

/// Digits that the formats keep of a value.
inline constexpr int significant_digits = 6;

/// Which end of the image the rows of a text file count from.
enum class RowOrigin { top, bottom };

void write_xml(const std::string& file_name, const MarkerSet& set);
MarkerFileResult read_xml(const std::string& file_name, MarkerSet& set);

void write_text(const std::string& file_name, const MarkerSet& set);
MarkerFileResult read_text_2d(const std::string& file_name, MarkerSet& set, RowOrigin origin,
                              int image_height);
MarkerFileResult read_text_3d(const std::string& file_name, MarkerSet& set);

/// The text behind a byte order mark, where it begins with one.
std::string without_byte_order_mark(std::string text);

/// The parts of a text between runs of white space; they live as long as the text.
std::vector<std::string_view> split(std::string_view text);

}  // namespace vyn::marker_formats
