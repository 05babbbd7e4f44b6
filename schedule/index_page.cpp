#include <algorithm>
#include <cmath>
#include <cstddef>

#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "core/version.h"
#include "core/xml_writer.h"
#include "process/report/html_parts.h"
#include "schedule/summary.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

constexpr const char* style = R"(<style>
body { font-family: sans-serif; margin: 1.5em; color: #222; background: #fff; }
table { border-collapse: collapse; font-size: 78%; width: 100%; }
th, td { border: 1px solid #bbb; padding: 2px 3px; text-align: left; vertical-align: top; }
thead th { position: sticky; top: 0; background: #fff; vertical-align: bottom; font-size: 88%; hyphens: auto; }
td.wide { min-width: 11em; overflow-wrap: anywhere; }
td.number { text-align: right; white-space: nowrap; }
td.beyond { color: #b00020; font-weight: bold; }
td.bad { background: #fbe3e4; } td.good { background: #e6f4e6; } td.doubtful { background: #fff3cd; }
th button { font: inherit; font-weight: bold; border: 0; background: none; padding: 0; cursor: pointer; text-align: left; }
th[aria-sort=ascending] button::after { content: " \2191"; }
th[aria-sort=descending] button::after { content: " \2193"; }
img { display: block; max-width: 72px; max-height: 72px; }
.trends { display: flex; flex-wrap: wrap; gap: 1em; }
figure { margin: 0; } figcaption { font-size: 90%; }
@media print {
  @page { size: A4 landscape; margin: 10mm; }
  body { margin: 0; } table { font-size: 6.5pt; } th, td { padding: 1px 3px; }
  thead th { position: static; }
  h2 { break-after: avoid; } tr, figure { break-inside: avoid; } thead { display: table-header-group; } img { max-width: 48px; }
}
</style>
)";

/// Sorts the rows by the column whose head was pressed: by number where all are, else by text;
/// empty cells last.
constexpr const char* script = R"(<script>
"use strict";
document.querySelectorAll("th button").forEach(function (button) {
  button.addEventListener("click", function () {
    const head = button.parentElement, table = head.closest("table"), body = table.tBodies[0];
    const up = head.getAttribute("aria-sort") !== "ascending";
    table.querySelectorAll("th").forEach(function (other) { other.removeAttribute("aria-sort"); });
    head.setAttribute("aria-sort", up ? "ascending" : "descending");
    const rows = Array.from(body.rows).map(function (row) {
      return { row: row, key: row.cells[head.cellIndex].dataset.key || "" };
    });
    const numbers = rows.every(function (entry) { return entry.key === "" || !isNaN(entry.key); });
    rows.sort(function (a, b) {
      if ((a.key === "") !== (b.key === "")) return a.key === "" ? 1 : -1;
      const order = numbers ? a.key - b.key
                            : a.key.localeCompare(b.key, undefined, { numeric: true });
      return up ? order : -order;
    });
    rows.forEach(function (entry) { body.appendChild(entry.row); });
  });
});
</script>
)";

const char* colour_of(PointStatus::Kind kind) {
    using Kind = PointStatus::Kind;
    switch (kind) {
        case Kind::done:
            return "good";
        case Kind::failed:
            return "bad";
        case Kind::beyond:
        case Kind::aborted:
        case Kind::out_of_date:
            return "doubtful";
        case Kind::waiting:
        case Kind::running:
        case Kind::skipped:
            break;
    }
    return "";
}

std::string cell(const std::string& kind, const std::string& key, const std::string& content) {
    return "<td class=\"" + kind + "\" data-key=\"" + xml_escaped(key) + "\">" + content + "</td>";
}

/// A figure in few characters.
std::string short_number(double value) {
    constexpr double five_digits = 1e4;
    constexpr double eight_digits = 1e7;
    const bool long_whole = std::abs(value) >= five_digits && std::abs(value) < eight_digits;
    return long_whole ? format_fixed(value, 0) : format_general(value, 4);
}

/// The figures that one of the points has.
std::vector<const FigureInfo*> known_figures(const std::vector<PointStatus>& statuses) {
    std::vector<const FigureInfo*> known;
    for (const FigureInfo& figure : figure_table())
        if (std::ranges::any_of(statuses, [&](const PointStatus& status) {
                return status.state && status.state->figures.contains(std::string(figure.name));
            }))
            known.push_back(&figure);
    return known;
}

std::string thumbnail_in(const Schedule& schedule, const SchedulePoint& point) {
    constexpr std::size_t most_bytes = std::size_t{1} << 20;
    std::error_code ignored;
    const fs::path file = schedule.folder_of(point) / "thumbnail.png";
    if (!fs::exists(file, ignored)) return {};
    try {
        const std::string bytes = read_file(file, most_bytes);
        const auto* const first = reinterpret_cast<const std::byte*>(bytes.data());
        return html_picture(std::vector<std::byte>(first, first + bytes.size()),
                            "field of " + point.name);
    } catch (const FileError&) {
        return {};  // removed meanwhile
    }
}

std::string link_in(const Schedule& schedule, const SchedulePoint& point) {
    std::error_code ignored;
    std::string text = xml_escaped(point.name);
    if (!fs::exists(schedule.folder_of(point) / "page.html", ignored)) return text;
    std::string address;
    for (const char c : point.name) {  // a name may hold what parts an address
        const bool plain = std::string_view("%?# \"<>&'").find(c) == std::string_view::npos;
        constexpr const char* digits = "0123456789ABCDEF";
        const auto byte = static_cast<unsigned char>(c);
        if (plain && byte < 0x80)
            address += c;
        else
            address.append("%").append(1, digits[byte >> 4U]).append(1, digits[byte & 15U]);
    }
    return "<a href=\"" + address + "/page.html\">" + text + "</a>";
}

std::string row_of(const Schedule& schedule, const SchedulePoint& point, const PointStatus& status,
                   const std::vector<const FigureInfo*>& figures, const FigureLimits& limits) {
    std::string row = cell("", point.name, link_in(schedule, point)) +
                      cell("", point.group, xml_escaped(point.group)) +
                      cell(colour_of(status.kind), name(status.kind), name(status.kind));
    std::string remarks = xml_escaped(status.reason);
    if (status.state)
        for (const std::string& warning : status.state->warnings)
            if (status.reason.empty() || warning.find(status.reason) == std::string::npos)
                remarks += (remarks.empty() ? "" : "<br>") + xml_escaped(warning);
    for (const FigureInfo* figure : figures) {
        const auto value = status.state ? status.state->figures.find(std::string(figure->name))
                                        : Figures::const_iterator{};
        if (!status.state || value == status.state->figures.end()) {
            row += cell("number", "", "");
            continue;
        }
        row += cell(is_beyond(*figure, value->second, limits) ? "number beyond" : "number",
                    format_double(value->second), short_number(value->second));
    }
    return row + cell("wide", remarks, remarks) + "</tr>\n";
}

/// One figure along the run, a dot a point, with its limit; nothing where it does not change.
std::string trend(const FigureInfo& figure, const std::vector<PointStatus>& statuses,
                  const FigureLimits& limits) {
    constexpr double width = 288;
    constexpr double height = 110;
    constexpr double left = 60;
    constexpr double margin = 8;
    double low = INFINITY;
    double high = -INFINITY;
    std::vector<std::pair<std::size_t, double>> dots;
    for (std::size_t i = 0; i < statuses.size(); ++i) {
        if (!statuses[i].state) continue;
        const auto value = statuses[i].state->figures.find(std::string(figure.name));
        if (value == statuses[i].state->figures.end()) continue;
        dots.emplace_back(i, value->second);
        low = std::min(low, value->second);
        high = std::max(high, value->second);
    }
    if (dots.size() < 2 || !(high > low)) return {};
    const auto x = [&](std::size_t i) {
        return left + (width - left - margin) * static_cast<double>(i) /
                          static_cast<double>(std::max<std::size_t>(statuses.size() - 1, 1));
    };
    const auto y = [&](double value) {
        return height - margin - (height - 2 * margin) * (value - low) / (high - low);
    };
    const auto line = [&](double at, const char* colour) {
        return "<line x1=\"" + format_general(left, 6) + "\" x2=\"" + format_general(width, 6) +
               "\" y1=\"" + format_general(at, 6) + "\" y2=\"" + format_general(at, 6) +
               "\" stroke=\"" + colour + "\"/>\n";
    };
    std::string svg = "<figure><figcaption>" + xml_escaped(std::string(figure.label)) +
                      "</figcaption>\n<svg role=\"img\" aria-label=\"" +
                      xml_escaped(std::string(figure.label)) + " along the run\" width=\"" +
                      format_general(width, 6) + "\" height=\"" + format_general(height, 6) +
                      "\" font-size=\"10\" font-family=\"sans-serif\">\n" + line(y(low), "#bbb") +
                      line(y(high), "#bbb");
    for (const double value : {low, high})
        svg += "<text x=\"" + format_general(left - 4, 6) + "\" y=\"" +
               format_general(y(value) + 3, 6) + "\" text-anchor=\"end\">" + short_number(value) +
               "</text>\n";
    if (const auto limit = limits.find(std::string(figure.name));
        limit != limits.end() && limit->second >= low && limit->second <= high)
        svg += line(y(limit->second), "#b00020");
    for (const auto& [i, value] : dots)
        svg += "<circle cx=\"" + format_general(x(i), 6) + "\" cy=\"" +
               format_general(y(value), 6) + "\" r=\"2\" fill=\"" +
               (is_beyond(figure, value, limits) ? "#b00020" : "#1f5fa8") + "\"/>\n";
    return svg + "</svg></figure>\n";
}

std::string limits_text(const FigureLimits& limits) {
    std::string text;
    for (const FigureInfo& figure : figure_table())
        if (const auto limit = limits.find(std::string(figure.name)); limit != limits.end())
            text += (text.empty() ? "Limits: " : "; ") + std::string(figure.label) +
                    (figure.bad == FigureInfo::Bad::above ? " at most " : " at least ") +
                    format_general(limit->second, 4);
    return text.empty() ? text : text + ".";
}

}  // namespace

std::string index_page(const Schedule& schedule, const std::vector<PointStatus>& statuses,
                       const FigureLimits& limits) {
    constexpr std::size_t most_thumbnails = 500;  // some ten kilobytes each
    const bool with_thumbnails = statuses.size() <= most_thumbnails;
    const std::string title = "Run " + schedule.file.stem().string();
    const std::vector<const FigureInfo*> figures = known_figures(statuses);
    std::string html =
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta name=\"viewport\" content=\"width=device-width\">\n"
        "<link rel=\"icon\" href=\"data:,\">\n<title>" +
        xml_escaped(title) + "</title>\n" + style + "</head>\n<body>\n<h1>" + xml_escaped(title) +
        "</h1>\n" +
        html_paragraph(std::to_string(statuses.size()) + " points: " + summary_line(statuses) +
                       ". " + limits_text(limits));
    std::string trends;
    for (const FigureInfo* figure : figures)
        trends += trend(*figure, statuses, limits);
    if (!trends.empty())
        html += html_heading("Along the run") + "<div class=\"trends\">\n" + trends + "</div>\n";
    html += html_heading("Points");
    if (!with_thumbnails)
        html += html_paragraph("Runs of more than " + std::to_string(most_thumbnails) +
                               " points are shown without pictures; each point's page has them.");
    html += std::string("<table>\n<thead><tr>") + (with_thumbnails ? "<th>field</th>" : "");
    for (const char* head : {"point", "group", "state"})
        html += std::string("<th><button type=\"button\">") + head + "</button></th>";
    for (const FigureInfo* figure : figures)
        html += "<th><button type=\"button\">" + xml_escaped(std::string(figure->label)) +
                "</button></th>";
    html += "<th><button type=\"button\">remarks</button></th></tr></thead>\n<tbody>\n";
    for (std::size_t i = 0; i < statuses.size(); ++i)
        html += "<tr>" +
                (with_thumbnails ? cell("", "", thumbnail_in(schedule, schedule.points[i])) : "") +
                row_of(schedule, schedule.points[i], statuses[i], figures, limits);
    return html + "</tbody>\n</table>\n" +
           html_paragraph(std::string("Made by VynLite ") + program_version + ".") + script +
           "</body>\n</html>\n";
}

}  // namespace vyn
