#include "process/report/html_report.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>

#include "core/numbers.h"
#include "core/xml_writer.h"
#include "process/report/html_model.h"
#include "process/report/html_parts.h"

namespace vyn {

namespace {

std::string number(double value) {
    return format_general(value, 6);
}

std::string number(std::int64_t value) {
    return std::to_string(value);
}

std::string pixels(double value) {
    return format_general(value, 3);
}

std::string verdict(const PointCheck& check) {
    if (!check.aligned && !check.computed)
        return "How the pictures were aligned is not known: the field does not come from a run of "
               "this session.";
    if (!check.aligned) return "The pictures were not aligned.";
    if (check.copied) return "What has no pairs of markers was taken as it is, as answered.";
    return "The pictures are aligned.";
}

/// What must not be overlooked.
std::string alarm(const PointCheck& check) {
    return "<p style=\"color: red; font-weight: bold\">" +
           xml_escaped("The result is not to be trusted: " + check.unaligned) + "</p>\n";
}

/// Residuals of every marker, the largest first.
std::string residuals(const MarkerMatch& match) {
    std::vector<std::size_t> order(std::min(match.pairs.size(), match.residuals.size()));
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    const auto distance = [&](std::size_t i) {
        return std::hypot(match.residuals[i].x, match.residuals[i].y);
    };
    std::ranges::stable_sort(order, std::greater<>(), distance);
    HtmlTable table({"marker", "x", "y", "residual x, px", "residual y, px", "distance, px"});
    for (const std::size_t i : order)
        table.add({number(std::int64_t{match.pairs[i].reference_id}),
                   number(match.pairs[i].reference.x), number(match.pairs[i].reference.y),
                   pixels(match.residuals[i].x), pixels(match.residuals[i].y),
                   pixels(distance(i))});
    return table.html();
}

/// One row per picture aligned by the texture of the paint.
std::string by_texture(const PointCheck& check) {
    if (check.by_texture.empty()) return {};
    HtmlTable table({"alignment by texture", "cells measured", "median displacement, px",
                     "largest, px", "left after the markers, px", "largest left, px", "at"});
    for (const auto& [what, found] : check.by_texture) {
        const CorrelationStatistics& s = found.statistics;
        const std::string cells = std::to_string(s.measured) + " of " + std::to_string(s.cells);
        if (!found.failure.empty()) {
            table.add({what, cells, found.failure, "", "", "", ""});
            continue;
        }
        const auto& left = found.left_after_markers;
        table.add({what, cells, pixels(s.median_displacement), pixels(s.largest_displacement),
                   left ? pixels(left->rms) : "", left ? pixels(left->largest) : "",
                   left ? number(left->at.x) + ", " + number(left->at.y) : ""});
    }
    return table.html();
}

/// One row per alignment.
std::string alignments(const PointCheck& check) {
    HtmlTable table(
        {"alignment", "pairs of markers", "root mean square, px", "largest, px", "at marker"});
    for (const auto& [what, match] : check.alignments)
        if (match.ok)
            table.add({what, std::to_string(match.pairs.size()), pixels(match.mean_square_error),
                       pixels(match.max_absolute_error), std::to_string(match.max_error_marker)});
        else
            table.add({what, std::to_string(match.pairs.size()), match.failure, "", ""});
    std::string html = html_heading("Alignment") +
                       (check.unaligned.empty() ? html_paragraph(verdict(check)) : alarm(check));
    if (!check.alignments.empty()) html += table.html();
    if (check.consistency)
        html += html_paragraph("Consistency of the channels' alignments: root mean square " +
                               pixels(check.consistency->rms) + " px, largest " +
                               pixels(check.consistency->max) + " px at " +
                               std::to_string(check.consistency->points) + " markers");
    return html + html_paragraph(check.noise) + by_texture(check);
}

/// Leave-one-out errors and the residuals of every marker.
std::string alignment_details(const AlignmentCheck& check) {
    const MarkerMatch& match = check.match;
    if (!match.ok) return {};
    HtmlTable orders({"order of the mapping", "leave-one-out error, px"});
    const auto& errors = match.orders.leave_one_out;
    for (std::size_t order = 0; order < errors.size(); ++order) {
        if (!errors[order]) continue;
        const bool best = match.orders.suggested == static_cast<int>(order);
        orders.add({std::to_string(order) + (best ? " (smallest)" : ""), pixels(*errors[order])});
    }
    return html_heading("Markers: " + check.what) + orders.html() + "<p></p>\n" + residuals(match);
}

std::string ports(const PointCheck& check) {
    const PortComparison& comparison = check.ports;
    std::string html = html_heading("Pressure ports");
    if (comparison.ports.empty() && comparison.left_out.empty())
        return html + html_paragraph("No ports with pressures were given.");
    if (!comparison.ports.empty()) {
        HtmlTable table({"port", "measured: " + check.quantity, "field", "difference",
                         "uncertainty of the field (2σ)"});
        for (const PortCheck& port : comparison.ports)
            table.add({number(std::int64_t{port.number}), number(port.tap), number(port.field),
                       number(port.difference()),
                       port.sigma > 0 ? "± " + format_general(2 * port.sigma, 3) : "not known"});
        const std::string squares = comparison.chi_square
                                        ? "; mean square over their variance " +
                                              format_general(*comparison.chi_square, 3) +
                                              ", 1 where the map says all"
                                        : "";
        html += html_paragraph("Differences: root mean square " + number(comparison.rms) +
                               ", largest " + number(comparison.max) + squares) +
                table.html();
    }
    return comparison.left_out.empty() ? html : html + html_list(comparison.left_out);
}

/// Shares of the variance as a table with bars, and what the map comes to.
std::string uncertainty(const UncertaintyBudget& budget) {
    constexpr double whole_bar = 40;  // characters
    HtmlTable table({"part", "kind", "standard deviation", "share of the variance", ""});
    for (const BudgetLine& line : budget.lines) {
        if (!line.known) continue;
        std::string bar;
        for (int i = 0; i < std::lround(whole_bar * line.share); ++i)
            bar += "█";
        table.add({sigma_term_name(line.term), line.random ? "random" : "common",
                   format_general(line.rms, 3) + (budget.unit.empty() ? "" : " " + budget.unit),
                   format_general(100 * line.share, 3) + " %", bar});
    }
    return html_heading("Uncertainty") + html_list(report_lines(budget)) + table.html() +
           html_paragraph(std::string("Noise of the pictures: ") + noise_source_name(budget.noise) +
                          (budget.registration_source.empty()
                               ? ""
                               : ". Registration: " + format_general(budget.registration_px, 3) +
                                     " px by " + budget.registration_source) +
                          ".");
}

std::string conversion(const PreparedConversion& prepared) {
    const flowFeatures& flow = prepared.flow_in_paint_units;
    const PaintLaw& law = prepared.conversion.law;
    HtmlTable table({"as it enters the law", "value"});
    const std::string pressure = ", " + flow.p_unit;
    const std::string temperature = ", " + flow.t_unit;
    table.add({"wind-off pressure" + pressure, number(flow.wind_off_p)});
    table.add({"static pressure" + pressure, number(flow.static_p)});
    table.add({"dynamic pressure" + pressure, number(flow.dynamic_p)});
    table.add({"wind-off temperature" + temperature, number(flow.wind_off_t)});
    table.add({"wind-on temperature" + temperature, number(flow.wind_on_t)});
    table.add({"fa", number(prepared.conversion.wind_off_ratio)});
    table.add({"a", number(law.a)});
    table.add({"b", number(law.b)});
    table.add({"c", number(law.c)});
    return html_heading("Law") + table.html();
}

std::string stages(const PointReport& report) {
    std::string html =
        html_heading("Stages") +
        "<table border=\"1\" cellspacing=\"0\" cellpadding=\"4\">\n"
        "<tr><th>picture</th><th>image</th><th>quantity</th><th>size</th><th>valid</th>"
        "<th>saturated</th><th>minimum</th><th>mean</th><th>maximum</th></tr>\n";
    for (std::size_t i = 0; i < report.check.stages.size(); ++i) {
        const StageCheck& stage = report.check.stages[i];
        const ImageStatistics& values = stage.values;
        const bool some = values.valid > 0;
        const std::vector<std::string> cells{
            stage.label + (stage.label == stage.name ? "" : " (" + stage.name + ")"),
            stage.quantity,
            std::to_string(stage.width) + " x " + std::to_string(stage.height),
            format_general(100 * values.valid_share(), 4) + " %",
            number(values.saturated),
            some ? number(values.minimum) : "",
            some ? number(values.mean) : "",
            some ? number(values.maximum) : ""};
        html += "<tr><td>" + html_picture(report.thumbnails[i], stage.label) + "</td>";
        for (const std::string& cell : cells)
            html += "<td>" + xml_escaped(cell) + "</td>";
        html += "</tr>\n";
    }
    return html + "</table>\n";
}

constexpr const char* style = R"(<style>
body { font-family: sans-serif; margin: 2em; }
table { border-collapse: collapse; }
td, th { text-align: left; }
td { overflow-wrap: anywhere; }
@media print {
  @page { size: A4; margin: 12mm; }
  body { margin: 0; font-size: 70%; }
  td img { max-width: 30mm; height: auto; }
  h2 { break-after: avoid; } tr, img, svg { break-inside: avoid; }
}
</style>
)";

}  // namespace

std::string html_report(const PointReport& report) {
    const PointCheck& check = report.check;
    const std::string title = "Check of " + (check.title.empty() ? "a point" : check.title);
    std::string html =
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>" +
        xml_escaped(title) + "</title>\n" + style + "</head>\n<body>\n<h1>" + xml_escaped(title) +
        "</h1>\n" +
        html_paragraph("Type of experiment: " + check.experiment + ". Field: " + check.quantity +
                       ".");
    html += html_heading("Remarks") +
            (check.warnings.empty() ? html_paragraph("None.") : html_list(texts(check.warnings)));
    html += alignments(check) + ports(check);
    if (report.histogram.draw)
        html += html_heading("Histogram of the field") + "<p>" +
                html_picture(report.histogram, "histogram") + "</p>\n";
    if (check.uncertainty) html += uncertainty(*check.uncertainty);
    if (check.conversion) html += conversion(*check.conversion);
    html += html_of_model(report.model);
    html += stages(report);
    HtmlTable inputs({"file", "SHA-256"});
    for (const auto& [file, digest] : report.inputs)
        inputs.add({file, digest});
    for (const AlignmentCheck& alignment : check.alignments)
        html += alignment_details(alignment);
    html += html_of_model_markers(report.model);
    return html + html_heading("Inputs") + inputs.html() +
           html_paragraph("Made by " + report.program + ".") + "</body>\n</html>\n";
}

}  // namespace vyn
