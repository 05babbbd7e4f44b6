#include "render/iso_lines.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

#include "api/parallel.h"

namespace vyn {

namespace {

constexpr int rows_per_block = 16;
constexpr std::uint8_t no_number = 255;
constexpr std::size_t most_levels = 254;

/// The squares whose means the lines go through are at least so wide: of finer turns a pen would
/// show nothing.
constexpr double pixels_per_step = 2;

/// How many of the levels each value of a grid reaches; `no_number` where it is none.
Bitmap<std::uint8_t> ranks_of(const Bitmap<float>& grid, std::span<const float> levels) {
    Bitmap<std::uint8_t> ranks(grid.width(), grid.height());
    Progress quiet;
    parallel_rows(grid.height(), rows_per_block, quiet, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const float* const value = grid.row(y);
            std::uint8_t* const rank = ranks.row(y);
            for (int x = 0; x < grid.width(); ++x)
                rank[x] = std::isnan(value[x])
                              ? no_number
                              : static_cast<std::uint8_t>(
                                    std::ranges::upper_bound(levels, value[x]) - levels.begin());
        }
    });
    return ranks;
}

/// The ranks at the corners of a cell: from the lowest on as many lines cross it as to the highest.
struct CellRanks {
    CellRanks(const Bitmap<std::uint8_t>& ranks, int x, int y)
        : corners{ranks(x, y), ranks(x + 1, y), ranks(x + 1, y + 1), ranks(x, y + 1)} {
        const auto [least, most] = std::ranges::minmax(corners);
        lowest = least;
        highest = most == no_number ? least : most;
    }
    int lines() const { return highest - lowest; }

    std::array<std::uint8_t, 4> corners;  ///< clockwise from the upper left one
    int lowest;
    int highest;
};

std::size_t count_steps(const Bitmap<std::uint8_t>& ranks) {
    std::vector<std::size_t> by_row(static_cast<std::size_t>(std::max(ranks.height() - 1, 0)));
    Progress quiet;
    parallel_rows(ranks.height() - 1, rows_per_block, quiet, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y)
            for (int x = 0; x + 1 < ranks.width(); ++x)
                by_row[static_cast<std::size_t>(y)] +=
                    static_cast<std::size_t>(CellRanks(ranks, x, y).lines());
    });
    std::size_t sum = 0;
    for (const std::size_t count : by_row)
        sum += count;
    return sum;
}

/// A piece of a line across one cell, from one of its sides to another one. A side's number is
/// twice that of its left or upper end in the grid, one more for a vertical one.
struct Step {
    int level;
    std::int32_t from;
    std::int32_t to;
};

class CellTracer {
  public:
    CellTracer(const Bitmap<float>& grid, const Bitmap<std::uint8_t>& ranks,
               std::span<const float> levels)
        : grid_(grid), ranks_(ranks), levels_(levels) {}

    void trace(int x, int y, std::vector<Step>& steps) const {
        const CellRanks ranks(ranks_, x, y);
        for (int level = ranks.lowest; level < ranks.highest; ++level)
            trace_level(x, y, level, ranks, steps);
    }

  private:
    /// Side k runs from corner k to the next one. A step comes in where the cell's outline goes
    /// from a lower to a higher corner, so that it goes out of the cell before by the same side.
    void trace_level(int x, int y, int level, const CellRanks& ranks,
                     std::vector<Step>& steps) const {
        std::array<bool, 4> above;
        for (std::size_t k = 0; k < 4; ++k)
            above[k] = ranks.corners[k] > level;
        std::array<std::size_t, 2> in{};
        std::array<std::size_t, 2> out{};
        std::size_t ins = 0;
        std::size_t outs = 0;
        for (std::size_t k = 0; k < 4; ++k) {
            const bool next = above[(k + 1) % 4];
            if (!above[k] && next) in[ins++] = k;
            if (above[k] && !next) out[outs++] = k;
        }
        const std::array<std::int32_t, 4> sides = sides_of(x, y);
        if (ins == 1) {
            steps.push_back({level, sides[in[0]], sides[out[0]]});
            return;
        }
        // Two higher corners across: their mean says whether they hang together. Sides follow each
        // other as in, out, in, out; about a lone higher corner a line goes to the side behind,
        // about a lone lower one to the side before.
        const float mean =
            (grid_(x, y) + grid_(x + 1, y) + grid_(x + 1, y + 1) + grid_(x, y + 1)) / 4;
        const bool together = mean >= levels_[static_cast<std::size_t>(level)];
        for (std::size_t i = 0; i < 2; ++i)
            steps.push_back({level, sides[in[i]], sides[(in[i] + (together ? 3 : 1)) % 4]});
    }

    std::array<std::int32_t, 4> sides_of(int x, int y) const {
        const auto at = [this](int column, int row, int vertical) {
            return static_cast<std::int32_t>(2 * (row * grid_.width() + column) + vertical);
        };
        return {at(x, y, 0), at(x + 1, y, 1), at(x, y + 1, 0), at(x, y, 1)};
    }

    const Bitmap<float>& grid_;
    const Bitmap<std::uint8_t>& ranks_;
    std::span<const float> levels_;
};

/// The steps of each level, in the order of the cells.
std::vector<std::vector<Step>> steps_by_level(const Bitmap<float>& grid,
                                              const Bitmap<std::uint8_t>& ranks,
                                              std::span<const float> levels) {
    const CellTracer tracer(grid, ranks, levels);
    const int cell_rows = grid.height() - 1;
    std::vector<std::vector<Step>> by_block(
        static_cast<std::size_t>((cell_rows + rows_per_block - 1) / rows_per_block));
    Progress quiet;
    parallel_rows(cell_rows, rows_per_block, quiet, [&](int y0, int y1) {
        std::vector<Step>& steps = by_block[static_cast<std::size_t>(y0 / rows_per_block)];
        for (int y = y0; y < y1; ++y)
            for (int x = 0; x + 1 < grid.width(); ++x)
                tracer.trace(x, y, steps);
    });
    std::vector<std::vector<Step>> by_level(levels.size());
    for (const auto& block : by_block)
        for (const Step& step : block)
            by_level[static_cast<std::size_t>(step.level)].push_back(step);
    return by_level;
}

/// Joins the steps of one level to lines: where one ends on a side of a cell, at most one other
/// begins there.
class Joiner {
  public:
    Joiner(const Bitmap<float>& grid, const std::vector<Step>& steps, double level)
        : grid_(grid), steps_(steps), level_(level), waiting_(steps.size(), 1) {
        for (std::size_t i = 0; i < steps.size(); ++i) {
            begins_.push_back({steps[i].from, i});
            ends_.push_back(steps[i].to);
        }
        std::ranges::sort(begins_);
        std::ranges::sort(ends_);
    }

    void join(std::vector<IsoLine>& lines) {
        for (const Step& step : steps_)
            if (!std::ranges::binary_search(ends_, step.from)) lines.push_back(follow(step.from));
        for (std::size_t i = 0; i < steps_.size(); ++i)
            if (waiting_[i]) lines.push_back(follow(steps_[i].from));
    }

  private:
    using Begin = std::pair<std::int32_t, std::size_t>;

    IsoLine follow(std::int32_t side) {
        IsoLine line{level_, {place_on(side)}};
        while (const auto step = waiting_at(side)) {
            waiting_[*step] = 0;
            side = steps_[*step].to;
            line.places.push_back(place_on(side));
        }
        return line;
    }

    std::optional<std::size_t> waiting_at(std::int32_t side) const {
        const auto found = std::ranges::lower_bound(begins_, side, {}, &Begin::first);
        if (found == begins_.end() || found->first != side || !waiting_[found->second])
            return std::nullopt;
        return found->second;
    }

    Point place_on(std::int32_t side) const {
        const int node = side / 2;
        const int x = node % grid_.width();
        const int y = node / grid_.width();
        const bool vertical = side % 2 != 0;
        const double a = double{grid_(x, y)};
        const double b = double{vertical ? grid_(x, y + 1) : grid_(x + 1, y)};
        const double share = std::clamp((level_ - a) / (b - a), 0.0, 1.0);
        return vertical ? Point{double(x), y + share} : Point{x + share, double(y)};
    }

    const Bitmap<float>& grid_;
    const std::vector<Step>& steps_;
    double level_;
    std::vector<std::uint8_t> waiting_;
    std::vector<Begin> begins_;  ///< by side
    std::vector<std::int32_t> ends_;
};

std::vector<float> single(std::span<const double> levels) {
    std::vector<float> rounded;
    for (const double level : levels.first(std::min(levels.size(), most_levels)))
        rounded.push_back(static_cast<float>(level));
    return rounded;
}

std::vector<IsoLine> trace(const Bitmap<float>& grid, const Bitmap<std::uint8_t>& ranks,
                           std::span<const double> levels, std::span<const float> rounded) {
    std::vector<IsoLine> lines;
    const auto steps = steps_by_level(grid, ranks, rounded);
    for (std::size_t i = 0; i < steps.size(); ++i)
        Joiner(grid, steps[i], levels[i]).join(lines);
    return lines;
}

/// A rectangle of the pixels of one level of an image.
struct Window {
    int level = 0;
    int x0 = 0;
    int y0 = 0;
    int width = 0;
    int height = 0;
};

enum class Put { values, less_values };
/// NaN where an image has background.
void put(Put what, const ImageLevels& levels, const Window& window, Bitmap<float>& grid) {
    const ImageLevels::Level from = levels.level(std::min(window.level, levels.count() - 1));
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    Progress quiet;
    parallel_rows(window.height, rows_per_block, quiet, [&](int j0, int j1) {
        for (int j = j0; j < j1; ++j) {
            float* const out = grid.row(j);
            for (int i = 0; i < window.width; ++i) {
                const int x = window.x0 + i;
                const int y = window.y0 + j;
                const bool valid = from.values->contains(x, y) && (*from.mask)(x, y) == 0;
                const float value = valid ? (*from.values)(x, y) : nan;
                out[i] =
                    std::isfinite(value) ? (what == Put::values ? value : out[i] - value) : nan;
            }
        }
    });
}

/// The field that lines are drawn of; null for a colour image.
const ImageLevels* shown_levels(const ViewSource& source) {
    if (const auto* field = std::get_if<FieldSource>(&source)) return field->levels.get();
    if (const auto* difference = std::get_if<DifferenceSource>(&source))
        return difference->a && difference->b ? difference->a.get() : nullptr;
    return nullptr;
}

/// The pixels of a level that a rectangle shows, with one more all round.
Window seen_window(const ImageLevels& levels, int level, const ViewRectangle& seen) {
    const Bitmap<float>& values = *levels.level(level).values;
    const double pitch = std::ldexp(1.0, level);
    const auto pixel = [&](double position, int count) {
        const double at = std::floor((position + 0.5) / pitch);
        return static_cast<int>(std::clamp(at, 0.0, static_cast<double>(count - 1)));
    };
    Window window;
    window.level = level;
    window.x0 = pixel(seen.x - pitch, values.width());
    window.y0 = pixel(seen.y - pitch, values.height());
    window.width = pixel(seen.x + seen.width / seen.zoom + pitch, values.width()) - window.x0 + 1;
    window.height =
        pixel(seen.y + seen.height / seen.zoom + pitch, values.height()) - window.y0 + 1;
    return window;
}

/// From the window's grid to the image: the middle of a level's pixel.
void to_image(std::vector<IsoLine>& lines, const Window& window, const image& picture) {
    const double pitch = std::ldexp(1.0, window.level);
    const auto place = [pitch](double step, int first, int count) {
        return std::clamp((first + step + 0.5) * pitch - 0.5, 0.0, count - 1.0);
    };
    for (IsoLine& line : lines)
        for (Point& at : line.places)
            at = {place(at.x, window.x0, picture.width()),
                  place(at.y, window.y0, picture.height())};
}

}  // namespace

std::vector<IsoLine> trace_iso_lines(const Bitmap<float>& grid, std::span<const double> levels) {
    const std::vector<float> rounded = single(levels);
    if (grid.width() < 2 || grid.height() < 2) return {};
    return trace(grid, ranks_of(grid, rounded), levels, rounded);
}

std::uint32_t iso_ink(const colour_map& colours, double level) {
    const std::uint32_t ground = colours.colour(static_cast<float>(level), false, true);
    // Luma of Rec. 601, per mille.
    const std::uint32_t light =
        299 * (ground >> 16 & 0xFF) + 587 * (ground >> 8 & 0xFF) + 114 * (ground & 0xFF);
    return light > 255 * 400 ? 0xFF000000U : 0xFFFFFFFFU;
}

std::vector<IsoLine> iso_lines(const ViewSource& source, const ViewRectangle& seen,
                               std::span<const double> levels, std::size_t most_steps) {
    const ImageLevels* const shown = shown_levels(source);
    if (!shown || levels.empty() || !(seen.zoom > 0) || seen.width < 1 || seen.height < 1)
        return {};
    const std::vector<float> rounded = single(levels);
    int level = 0;
    while (level + 1 < shown->count() && std::ldexp(seen.zoom, level) < pixels_per_step)
        ++level;
    for (; level < shown->count(); ++level) {
        const Window window = seen_window(*shown, level, seen);
        if (window.width < 2 || window.height < 2) return {};
        Bitmap<float> grid(window.width, window.height);
        put(Put::values, *shown, window, grid);
        if (const auto* difference = std::get_if<DifferenceSource>(&source))
            put(Put::less_values, *difference->b, window, grid);
        const Bitmap<std::uint8_t> ranks = ranks_of(grid, rounded);
        if (count_steps(ranks) > most_steps) continue;
        std::vector<IsoLine> lines = trace(grid, ranks, levels, rounded);
        to_image(lines, window, shown->picture());
        return lines;
    }
    return {};
}

}  // namespace vyn
