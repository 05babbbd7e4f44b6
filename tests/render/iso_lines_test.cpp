#include "render/iso_lines.h"

#include <cmath>
#include <numbers>

#include <gtest/gtest.h>

#include "api/parallel.h"
#include "render/iso_labels.h"
#include "tests/support/picture_of.h"

namespace vyn {
namespace {

using test::picture_of;

double length_of(const std::vector<IsoLine>& lines) {
    double sum = 0;
    for (const IsoLine& line : lines)
        for (std::size_t i = 1; i < line.places.size(); ++i)
            sum += std::hypot(line.places[i].x - line.places[i - 1].x,
                              line.places[i].y - line.places[i - 1].y);
    return sum;
}

FieldSource source_of(image picture) {
    return {std::make_shared<const ImageLevels>(std::make_shared<const image>(std::move(picture)))};
}

ViewRectangle whole(int width, int height, double zoom) {
    return {-0.5, -0.5, zoom, static_cast<int>(width * zoom), static_cast<int>(height * zoom)};
}

constexpr double middle_x = 203.3;
constexpr double middle_y = 148.6;
double squared_radius(double x, double y) {
    return std::pow(x - middle_x, 2) + std::pow(y - middle_y, 2);
}

/// At every zoom the lines of a paraboloid are circles, each closed and one for each level.
TEST(IsoLines, OfAParaboloidAreCircles) {
    const FieldSource bowl = source_of(picture_of(401, 301, squared_radius));
    const std::vector<double> levels{400, 2500, 10000};
    for (const double zoom : {0.25, 0.5, 1.0, 3.0}) {
        const auto lines = iso_lines(bowl, whole(401, 301, zoom), levels);
        ASSERT_EQ(lines.size(), 3U) << zoom;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const double radius = std::sqrt(levels[i]);
            EXPECT_EQ(lines[i].level, levels[i]);
            EXPECT_EQ(lines[i].places.front(), lines[i].places.back());
            // Where squares of n pixels are averaged, their own spread of (n^2 - 1) / 6 is added,
            // and chords of n pixels lie inside by n^2 / 8 radius.
            const double n = std::max(1.0, 2 / zoom);
            const double slack = (n * n / 6 + n * n / 8) / radius + 1e-3;
            for (const Point& place : lines[i].places)
                ASSERT_NEAR(std::sqrt(squared_radius(place.x, place.y)), radius, slack)
                    << "zoom " << zoom;
            EXPECT_NEAR(length_of({lines[i]}), 2 * std::numbers::pi * radius,
                        0.01 * radius + 8 * slack);
        }
    }
}

TEST(IsoLines, EndAtBackgroundAndAtValuesThatAreNoNumbers) {
    image ramp = picture_of(40, 30, [](int x, int) { return x; });
    for (int y = 10; y < 15; ++y)
        ramp.mask()(20, y) = 1;
    ramp.values()(21, 20) = std::nanf("");
    const auto lines = iso_lines(source_of(ramp), whole(40, 30, 4), std::vector{20.5});
    ASSERT_EQ(lines.size(), 3U);
    double y = 0;
    for (const auto& [from, to] : {std::pair{0, 9}, {15, 19}, {21, 29}}) {
        const auto line = std::ranges::find_if(lines, [from = from, to = to](const IsoLine& each) {
            const double a = each.places.front().y;
            const double b = each.places.back().y;
            return std::min(a, b) == from && std::max(a, b) == to;
        });
        EXPECT_NE(line, lines.end()) << from << " to " << to;
        y += to - from;
    }
    EXPECT_NEAR(length_of(lines), y, 1e-9);
    for (const IsoLine& line : lines)
        for (const Point& place : line.places)
            EXPECT_EQ(place.x, 20.5);
}

/// Two peaks on a diagonal: whether the saddle between them is below or above the level decides
/// whether they hang together; never do lines cross.
TEST(IsoLines, ASaddleGoesByItsMean) {
    Bitmap<float> peaks(4, 4, 0.0F);
    peaks(1, 1) = peaks(2, 2) = 1;
    EXPECT_EQ(trace_iso_lines(peaks, std::vector{0.6}).size(), 2U);
    EXPECT_EQ(trace_iso_lines(peaks, std::vector{0.4}).size(), 1U);
}

TEST(IsoLines, AreTheSameOnAnyNumberOfThreadsAndStayFewInNoise) {
    std::uint32_t state = 1;
    const FieldSource noise = source_of(picture_of(600, 500, [&state](int x, int) {
        state = state * 1664525U + 1013904223U;
        return x / 60.0 + (state >> 8) / double(1 << 24);
    }));
    const std::vector<double> levels{2.2, 4.4, 6.6};
    std::vector<std::vector<IsoLine>> found;
    for (const int threads : {1, 2, 5}) {
        const ThreadLimit limit(threads);
        found.push_back(iso_lines(noise, whole(600, 500, 2), levels, 2000));
    }
    EXPECT_EQ(found[0], found[1]);
    EXPECT_EQ(found[0], found[2]);
    std::size_t steps = 0;
    for (const IsoLine& line : found[0])
        steps += line.places.size() - 1;
    EXPECT_GT(steps, 100U);
    EXPECT_LE(steps, 2000U);
}

TEST(IsoLines, OfADifferenceAreThoseOfTheDifferenceImage) {
    const auto a = source_of(picture_of(50, 40, [](int x, int y) { return x * x + y; }));
    const auto b = source_of(picture_of(50, 40, [](int x, int y) { return y * y + x; }));
    const auto both =
        source_of(picture_of(50, 40, [](int x, int y) { return x * x + y - (y * y + x); }));
    const std::vector<double> levels{-100, 0.5, 300};
    EXPECT_EQ(iso_lines(DifferenceSource{a.levels, b.levels}, whole(50, 40, 2), levels),
              iso_lines(both, whole(50, 40, 2), levels));
    EXPECT_TRUE(iso_lines(ColourSource{{a.levels}}, whole(50, 40, 2), levels).empty());
}

TEST(IsoLabels, TellTheirLevelsShortly) {
    const IsoLettering letters{10, [](const std::string&) { return 20.0; }};
    const std::pair<std::vector<double>, std::vector<std::string>> cases[] = {
        {{82000, 84000}, {"82000", "84000"}},         {{82742.7, 84355.5}, {"82743", "84356"}},
        {{-0.5, 0, 0.25}, {"-0.50", "0.00", "0.25"}}, {{0.1 + 0.2}, {"0.3"}},
        {{1e-9, 2e-9}, {"1e-09", "2e-09"}},           {{2e8, 4e8}, {"2e+08", "4e+08"}},
    };
    for (const auto& [levels, texts] : cases) {
        std::vector<IsoLine> lines;
        double y = 0;
        for (const double level : levels) {
            y += 50;
            lines.push_back({level, {{0, y}, {400, y}}});
        }
        std::vector<std::string> told;
        for (const IsoLabel& label : label_iso_lines(lines, letters, 400, 300).labels)
            told.push_back(label.text);
        EXPECT_EQ(told, texts);
    }
}

TEST(IsoLabels, StandOnTheirLinesApartFromEachOther) {
    std::vector<IsoLine> lines;
    for (int i = 0; i < 20; ++i)
        lines.push_back({0.1 + i * 0.05, {{0, 100.0 + 6 * i}, {400, 100.0 + 6 * i}}});
    lines.push_back({2, {{10, 10}, {20, 10}}});  // too short
    const IsoLettering letters{
        10, [](const std::string& text) { return 7.0 * static_cast<double>(text.size()); }};
    const IsoDrawing drawing = label_iso_lines(lines, letters, 400, 300);
    ASSERT_GT(drawing.labels.size(), 10U);
    EXPECT_EQ(drawing.labels.front().text, "0.10");
    for (std::size_t i = 0; i < drawing.labels.size(); ++i) {
        const IsoLabel& a = drawing.labels[i];
        EXPECT_NE(a.text, "2");
        for (std::size_t k = 0; k < i; ++k) {
            const IsoLabel& b = drawing.labels[k];
            EXPECT_TRUE(std::abs(a.middle.x - b.middle.x) >= (a.width + b.width) / 2 ||
                        std::abs(a.middle.y - b.middle.y) >= (a.height + b.height) / 2);
        }
    }
    // A label's own line is cut out under it.
    double widths = 0;
    for (const IsoLabel& label : drawing.labels)
        widths += label.width;
    EXPECT_NEAR(length_of(drawing.lines), length_of(lines) - widths, 1e-6);
}

}  // namespace
}  // namespace vyn
