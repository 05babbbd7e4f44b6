#include "process/report/model_part.h"

#include <algorithm>
#include <functional>

#include "core/numbers.h"

namespace vyn {

namespace {

using Kind = Document::Column::Kind;

std::string number(double value) {
    return format_general(value, 3);
}

}  // namespace

void add_model(const ModelReport& report, Document& document) {
    if (report.quantity.empty()) return;
    document.heading("On the model");
    document.paragraph(
        "Shown: " + report.quantity + ". " +
        (report.covered ? "Area seen: " + number(100 * *report.covered) + " %. " : std::string()) +
        "Grey was not seen.");
    Document::Figures sides{{}, 2};
    for (const ModelReport::Picture& picture : report.pictures)
        sides.items.push_back({picture.figure, picture.label});
    document.figures(std::move(sides));
    document.list(report.remarks);
    Document::Table table{{{"camera picture"},
                           {"dots", Kind::number},
                           {"pairs", Kind::number},
                           {"paired"},
                           {"root mean square, px", Kind::number},
                           {"left out one by one, px", Kind::number},
                           {"largest, px", Kind::number},
                           {"at marker", Kind::number}}};
    for (const ModelReport::View& view : report.views) {
        const ViewResult& found = view.found;
        table.rows.push_back({view.label, std::to_string(found.dots), std::to_string(found.used),
                              found.paired_how, number(found.rms), number(found.leave_one_out_rms),
                              number(found.largest), std::to_string(found.largest_at)});
    }
    document.table(std::move(table));
    for (const ModelReport::View& view : report.views)
        document.figures(
            {{{view.residuals, "Residuals of the markers on " + view.label + ", drawn " +
                                   format_general(view.factor, 6) + " times as long"}}});
}

void add_model_markers(const ModelReport& report, Document& document) {
    for (const ModelReport::View& view : report.views) {
        std::vector<MarkerResult> markers = view.found.markers;
        std::ranges::stable_sort(markers, std::greater<>(), &MarkerResult::length);
        Document::Table table{{{"marker", Kind::number},
                               {"x", Kind::number},
                               {"y", Kind::number},
                               {"residual x, px", Kind::number},
                               {"residual y, px", Kind::number},
                               {"distance, px", Kind::number},
                               {"of its deviation", Kind::number},
                               {"used"}}};
        for (const MarkerResult& marker : markers)
            table.rows.push_back({std::to_string(marker.marker_id), format_general(marker.dot.x, 6),
                                  format_general(marker.dot.y, 6), number(marker.dx),
                                  number(marker.dy), number(marker.length()),
                                  marker.used ? number(marker.standardised) : "",
                                  marker.used ? "yes" : "no"});
        document.heading("Markers on the model: " + view.label);
        document.table(std::move(table));
    }
}

}  // namespace vyn
