#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "render/figure.h"

namespace vyn {

/// The parts of a page. Texts are escaped here; an empty picture or paragraph is nothing. Pictures
/// are inside, as PNG files' bytes.
std::string html_picture(const Figure& figure, const std::string& alternative);
std::string html_picture(const std::vector<std::byte>& png, const std::string& alternative);
std::string html_heading(const std::string& text);
std::string html_paragraph(const std::string& text);
std::string html_list(const std::vector<std::string>& items);

/// A table row by row.
class HtmlTable {
  public:
    explicit HtmlTable(const std::vector<std::string>& heads);
    void add(const std::vector<std::string>& cells) { row(cells, "td"); }
    std::string html() const;

  private:
    void row(const std::vector<std::string>& cells, const std::string& tag);
    std::string rows_;
};

}  // namespace vyn
