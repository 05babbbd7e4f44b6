#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "core/base64.h"
#include "core/errors.h"
#include "process/model/resect_json.h"
#include "process/model/residual_picture.h"
#include "process/report/html_document.h"
#include "process/report/report_document.h"
#include "render/canvas.h"
#include "render/figure_file.h"
#include "render/histogram_picture.h"
#include "tests/support/meshes.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;
using testing::Not;

/// The pictures inside a page, as the text that they are written as.
std::vector<std::string> pictures_of(const std::string& html) {
    static const std::string head = "src=\"data:image/png;base64,";
    std::vector<std::string> pictures;
    for (std::size_t at = html.find(head); at != std::string::npos; at = html.find(head, at)) {
        at += head.size();
        pictures.push_back(html.substr(at, html.find('"', at) - at));
    }
    return pictures;
}

/// A picture of one colour.
Figure patch(int side, Canvas::Colour colour) {
    return {side, side, [=](Canvas& canvas) { canvas.fill(0, 0, side, side, colour); }};
}

std::size_t count_of(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

image ramp(const char* name, int width, int height) {
    image picture(width, height);
    picture.name = name;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture.values()(x, y) = static_cast<float>(x + y);
    return picture;
}

TEST(HtmlReport, HoldsItsPicturesInTheirOrder) {
    PointReport report;
    report.field = patch(9, {255, 0, 0});
    report.histogram = patch(9, {0, 255, 0});
    std::vector<std::string> expected{base64(png_bytes(report.field)),
                                      base64(png_bytes(report.histogram))};
    for (const int size : {1, 2, 3, 40}) {
        StageCheck stage;
        stage.name = "stage";
        report.check.stages.push_back(stage);
        report.stages.push_back(patch(size, {0, 0, 255}));
        expected.push_back(base64(png_bytes(report.stages.back())));
    }
    EXPECT_EQ(pictures_of(html_of(report_document(report))), expected);
}

/// Names and remarks come from files that anybody may have written.
TEST(HtmlReport, TextsCannotBecomeMarkup) {
    const std::string hostile = "<script>alert(\"1\")</script> & more";
    PointReport report;
    report.check.title = report.check.experiment = report.check.quantity = report.check.noise =
        hostile;
    report.check.warnings = {{WarningKind::markers, hostile}};
    report.check.alignments.push_back({hostile, {}});
    report.check.alignments.back().match.failure = hostile;
    report.check.ports.left_out = {hostile};
    StageCheck stage;
    stage.label = stage.name = hostile;
    report.check.stages = {stage};
    report.stages = {patch(1, {})};
    report.inputs = {{hostile, hostile}};
    const std::string html = html_of(report_document(report));
    EXPECT_THAT(html, Not(HasSubstr("<script")));
    EXPECT_EQ(count_of(html, "&lt;script&gt;alert(&quot;1&quot;)&lt;/script&gt; &amp; more"), 13u);
    EXPECT_THAT(html, Not(HasSubstr("http")));
    EXPECT_EQ(count_of(html, "src=\""), count_of(html, "src=\"data:"));
    EXPECT_EQ(count_of(html, "href="), 0u);
    for (const char* tag : {"table", "tr", "td", "th", "p", "h2", "ul", "li"})
        EXPECT_EQ(count_of(html, "<" + std::string(tag) + ">") +
                      count_of(html, "<" + std::string(tag) + " "),
                  count_of(html, "</" + std::string(tag) + ">"))
            << tag;
}

/// What must not be overlooked comes first and apart from what is only to be known; numbers have
/// their units, and nobody reads names of the program's insides.
TEST(ReportDocument, IsForItsReader) {
    PointReport report;
    PointCheck& check = report.check;
    check.facts = {{"Mach number", "0.72"}};
    check.quantity = "pressure in Pa";
    check.unit = "Pa";
    check.warnings = {{WarningKind::missing_correction, "no flat field"},
                      {WarningKind::saturation, "7 pixels are saturated"}};
    check.ports.ports = {{.number = 3, .tap = 90000, .field = 90012.3456, .sigma = 0}};
    check.ports.rms = 12.3456;
    check.conversion.emplace();
    check.conversion->conversion.law = {-0.5, 2.25, -1e-3};
    check.conversion->conversion.wind_off_ratio = 0.75;
    check.stages.emplace_back();
    check.stages[0].name = "wind_off_sens";
    check.stages[0].label = "Wind-Off";
    report.field = report.histogram = patch(3, {});
    report.stages = {patch(3, {})};
    const std::string html = html_of(report_document(report));
    std::size_t at = 0;
    for (const char* text :
         {">Warnings<", "#b00020\">7 pixels", ">Remarks<", "<li>no flat field", "Mach number",
          "0.72", "Field: pressure in Pa", "<img", "12.3 Pa, largest", "measured, Pa",
          "difference, Pa", ">12.3<", "P = −0.5 + 2.25 R − 0.001 R²", "R = 0.75 times"}) {
        const std::size_t found = html.find(text, at);
        EXPECT_NE(found, std::string::npos) << text;
        if (found != std::string::npos) at = found;
    }
    EXPECT_THAT(html, Not(HasSubstr("wind_off_sens")));
    EXPECT_THAT(html, Not(HasSubstr("not to be trusted")));
}

TEST(PointReportTest, HasAPictureOfTheFieldAndOfEveryStage) {
    imagesList images;
    image camera_file = ramp("wind_off_sens", 600, 300);
    camera_file.file_name = "a&b.tif";
    camera_file.file_sha256 = "0123abcd";
    images.add(std::move(camera_file));
    images.add(ramp("field_P", 50, 40));
    RunReport run;
    run.warnings = {{WarningKind::markers, "wind_off_sens has no markers"}};
    simpleNamedDataSet data;
    Progress progress;
    const PointReport report = make_point_report(run, data, images, {}, {}, progress);
    ASSERT_EQ(report.stages.size(), 2u);
    EXPECT_TRUE(report.histogram.draw);
    EXPECT_TRUE(report.field.draw);
    for (const auto& [i, width] : {std::pair{0u, 150}, {1u, 50}}) {  // and the colour bar
        EXPECT_GT(report.stages[i].width, width + 30);
        EXPECT_LT(report.stages[i].width, width + 150);
    }
    const std::string html = html_of(report_document(report));
    EXPECT_EQ(pictures_of(html).size(), 4u);
    EXPECT_THAT(html, HasSubstr(">Wind-Off has no markers</li>"));
    EXPECT_THAT(html, HasSubstr("<td>a&amp;b.tif</td><td>0123abcd</td>"));
}

/// Poses as the run told them, residuals in proportion, the model from four sides; nothing where
/// the mesh has no values.
TEST(PointReportTest, ShowsTheModelWhereThereIsOne) {
    ViewResult view;
    view.name = "wind_off_sens";
    view.camera = {500, 500, {31.5, 31.5, 0, 0}, 64, 64};
    view.paired_how = "by number";
    view.markers = {
        {.marker_id = 3, .dot_id = 3, .dot = {10, 20}, .dx = 0.01, .used = true},
        {.marker_id = 17, .dot_id = 17, .dot = {30, 40}, .dx = 4, .used = false},
        {.marker_id = 5, .dot_id = 5, .dot = {40, 50}, .dx = 0, .dy = -0.05, .used = true}};
    const double factor = residual_factor(view.markers, 64);
    EXPECT_EQ(factor, 100);
    const RgbPicture drawn = pixels_of(residual_figure(nullptr, view, factor, 64));
    const auto is_white = [&](int x, int y) {
        const std::uint8_t* pixel = drawn.at(x, y);
        return pixel[0] == 255 && pixel[1] == 255 && pixel[2] == 255;
    };
    EXPECT_FALSE(is_white(40, 46));
    EXPECT_GT(drawn.at(40, 48)[0], drawn.at(40, 48)[2]);  // the largest is red
    EXPECT_TRUE(is_white(40, 43));

    ResectReport found;
    found.views = {view};
    found.remarks = {"marker No 17 is 4 px off and was left out"};
    RunReport run;
    run.model = nlohmann::json{{"resection", resection_json(found)},
                               {"projection", {{"covered_share", 0.25}}}}
                    .dump();
    imagesList images;
    images.add(ramp("wind_off_sens", 64, 64));
    simpleNamedDataSet data;
    Progress progress;
    field_data<double> mesh = cube(2, 100);
    const auto page = [&] {
        return html_of(report_document(make_point_report(run, data, images, mesh, {}, progress)));
    };
    const std::string without = page();
    EXPECT_THAT(without, Not(HasSubstr("On the model")));
    mesh.quantities.push_back({"P", std::vector<double>(mesh.vertices.size(), 9e4), "Pa"});
    const std::string html = page();
    EXPECT_EQ(pictures_of(html).size(), pictures_of(without).size() + 5);
    EXPECT_THAT(html, HasSubstr("Shown: P, Pa. Area seen: 25 %."));
    EXPECT_THAT(html, HasSubstr("<li>marker No 17 is 4 px off"));
    EXPECT_THAT(html, HasSubstr("drawn 100 times as long"));
    // The largest first, whether used or not.
    const auto row = [&](int id) {
        return html.find("<tr><td class=\"number\" align=\"right\">" + std::to_string(id) +
                         "</td>");
    };
    EXPECT_LT(row(17), row(5));
    EXPECT_LT(row(5), row(3));
    EXPECT_NE(row(3), std::string::npos);
}

/// Bars stand on the base line, as high as their counts, between the scales.
TEST(HistogramPicture, BarsAreInProportion) {
    const Histogram histogram{{0, 4}, {10, 20, 0, 5}, 0, 0};
    const RgbPicture picture = pixels_of(histogram_figure(histogram, "p", 400, 200));
    const auto is_bar = [&](int x, int y) {
        return picture.at(x, y)[0] < 100 && picture.at(x, y)[2] > 140;
    };
    std::vector<int> tall;
    for (int x = 0; x < picture.width; ++x) {
        tall.push_back(0);
        for (int y = 0; y < picture.height; ++y)
            tall.back() += is_bar(x, y);
    }
    int left = 0;
    while (tall[static_cast<std::size_t>(left)] == 0)
        ++left;
    const int span = 400 - 24 - left;
    const auto bar_at = [&](int bin) {
        return tall[static_cast<std::size_t>(left + span * (2 * bin + 1) / 8)];
    };
    const int full = bar_at(1);
    EXPECT_GT(full, 100);
    EXPECT_NEAR(bar_at(0), 0.5 * full, 1);
    EXPECT_EQ(bar_at(2), 0);
    EXPECT_NEAR(bar_at(3), 0.25 * full, 1);
    EXPECT_NO_THROW(pixels_of(histogram_figure({{2, 2}, {0}, 0, 0}, "", 160, 120)));
    EXPECT_THROW(histogram_figure(histogram, "p", 40, 40), AlgoError);
}

}  // namespace
}  // namespace vyn::test
