#include "process/report/html_parts.h"

#include "core/base64.h"
#include "core/xml_writer.h"
#include "render/figure_file.h"

namespace vyn {

std::string html_picture(const Figure& figure, const std::string& alternative) {
    return figure.draw ? html_picture(png_bytes(figure), alternative) : std::string();
}

std::string html_picture(const std::vector<std::byte>& png, const std::string& alternative) {
    if (png.empty()) return {};
    return "<img alt=\"" + xml_escaped(alternative) + "\" src=\"data:image/png;base64," +
           base64(png) + "\">";
}

std::string html_heading(const std::string& text) {
    return "<h2>" + xml_escaped(text) + "</h2>\n";
}

std::string html_paragraph(const std::string& text) {
    return text.empty() ? std::string() : "<p>" + xml_escaped(text) + "</p>\n";
}

std::string html_list(const std::vector<std::string>& items) {
    std::string html = "<ul>\n";
    for (const std::string& item : items)
        html += "<li>" + xml_escaped(item) + "</li>\n";
    return html + "</ul>\n";
}

HtmlTable::HtmlTable(const std::vector<std::string>& heads) {
    row(heads, "th");
}

std::string HtmlTable::html() const {
    return "<table border=\"1\" cellspacing=\"0\" cellpadding=\"4\">\n" + rows_ + "</table>\n";
}

void HtmlTable::row(const std::vector<std::string>& cells, const std::string& tag) {
    const std::string opening = "<" + tag + ">";
    const std::string closing = "</" + tag + ">";
    rows_ += "<tr>";
    for (const std::string& cell : cells)
        rows_.append(opening).append(xml_escaped(cell)).append(closing);
    rows_ += "</tr>\n";
}

}  // namespace vyn
