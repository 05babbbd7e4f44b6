#include "process/report/html_model.h"

#include <algorithm>
#include <functional>

#include "core/numbers.h"
#include "core/xml_writer.h"
#include "process/report/html_parts.h"

namespace vyn {

namespace {

std::string number(double value) {
    return format_general(value, 3);
}

/// Two beside each other.
std::string in_pairs(const std::vector<ModelReport::Picture>& pictures) {
    std::string html = "<table cellspacing=\"0\" cellpadding=\"4\">\n";
    for (std::size_t i = 0; i < pictures.size(); i += 2) {
        html += "<tr>";
        for (std::size_t k = i; k < std::min(i + 2, pictures.size()); ++k)
            html += "<td>" + html_picture(pictures[k].figure, pictures[k].label) + "<br>" +
                    xml_escaped(pictures[k].label) + "</td>";
        html += "</tr>\n";
    }
    return html + "</table>\n";
}

}  // namespace

std::string html_of_model(const ModelReport& report) {
    if (report.quantity.empty()) return {};
    std::string html = html_heading("On the model");
    html += html_paragraph(
        "Shown: " + report.quantity + ". " +
        (report.covered ? "Area seen: " + number(100 * *report.covered) + " %. " : std::string()) +
        "Grey was not seen.");
    html += in_pairs(report.pictures);
    if (!report.remarks.empty()) html += html_list(report.remarks);
    if (report.views.empty()) return html;
    HtmlTable table({"camera picture", "dots", "pairs", "paired", "root mean square, px",
                     "left out one by one, px", "largest, px", "at marker"});
    for (const ModelReport::View& view : report.views) {
        const ViewResult& found = view.found;
        table.add({found.name, std::to_string(found.dots), std::to_string(found.used),
                   found.paired_how, number(found.rms), number(found.leave_one_out_rms),
                   number(found.largest), std::to_string(found.largest_at)});
    }
    html += table.html();
    for (const ModelReport::View& view : report.views)
        html += html_paragraph("Residuals of the markers on " + view.found.name + ", drawn " +
                               format_general(view.factor, 6) + " times as long") +
                "<p>" + html_picture(view.residuals, "residuals") + "</p>\n";
    return html;
}

std::string html_of_model_markers(const ModelReport& report) {
    std::string html;
    for (const ModelReport::View& view : report.views) {
        std::vector<MarkerResult> markers = view.found.markers;
        std::ranges::stable_sort(markers, std::greater<>(), &MarkerResult::length);
        HtmlTable table({"marker", "x", "y", "residual x, px", "residual y, px", "distance, px",
                         "of its deviation", "used"});
        for (const MarkerResult& marker : markers)
            table.add({std::to_string(marker.marker_id), format_general(marker.dot.x, 6),
                       format_general(marker.dot.y, 6), number(marker.dx), number(marker.dy),
                       number(marker.length()), marker.used ? number(marker.standardised) : "",
                       marker.used ? "yes" : "no"});
        html += html_heading("Markers on the model: " + view.found.name) + table.html();
    }
    return html;
}

}  // namespace vyn
