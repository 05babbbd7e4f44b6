#include "process/report/report_document.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>

#include "core/numbers.h"
#include "process/report/model_part.h"

namespace vyn {

namespace {

using Kind = Document::Column::Kind;
using Tone = Document::Tone;

std::string number(double value) {
    return format_general(value, 6);
}

std::string number(std::int64_t value) {
    return std::to_string(value);
}

/// An error or a length that tells how good something is.
std::string rough(double value) {
    return format_general(value, 3);
}

std::string with_unit(const std::string& what, const std::string& unit) {
    return unit.empty() ? what : what + ", " + unit;
}

std::string verdict(const PointCheck& check) {
    if (!check.aligned && !check.computed)
        return "How the pictures were aligned is not known: the field does not come from a run of "
               "this session.";
    if (!check.aligned) return "The pictures were not aligned.";
    if (check.copied) return "What has no pairs of markers was taken as it is, as answered.";
    return "The pictures are aligned.";
}

/// Warnings first, then what is only to be known.
void add_warnings(const PointCheck& check, Document& document) {
    std::vector<std::string> warnings;
    std::vector<std::string> remarks;
    if (!check.unaligned.empty())
        warnings.push_back("The result is not to be trusted: " + check.unaligned);
    for (const Warning& warning : check.warnings)
        (is_information(warning.kind) ? remarks : warnings).push_back(warning.text);
    if (!warnings.empty()) document.heading("Warnings");
    document.list(std::move(warnings), Tone::alarm);
    if (!remarks.empty()) document.heading("Remarks");
    document.list(std::move(remarks));
}

void add_point(const PointReport& report, Document& document) {
    Document::Table facts{{{""}, {""}}};
    for (const auto& [what, value] : report.check.facts)
        facts.rows.push_back({what, value});
    document.table(std::move(facts));
    document.heading("Field: " + report.check.quantity);
    document.figures({{{report.field, {}}}});
}

/// Residuals of every marker, the largest first.
void add_residuals(const MarkerMatch& match, Document& document) {
    std::vector<std::size_t> order(std::min(match.pairs.size(), match.residuals.size()));
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    const auto distance = [&](std::size_t i) {
        return std::hypot(match.residuals[i].x, match.residuals[i].y);
    };
    std::ranges::stable_sort(order, std::greater<>(), distance);
    Document::Table table{{{"marker", Kind::number},
                           {"x", Kind::number},
                           {"y", Kind::number},
                           {"residual x, px", Kind::number},
                           {"residual y, px", Kind::number},
                           {"distance, px", Kind::number}}};
    for (const std::size_t i : order)
        table.rows.push_back({number(std::int64_t{match.pairs[i].reference_id}),
                              number(match.pairs[i].reference.x),
                              number(match.pairs[i].reference.y), rough(match.residuals[i].x),
                              rough(match.residuals[i].y), rough(distance(i))});
    document.table(std::move(table));
}

/// One row per picture aligned by the texture of the paint.
void add_textures(const PointCheck& check, Document& document) {
    Document::Table table{{{"alignment by texture"},
                           {"cells measured", Kind::number},
                           {"median displacement, px", Kind::number},
                           {"largest, px", Kind::number},
                           {"left after the markers, px", Kind::number},
                           {"largest left, px", Kind::number},
                           {"at"}}};
    for (const auto& [what, found] : check.by_texture) {
        const CorrelationStatistics& s = found.statistics;
        const std::string cells = std::to_string(s.measured) + " of " + std::to_string(s.cells);
        const auto& left = found.left_after_markers;
        const bool good = found.failure.empty();
        table.rows.push_back(
            {good ? what : what + ": " + found.failure, cells,
             good ? rough(s.median_displacement) : "", good ? rough(s.largest_displacement) : "",
             good && left ? rough(left->rms) : "", good && left ? rough(left->largest) : "",
             good && left ? number(left->at.x) + ", " + number(left->at.y) : ""});
    }
    document.table(std::move(table));
}

/// One row per alignment.
void add_alignments(const PointCheck& check, Document& document) {
    document.heading("Alignment");
    if (check.unaligned.empty()) document.paragraph(verdict(check));
    Document::Table table{{{"alignment"},
                           {"pairs of markers", Kind::number},
                           {"root mean square, px", Kind::number},
                           {"largest, px", Kind::number},
                           {"at marker", Kind::number}}};
    for (const auto& [what, match] : check.alignments) {
        std::vector<std::string> row{match.ok ? what : what + ": " + match.failure,
                                     std::to_string(match.pairs.size()), "", "", ""};
        if (match.ok)
            row = {what, row[1], rough(match.mean_square_error), rough(match.max_absolute_error),
                   std::to_string(match.max_error_marker)};
        table.rows.push_back(std::move(row));
    }
    document.table(std::move(table));
    if (check.consistency)
        document.paragraph("Consistency of the channels' alignments: root mean square " +
                           rough(check.consistency->rms) + " px, largest " +
                           rough(check.consistency->max) + " px at " +
                           std::to_string(check.consistency->points) + " markers");
    document.paragraph(check.noise);
    add_textures(check, document);
}

/// Leave-one-out errors and the residuals of every marker.
void add_alignment_details(const AlignmentCheck& check, Document& document) {
    const MarkerMatch& match = check.match;
    if (!match.ok) return;
    document.heading("Markers: " + check.what);
    Document::Table orders{
        {{"order of the mapping", Kind::number}, {"leave-one-out error, px", Kind::number}, {""}}};
    const auto& errors = match.orders.leave_one_out;
    for (std::size_t order = 0; order < errors.size(); ++order)
        if (errors[order])
            orders.rows.push_back(
                {std::to_string(order), rough(*errors[order]),
                 match.orders.suggested == static_cast<int>(order) ? "smallest" : ""});
    document.table(std::move(orders));
    add_residuals(match, document);
}

void add_ports(const PointCheck& check, Document& document) {
    const PortComparison& comparison = check.ports;
    document.heading("Pressure ports");
    if (comparison.ports.empty() && comparison.left_out.empty())
        document.paragraph("No ports with pressures were given.");
    if (!comparison.ports.empty()) {
        const auto in_unit = [&](const char* what) { return with_unit(what, check.unit); };
        Document::Table table{{{"port", Kind::number},
                               {in_unit("measured"), Kind::number},
                               {in_unit("field"), Kind::number},
                               {in_unit("difference"), Kind::number},
                               {in_unit("uncertainty of the field (2σ)"), Kind::number}}};
        for (const PortCheck& port : comparison.ports)
            table.rows.push_back({number(std::int64_t{port.number}), number(port.tap),
                                  number(port.field), rough(port.difference()),
                                  port.sigma > 0 ? "± " + rough(2 * port.sigma) : "not known"});
        const std::string squares = comparison.chi_square ? "; mean square over their variance " +
                                                                rough(*comparison.chi_square) +
                                                                ", 1 where the map says all"
                                                          : "";
        const std::string unit = check.unit.empty() ? "" : " " + check.unit;
        document.paragraph("Differences: root mean square " + rough(comparison.rms) + unit +
                           ", largest " + rough(comparison.max) + unit + squares + ".");
        document.table(std::move(table));
    }
    document.list(comparison.left_out);
}

/// Shares of the variance as a table with bars, and what the map comes to.
void add_uncertainty(const UncertaintyBudget& budget, Document& document) {
    constexpr double whole_bar = 20;  // characters
    document.heading("Uncertainty");
    document.list(report_lines(budget));
    Document::Table table{{{"part"},
                           {"kind"},
                           {with_unit("standard deviation", budget.unit), Kind::number},
                           {"share of the variance", Kind::number},
                           {""}}};
    for (const BudgetLine& line : budget.lines) {
        if (!line.known) continue;
        std::string bar;
        for (int i = 0; i < std::lround(whole_bar * line.share); ++i)
            bar += "█";
        table.rows.push_back({sigma_term_name(line.term), line.random ? "random" : "common",
                              rough(line.rms), rough(100 * line.share) + " %", bar});
    }
    document.table(std::move(table));
    document.paragraph(std::string("Noise of the pictures: ") + noise_source_name(budget.noise) +
                       (budget.registration_source.empty()
                            ? ""
                            : ". Registration: " + rough(budget.registration_px) + " px by " +
                                  budget.registration_source) +
                       ".");
}

/// "P = -11989 + 98257 R + 17095 R²", as it is at the wind-on temperature.
std::string law_words(const PreparedConversion& prepared) {
    const PaintLaw& law = prepared.conversion.law;
    const auto term = [](double factor, const char* power) {
        return (factor < 0 ? " − " : " + ") + number(std::abs(factor)) + " " + power;
    };
    const std::string first = (law.a < 0 ? "−" : "") + number(std::abs(law.a));
    const flowFeatures& flow = prepared.flow_in_paint_units;
    return "P = " + first + term(law.b, "R") + term(law.c, "R²") + ", P in " + flow.p_unit +
           ", R = " + number(prepared.conversion.wind_off_ratio) +
           " times the ratio of the pictures, at " +
           (prepared.of_map ? "the mean wind-on temperature of " : "") + number(flow.wind_on_t) +
           " " + flow.t_unit + ".";
}

void add_law(const PreparedConversion& prepared, Document& document) {
    const flowFeatures& flow = prepared.flow_in_paint_units;
    document.heading("Law");
    if (prepared.conversion.quantity != FieldQuantity::ratio)
        document.paragraph(law_words(prepared));
    document.table(
        {{{"as it enters the law"}, {"value", Kind::number}, {"unit"}},
         {{"wind-off pressure", number(flow.wind_off_p), flow.p_unit},
          {"static pressure", number(flow.static_p), flow.p_unit},
          {"dynamic pressure", number(flow.dynamic_p), flow.p_unit},
          {"wind-off temperature", number(flow.wind_off_t), flow.t_unit},
          {"wind-on temperature", number(flow.wind_on_t), flow.t_unit},
          {"ratio at wind-off conditions, fa", number(prepared.conversion.wind_off_ratio), ""}}});
}

void add_stages(const PointReport& report, Document& document) {
    document.heading("Stages");
    Document::Table table{{{"image"},
                           {"quantity"},
                           {"size", Kind::number},
                           {"valid", Kind::number},
                           {"saturated", Kind::number},
                           {"minimum", Kind::number},
                           {"mean", Kind::number},
                           {"maximum", Kind::number}}};
    Document::Figures pictures{{}, 2};
    for (std::size_t i = 0; i < report.check.stages.size(); ++i) {
        const StageCheck& stage = report.check.stages[i];
        const ImageStatistics& values = stage.values;
        const bool some = values.valid > 0;
        table.rows.push_back({stage.label, stage.quantity,
                              std::to_string(stage.width) + " × " + std::to_string(stage.height),
                              format_general(100 * values.valid_share(), 4) + " %",
                              number(values.saturated), some ? number(values.minimum) : "",
                              some ? number(values.mean) : "", some ? number(values.maximum) : ""});
        if (i < report.stages.size()) pictures.items.push_back({report.stages[i], stage.label});
    }
    document.table(std::move(table));
    document.figures(std::move(pictures));
}

}  // namespace

Document report_document(const PointReport& report) {
    const PointCheck& check = report.check;
    Document document{"Check of " + (check.title.empty() ? "a point" : check.title),
                      report.program};
    add_warnings(check, document);
    add_point(report, document);
    if (report.histogram.draw) {
        document.heading("Histogram of the field");
        document.figures({{{report.histogram, {}}}});
    }
    add_alignments(check, document);
    add_ports(check, document);
    if (check.uncertainty) add_uncertainty(*check.uncertainty, document);
    if (check.conversion) add_law(*check.conversion, document);
    add_model(report.model, document);
    add_stages(report, document);
    for (const AlignmentCheck& alignment : check.alignments)
        add_alignment_details(alignment, document);
    add_model_markers(report.model, document);
    Document::Table inputs{{{"file"}, {"SHA-256"}}};
    for (const auto& [file, digest] : report.inputs)
        inputs.rows.push_back({file, digest});
    if (!inputs.rows.empty()) document.heading("Inputs");
    document.table(std::move(inputs));
    return document;
}

}  // namespace vyn
