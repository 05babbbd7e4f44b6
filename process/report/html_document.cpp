#include "process/report/html_document.h"

#include <algorithm>

#include "core/xml_writer.h"
#include "process/report/html_parts.h"

namespace vyn {

namespace {

using Tone = Document::Tone;

constexpr int page_span = 720;  // pixels; no picture is shown wider

constexpr const char* style = R"(<style>
body { font-family: "DejaVu Sans", sans-serif; margin: 2em; max-width: 60em; }
table { border-collapse: collapse; }
td, th { text-align: left; }
td { overflow-wrap: anywhere; }
td.number, th.number { text-align: right; }
td.number { white-space: nowrap; }
img { max-width: 100%; height: auto; }
@media print {
  @page { size: A4; margin: 15mm; }
  body { margin: 0; max-width: none; font-size: 70%; }
  thead { display: table-header-group; }
  h2 { break-after: avoid; } tr, img, svg { break-inside: avoid; }
}
</style>
)";

std::string colour_of(Tone tone) {
    return tone == Tone::alarm ? " style=\"color: #b00020\"" : "";
}

/// One part after the other.
struct Page {
    std::string html{};

    void operator()(const Document::Heading& part) { html += html_heading(part.text); }

    void operator()(const Document::Paragraph& part) {
        html += "<p" + colour_of(part.tone) + ">" + xml_escaped(part.text) + "</p>\n";
    }

    void operator()(const Document::List& part) {
        html += "<ul>\n";
        for (const std::string& item : part.items)
            html += "<li" + colour_of(part.tone) + ">" + xml_escaped(item) + "</li>\n";
        html += "</ul>\n";
    }

    void operator()(const Document::Table& part) {
        const auto cell = [&](std::size_t column, const std::string& tag, const std::string& text) {
            const bool number = part.columns[column].kind == Document::Column::Kind::number;
            html += "<" + tag + (number ? " class=\"number\" align=\"right\">" : ">") +
                    xml_escaped(text) + "</" + tag + ">";
        };
        html += "<table border=\"1\" cellspacing=\"0\" cellpadding=\"4\">\n";
        if (Document::has_heads(part)) {
            html += "<thead><tr>";
            for (std::size_t c = 0; c < part.columns.size(); ++c)
                cell(c, "th", part.columns[c].head);
            html += "</tr></thead>\n";
        }
        html += "<tbody>\n";
        for (const auto& row : part.rows) {
            html += "<tr>";
            for (std::size_t c = 0; c < row.size(); ++c)
                cell(c, "td", row[c]);
            html += "</tr>\n";
        }
        html += "</tbody>\n</table>\n<p></p>\n";
    }

    void operator()(const Document::Figures& part) {
        const auto columns = static_cast<std::size_t>(std::max(part.columns, 1));
        html += "<table cellspacing=\"0\" cellpadding=\"4\">\n";
        for (std::size_t i = 0; i < part.items.size(); i += columns) {
            html += "<tr>";
            for (std::size_t k = i; k < std::min(i + columns, part.items.size()); ++k) {
                const auto& [figure, caption] = part.items[k];
                html += "<td>" +
                        html_picture(figure, caption, page_span / static_cast<int>(columns)) +
                        (caption.empty() ? "" : "<br>" + xml_escaped(caption)) + "</td>";
            }
            html += "</tr>\n";
        }
        html += "</table>\n";
    }
};

}  // namespace

std::string html_of(const Document& document) {
    const std::string title = xml_escaped(document.title);
    Page page;
    for (const Document::Part& part : document.parts)
        std::visit(page, part);
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>" +
           title + "</title>\n" + style + "</head>\n<body>\n<h1>" + title + "</h1>\n" + page.html +
           html_paragraph("Made by " + document.made_by + ".") + "</body>\n</html>\n";
}

}  // namespace vyn
