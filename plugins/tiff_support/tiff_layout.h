#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>

namespace vyn::plugins {

/// What the directories of a TIFF file say before any library is let loose on it.
struct TiffLayout {
    std::string fault;        ///< what is wrong with the chain of directories; empty when nothing
    int pages = 0;            ///< number of directories in the chain
    std::string description;  ///< beginning of the first page's ImageDescription
};

/// True for the first bytes of a TIFF or BigTIFF file of either byte order.
bool is_tiff_head(std::span<const std::byte> head);

/// Walks the directories and checks that each, its link to the next and every value that it points
/// to lie inside the file, and that the chain ends. The pixel data are not looked at. Neither
/// throws nor logs.
TiffLayout examine_tiff(const std::filesystem::path& file);

}  // namespace vyn::plugins
