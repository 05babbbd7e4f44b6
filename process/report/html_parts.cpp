#include "process/report/html_parts.h"

#include <algorithm>

#include "core/base64.h"
#include "core/xml_writer.h"
#include "render/figure_file.h"

namespace vyn {

namespace {

std::string picture(const std::vector<std::byte>& png, const std::string& alternative,
                    const std::string& more) {
    if (png.empty()) return {};
    return "<img alt=\"" + xml_escaped(alternative) + "\"" + more +
           " src=\"data:image/png;base64," + base64(png) + "\">";
}

}  // namespace

std::string html_picture(const std::vector<std::byte>& png, const std::string& alternative) {
    return picture(png, alternative, {});
}

std::string html_picture(const Figure& figure, const std::string& alternative, int widest) {
    return figure.draw
               ? picture(png_bytes(figure), alternative,
                         " width=\"" + std::to_string(std::min(figure.width, widest)) + "\"")
               : std::string();
}

std::string html_heading(const std::string& text) {
    return "<h2>" + xml_escaped(text) + "</h2>\n";
}

std::string html_paragraph(const std::string& text) {
    return text.empty() ? std::string() : "<p>" + xml_escaped(text) + "</p>\n";
}

}  // namespace vyn
