#include "render/iso_labels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <optional>
#include <set>

#include "core/numbers.h"

namespace vyn {

namespace {

/// A line shorter than this many widths of its number has none.
constexpr double least_length = 4;
/// Where along a line a number is tried, the middle first.
constexpr std::array<double, 7> shares{0.5, 0.4, 0.6, 0.3, 0.7, 0.2, 0.8};

/// Writes levels with as few decimals as tell them to a hundredth of their distance.
class LevelTexts {
  public:
    explicit LevelTexts(const std::vector<IsoLine>& lines) {
        std::set<double> levels;
        double largest = 0;
        for (const IsoLine& line : lines) {
            levels.insert(line.level);
            largest = std::max(largest, std::abs(line.level));
        }
        double distance = largest;
        for (auto level = levels.begin(); level != levels.end(); ++level)
            if (const auto next = std::next(level); next != levels.end())
                distance = std::min(distance, *next - *level);
        const auto told = [&](double level) {
            const double unit = std::pow(10, -decimals_);
            return std::abs(level - std::round(level / unit) * unit) <= distance / 100;
        };
        while (decimals_ < most_decimals && !std::ranges::all_of(levels, told))
            ++decimals_;
        plain_ = largest < 1e7 && decimals_ < most_decimals;
    }

    std::string text(double level) const {
        constexpr int digits = 5;  // of numbers with an exponent
        return plain_ ? format_fixed(level, decimals_) : format_general(level, digits);
    }

  private:
    static constexpr int most_decimals = 6;
    int decimals_ = 0;
    bool plain_ = true;
};

double length_of(const IsoLine& line) {
    double length = 0;
    for (std::size_t i = 1; i < line.places.size(); ++i)
        length += std::hypot(line.places[i].x - line.places[i - 1].x,
                             line.places[i].y - line.places[i - 1].y);
    return length;
}

Point place_at(const IsoLine& line, double distance) {
    for (std::size_t i = 1; i < line.places.size(); ++i) {
        const Point& a = line.places[i - 1];
        const Point& b = line.places[i];
        const double step = std::hypot(b.x - a.x, b.y - a.y);
        if (distance <= step && step > 0)
            return {a.x + (b.x - a.x) * distance / step, a.y + (b.y - a.y) * distance / step};
        distance -= step;
    }
    return line.places.back();
}

bool overlap(const IsoLabel& a, const IsoLabel& b) {
    return 2 * std::abs(a.middle.x - b.middle.x) < a.width + b.width &&
           2 * std::abs(a.middle.y - b.middle.y) < a.height + b.height;
}

bool inside(const IsoLabel& label, double width, double height) {
    return 2 * label.middle.x >= label.width && 2 * label.middle.y >= label.height &&
           2 * (width - label.middle.x) >= label.width &&
           2 * (height - label.middle.y) >= label.height;
}

/// The share of the way from a to b at which it enters and leaves a label's place; nothing beside.
std::optional<std::array<double, 2>> covered(const IsoLabel& label, const Point& a,
                                             const Point& b) {
    std::array<double, 2> part{0, 1};
    const auto cut = [&part](double from, double to, double low, double high) {
        if (from == to) return low < from && from < high;
        const double first = (low - from) / (to - from);
        const double second = (high - from) / (to - from);
        part[0] = std::max(part[0], std::min(first, second));
        part[1] = std::min(part[1], std::max(first, second));
        return part[0] < part[1];
    };
    const double half_width = label.width / 2;
    const double half_height = label.height / 2;
    if (!cut(a.x, b.x, label.middle.x - half_width, label.middle.x + half_width) ||
        !cut(a.y, b.y, label.middle.y - half_height, label.middle.y + half_height))
        return std::nullopt;
    return part;
}

/// What of a line lies beside its label.
void add_uncovered(const IsoLine& line, const IsoLabel& label, std::vector<IsoLine>& out) {
    const auto between = [](const Point& a, const Point& b, double share) {
        return Point{a.x + share * (b.x - a.x), a.y + share * (b.y - a.y)};
    };
    IsoLine piece{line.level, {line.places.front()}};
    const auto end_piece = [&] {
        if (piece.places.size() > 1) out.push_back(piece);
        piece.places.clear();
    };
    for (std::size_t i = 1; i < line.places.size(); ++i) {
        const Point& a = line.places[i - 1];
        const Point& b = line.places[i];
        const auto part = covered(label, a, b);
        if (!part) {
            piece.places.push_back(b);
            continue;
        }
        if ((*part)[0] > 0) piece.places.push_back(between(a, b, (*part)[0]));
        end_piece();
        if ((*part)[1] < 1) piece.places = {between(a, b, (*part)[1]), b};
    }
    end_piece();
}

}  // namespace

IsoDrawing label_iso_lines(std::vector<IsoLine> lines, const IsoLettering& lettering, double width,
                           double height) {
    IsoDrawing drawing;
    const LevelTexts texts(lines);
    for (IsoLine& line : lines) {
        IsoLabel label;
        label.level = line.level;
        label.text = texts.text(line.level);
        label.width = lettering.width(label.text) + lettering.height / 2;
        label.height = 1.3 * lettering.height;
        const double length = length_of(line);
        const auto fits = [&](double share) {
            label.middle = place_at(line, share * length);
            return inside(label, width, height) &&
                   std::ranges::none_of(drawing.labels, [&](const IsoLabel& other) {
                       return overlap(label, other);
                   });
        };
        if (length < least_length * label.width || std::ranges::none_of(shares, fits)) {
            drawing.lines.push_back(std::move(line));
            continue;
        }
        add_uncovered(line, label, drawing.lines);
        drawing.labels.push_back(std::move(label));
    }
    return drawing;
}

}  // namespace vyn
