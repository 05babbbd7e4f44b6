#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "render/figure.h"

namespace vyn {

/// The parts of a page. Texts are escaped here; an empty picture or paragraph is nothing. Pictures
/// are inside, as PNG files' bytes.
std::string html_picture(const std::vector<std::byte>& png, const std::string& alternative);
/// Shown so many pixels wide at most.
std::string html_picture(const Figure& figure, const std::string& alternative, int widest);
std::string html_heading(const std::string& text);
std::string html_paragraph(const std::string& text);

}  // namespace vyn
