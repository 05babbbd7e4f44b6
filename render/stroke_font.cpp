#include "render/stroke_font.h"

#include <array>
#include <charconv>
#include <cmath>
#include <numbers>

namespace vyn {

namespace {

struct Glyph {
    double width;
    std::string_view path;
};
constexpr char first_character = ' ';
constexpr char last_character = '~';
constexpr std::array<Glyph, last_character - first_character + 1> glyphs{{
#include "render/stroke_font.def"
}};

constexpr double capital_height = 14;  // of the grid that the glyphs are drawn on
constexpr double letter_gap = 3.2;

/// Reads the path of a glyph and appends its strokes.
class GlyphPen {
  public:
    GlyphPen(std::string_view path, double x, std::vector<Stroke>& strokes)
        : rest_(path), x_(x), strokes_(strokes) {}

    void draw() {
        while (!rest_.empty()) {
            const char command = rest_.front();
            rest_.remove_prefix(1);
            step(command);
        }
    }

  private:
    void step(char command) {
        switch (command) {
            case 'm':
                strokes_.emplace_back();
                strokes_.back().push_back(point());
                break;
            case 'l':
                strokes_.back().push_back(point());
                break;
            case 'q':
                curve();
                break;
            case 'A':
                strokes_.emplace_back();
                arc();
                break;
            case 'a':
                arc();
                break;
            default:  // blank
                break;
        }
    }

    double number() {
        while (!rest_.empty() && rest_.front() == ' ')
            rest_.remove_prefix(1);
        double value = 0;
        const char* const begin = rest_.data();
        rest_.remove_prefix(static_cast<std::size_t>(
            std::from_chars(begin, begin + rest_.size(), value).ptr - begin));
        return value;
    }

    Point placed(double x, double y) const {
        return {(x_ + x) / capital_height, y / capital_height};
    }
    Point point() {
        const double x = number();
        return placed(x, number());
    }

    void curve() {
        constexpr int pieces = 12;
        const Point from = strokes_.back().back();
        const Point control = point();
        const Point to = point();
        for (int i = 1; i <= pieces; ++i) {
            const double t = static_cast<double>(i) / pieces;
            const auto mixed = [t](double a, double b, double c) {
                return (1 - t) * (1 - t) * a + 2 * t * (1 - t) * b + t * t * c;
            };
            strokes_.back().push_back(
                {mixed(from.x, control.x, to.x), mixed(from.y, control.y, to.y)});
        }
    }

    void arc() {
        constexpr double degrees_per_piece = 10;
        const double x = number();
        const double y = number();
        const double rx = number();
        const double ry = number();
        const double from = number();
        const double to = number();
        const int pieces = static_cast<int>(std::ceil(std::abs(to - from) / degrees_per_piece));
        for (int i = 0; i <= pieces; ++i) {
            const double angle = (from + (to - from) * i / pieces) * std::numbers::pi / 180;
            strokes_.back().push_back(placed(x + rx * std::cos(angle), y + ry * std::sin(angle)));
        }
    }

    std::string_view rest_;
    double x_;
    std::vector<Stroke>& strokes_;
};

}  // namespace

StrokeText stroke_text(std::string_view text) {
    StrokeText result;
    double x = 0;
    for (char c : text) {
        const bool continues_a_character = (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
        if (continues_a_character) continue;
        if (c < first_character || c > last_character) c = '?';
        const Glyph& glyph = glyphs[static_cast<std::size_t>(c - first_character)];
        GlyphPen(glyph.path, x, result.strokes).draw();
        x += glyph.width + letter_gap;
    }
    result.width = std::max(x - letter_gap, 0.0) / capital_height;
    return result;
}

}  // namespace vyn
