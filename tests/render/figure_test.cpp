#include <array>
#include <future>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/errors.h"
#include "core/xml_document.h"
#include "render/canvas.h"
#include "render/document.h"
#include "render/figure_file.h"
#include "render/picture.h"
#include "tests/support/picture_of.h"
#include "tests/support/temporary_folder.h"

namespace vyn {
namespace {

using test::get_file;
using test::TemporaryFolder;
using testing::HasSubstr;
using Align = Canvas::Align;

/// Where something darker than paper is; nothing for white paper.
struct Ink {
    int x0 = 1 << 20, y0 = 1 << 20, x1 = -1, y1 = -1;
    explicit Ink(const RgbPicture& picture) {
        for (int y = 0; y < picture.height; ++y)
            for (int x = 0; x < picture.width; ++x)
                if (picture.at(x, y)[1] < 128) {
                    x0 = std::min(x0, x), y0 = std::min(y0, y);
                    x1 = std::max(x1, x + 1), y1 = std::max(y1, y + 1);
                }
    }
};

RgbPicture written(const std::string& text, double x, double y, const Canvas::TextStyle& style) {
    return pixels_of({300, 300, [&](Canvas& canvas) { canvas.text(text, x, y, style); }});
}

/// Capitals stand on the base line as high as asked for; a text lies along its width from the given
/// place on, whichever way it runs.
TEST(Lettering, StandsWhereItIsToldTo) {
    constexpr double h = 40;
    constexpr double bearing = 6;  // white beside a letter
    const double width = text_width("HEH", {.height = h});
    for (const auto& [align, left] : {std::pair{Align::left, 150.0},
                                      {Align::centre, 150 - width / 2},
                                      {Align::right, 150 - width}}) {
        const Ink across(written("HEH", 150, 150, {{.height = h}, {}, align}));
        EXPECT_NEAR(across.x0, left, bearing);
        EXPECT_NEAR(across.x1, left + width, bearing);
        EXPECT_NEAR(across.y0, 150 - h, 1);
        EXPECT_NEAR(across.y1, 150, 1);
        const Ink up(written("HEH", 150, 150, {{.height = h}, {}, align, Canvas::Direction::up}));
        EXPECT_NEAR(up.y1, 300 - left, bearing);
        EXPECT_NEAR(up.y0, 300 - left - width, bearing);
        EXPECT_NEAR(up.x0, 150 - h, 1);
        EXPECT_NEAR(up.x1, 150, 1);
    }
}

/// Every character counts once whatever its bytes; what is no text is shown somehow and breaks
/// nothing; widths grow with the letters to the last digit, as unhinted ones do.
TEST(Lettering, KnowsEveryCharacter) {
    const auto width = [](const std::string& text, double height = 10) {
        return text_width(text, {.height = height});
    };
    EXPECT_EQ(width("\xC3\xA9"), width("e"));  // e with an accent
    EXPECT_NE(width("\xCE\xB1"), width("?"));  // alpha
    EXPECT_NEAR(width("\xCE\xB1\xCE\xB1\xCE\xB1"), 3 * width("\xCE\xB1"), 0.01);
    EXPECT_NEAR(width("Cp \xE2\x88\x92 1.5", 30), 3 * width("Cp \xE2\x88\x92 1.5"), 0.05);
    EXPECT_GT(width("\xE5\x9C\xA7"), 0);  // beyond the font
    EXPECT_GT(text_width("m", {.height = 10, .weight = Lettering::Weight::bold}), width("m"));
    for (const char* text : {"\xFF\xFE", "a\nb", "\x01", ""}) {
        EXPECT_NO_THROW(written(text, 10, 100, {{.height = 20}})) << text;
        EXPECT_LT(width(text), 100);
    }
}

TEST(Lettering, WrapsBetweenWordsAndInLongOnes) {
    const Lettering letters{.height = 10};
    const std::string words = "pressure and temperature of the paint";
    const double width = 0.6 * text_width(words, letters);
    const auto joined = [&](const std::string& text, const char* between) {
        std::string whole;
        for (const std::string& line : wrapped_text(text, width, letters)) {
            EXPECT_LE(text_width(line, letters), width + 0.01);
            whole += (whole.empty() ? "" : between) + line;
        }
        return whole;
    };
    EXPECT_EQ(joined(words, " "), words);
    EXPECT_EQ(joined(std::string(200, 'x'), ""), std::string(200, 'x'));
    EXPECT_EQ(wrapped_text("a\nb", 1000, letters), (std::vector<std::string>{"a", "b"}));
}

/// Pixels under a drawing that it does not touch are those of the field, to the bit.
TEST(Figure, LeavesPixelsBesideItsLinesAsTheyAre) {
    RgbPicture field = paper(256, 256);
    for (std::size_t i = 0; i < field.rgb.size(); ++i)
        field.rgb[i] = static_cast<std::uint8_t>(i * 7919 >> 3);
    const auto draw = [&](Canvas& canvas) {
        canvas.picture(field, 0, 0);
        canvas.text("P, Pa", 100, 140, {{.height = 20}, {}, Align::left, {}, /*halo=*/2});
        canvas.stroke({{{20, 20}, {50, 30}}}, 3, {255, 0, 0});
        canvas.stroke({{{20, 220}, {std::nan(""), 30}}, {{1e300, 0}, {0, 0}}}, 3, {});
    };
    const RgbPicture drawn = pixels_of({256, 256, draw});
    const double right = 100 + text_width("P, Pa", {.height = 20});
    int changed = 0;
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 256; ++x) {
            if (std::equal(drawn.at(x, y), drawn.at(x, y) + 3, field.at(x, y))) continue;
            ++changed;
            const bool at_text = x >= 97 && x < right + 3 && y >= 117 && y < 149;
            const bool at_line = x >= 18 && x < 52 && y >= 18 && y < 32;
            EXPECT_TRUE(at_text || at_line) << x << ", " << y;
        }
    EXPECT_GT(changed, 400);
}

PictureOptions framed() {
    PictureOptions options;
    options.limits = {-1, 1};
    options.colour_bar = options.markers = true;
    options.label = "Pressure < 1, \xCE\xBCPa";
    options.title = "run \"7\" \xCE\xB1 = 4\xC2\xB0";
    return options;
}

image field_with_markers() {
    image field =
        test::picture_of(120, 90, [](int x, int y) { return std::sin(0.07 * x + 0.05 * y); });
    for (int i = 0; i < 9; ++i)
        field.markers.markers.push_back({.x = 12.0 * i, .y = 9.0 * i, .id = i});
    return field;
}

std::array<std::string, 3> files_of(const Figure& figure, const TemporaryFolder& folder,
                                    const std::string& stem) {
    std::array<std::string, 3> bytes;
    const std::array<std::string, 3> extensions{".png", ".svg", ".PDF"};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto file = folder / (stem + extensions[i]);
        write_figure(figure, file, {{"Title", "A \xCE\xB1 & <b>"}, {"Comment", "made of x"}});
        bytes[i] = get_file(file);
    }
    return bytes;
}

/// Threads that draw at once, one that draws again, and one that drew something else before: the
/// same bytes.
TEST(FigureFiles, AreTheSameBytesWhoeverDraws) {
    const TemporaryFolder folder;
    const Figure figure = field_figure(field_with_markers(), framed());
    const auto first = files_of(figure, folder, "first");
    std::vector<std::future<std::array<std::string, 3>>> others;
    for (const char* stem : {"a", "b", "c"})
        others.push_back(std::async(std::launch::async, [&, stem] {
            written("something else", 10, 100, {{.height = 20}});
            files_of(figure, folder, stem);
            return files_of(figure, folder, stem);
        }));
    for (auto& other : others) {
        const auto bytes = other.get();
        for (std::size_t i = 0; i < first.size(); ++i)
            EXPECT_TRUE(bytes[i] == first[i]) << i;
    }
}

int count_of(const XmlElement& element, const std::string& name) {
    int count = element.name == name;
    for (const XmlElement& part : element.children)
        count += count_of(part, name);
    return count;
}

/// One picture for the field and one for the bar; all else is lines and letters.
TEST(FigureFiles, DrawingsAreWellFormedAndDescribed) {
    const TemporaryFolder folder;
    const auto [png, svg, pdf] =
        files_of(field_figure(field_with_markers(), framed()), folder, "f");
    const XmlElement drawing = parse_xml(svg, "drawing");
    EXPECT_EQ(drawing.name, "svg");
    EXPECT_EQ(count_of(drawing, "image"), 2);
    EXPECT_GT(count_of(drawing, "use"), 20);  // letters
    EXPECT_EQ(count_of(drawing, "text"), 0);  // which would need a font
    EXPECT_EQ(drawing.children.at(0).text, "A \xCE\xB1 & <b>");
    EXPECT_THAT(svg, HasSubstr("made of x"));
    EXPECT_THAT(png, HasSubstr("made of x"));
    EXPECT_TRUE(pdf.starts_with("%PDF-1.5"));
    EXPECT_TRUE(pdf.ends_with("%%EOF\n"));
    EXPECT_THAT(pdf, HasSubstr("DejaVuSans"));
    EXPECT_THROW(write_figure({1, 1, {}}, folder / "f.jpg"), AlgoError);
}

int pages_of(const std::string& pdf) {
    int pages = 0;
    for (std::size_t at = 0; (at = pdf.find("/Type /Page ", at)) != std::string::npos; ++at)
        ++pages;
    return pages;
}

/// Whatever is longer or wider than a page is broken; nothing hangs, and the bytes are the same.
TEST(Documents, FillPagesAndGoOnOnTheNext) {
    const auto with = [](const auto& fill) {
        Document document{"Title", "program", {}};
        fill(document);
        const std::string pdf = pdf_of(document);
        EXPECT_EQ(pdf, pdf_of(document));
        return pages_of(pdf);
    };
    using Kind = Document::Column::Kind;
    const std::string long_word(1500, 'x');
    EXPECT_EQ(with([](Document&) {}), 1);
    EXPECT_EQ(with([](Document& d) {
                  Document::Table table{{{"a"}, {"b", Kind::number}}};
                  table.rows.assign(200, {"name", "1.5"});
                  d.heading("Rows");
                  d.table(std::move(table));
              }),
              3);  // 72 rows on each
    EXPECT_GT(with([&](Document& d) {
                  d.paragraph(std::string(9000, 'y'), Document::Tone::alarm);
                  d.list({long_word, ""});
              }),
              1);
    // A row with many lines, many columns, a cell higher than a page.
    EXPECT_GE(with([&](Document& d) {
                  d.table({{{"a"}, {"b"}, {"c"}}, {{"1", long_word, "2"}, {"", "", ""}}});
                  d.table({std::vector<Document::Column>(40, {"head"}),
                           {std::vector<std::string>(40, "123456")}});
                  d.table({{{"a"}}, {{std::string(9000, 'z')}}});
              }),
              2);
    const Figure large{9000, 100, [](Canvas& canvas) { canvas.fill(0, 0, 9000, 100, {}); }};
    const Figure tall{100, 9000, [](Canvas& canvas) { canvas.fill(0, 0, 100, 9000, {}); }};
    EXPECT_EQ(with([&](Document& d) {
                  d.figures({{{large, "one"}, {tall, "two"}, {{}, "none"}, {tall, long_word}}, 2});
              }),
              2);
}

}  // namespace
}  // namespace vyn
