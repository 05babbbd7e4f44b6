#pragma once

#include <string>
#include <vector>

#include "api/image.h"

namespace vyn::plugins {

/// Version of the layout that is written, and the newest that is read.
inline constexpr int imp_version = 1;

/// What the text of an .imp file's first page holds.
struct ImpDescription {
    std::vector<std::string> pages;  ///< what each page holds, in their order
    ImageAttributes attributes;      ///< but the planes among them
    int displacement_step = 1;
    int frames = 1;  ///< that the picture is an average of
};

/// True for the beginning of a description of an .imp file.
bool is_imp_description(const std::string& text);

/// One line of plain ASCII, for an image whose pages are these. `provenance` is JSON or empty.
std::string write_description(const ImageAttributes& attributes,
                              const std::vector<std::string>& pages, const std::string& provenance);

/// Raises std::exception that says what is wrong: no such description, a newer version, a missing
/// or senseless entry.
ImpDescription parse_description(const std::string& text);

}  // namespace vyn::plugins
