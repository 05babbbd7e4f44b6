#include "view/edit/pixel_runs.h"

#include <algorithm>
#include <cmath>

#include "api/parallel.h"

namespace vyn {

namespace {

/// The first whole number at or above a position, held inside 0..length.
int first_at(double position, int length) {
    return static_cast<int>(std::clamp(std::ceil(position), 0.0, double(length)));
}
/// The whole number behind the last one at or below it, likewise.
int behind(double position, int length) {
    return static_cast<int>(std::clamp(std::floor(position) + 1, 0.0, double(length)));
}

void add_run(PixelRuns& runs, int y, int first, int last) {
    if (first < last) runs.push_back({y, first, last});
}

bool all_finite(std::span<const Point> points) {
    return std::all_of(points.begin(), points.end(),
                       [](Point p) { return std::isfinite(p.x) && std::isfinite(p.y); });
}

/// Rows from the lowest to the highest y.
struct RowRange {
    int first;
    int last;
};
RowRange rows_between(double low, double high, PictureSize size) {
    return {first_at(low, size.height), behind(high, size.height)};
}

/// Sorts the runs of one row and joins those that overlap or touch.
void join_row(std::vector<PixelRun>& row, PixelRuns& runs) {
    std::sort(row.begin(), row.end(),
              [](const PixelRun& a, const PixelRun& b) { return a.first < b.first; });
    const std::size_t begin = runs.size();
    for (const PixelRun& run : row) {
        if (runs.size() > begin && run.first <= runs.back().last)
            runs.back().last = std::max(runs.back().last, run.last);
        else
            runs.push_back(run);
    }
    row.clear();
}

/// A part of a row in the real numbers; empty when from > to.
struct Interval {
    double from = 1;
    double to = 0;
};

/// Where row y meets the capsule of all points within `radius` of the line a..b: the hull of its
/// two discs, cut by row y. The capsule is convex, so this is one interval.
Interval capsule_row(Point a, Point b, double radius, double y) {
    Interval row{1e300, -1e300};
    const auto cover = [&row](double from, double to) {
        row.from = std::min(row.from, from);
        row.to = std::max(row.to, to);
    };
    for (const Point& end : {a, b}) {
        const double half = radius * radius - (y - end.y) * (y - end.y);
        if (half >= 0) cover(end.x - std::sqrt(half), end.x + std::sqrt(half));
    }
    const double length = std::hypot(b.x - a.x, b.y - a.y);
    if (length == 0) return row;
    // The two long sides run parallel to the line at distance `radius`.
    const Point across{-(b.y - a.y) / length * radius, (b.x - a.x) / length * radius};
    for (const double side : {1.0, -1.0}) {
        const Point from{a.x + side * across.x, a.y + side * across.y};
        const Point to{b.x + side * across.x, b.y + side * across.y};
        if (from.y == to.y) continue;
        const double part = (y - from.y) / (to.y - from.y);
        if (part < 0 || part > 1) continue;
        const double x = from.x + part * (to.x - from.x);
        cover(x, x);
    }
    return row;
}

}  // namespace

PixelRuns rectangle_runs(PictureSize size, Point corner, Point opposite) {
    PixelRuns runs;
    if (!all_finite(std::vector{corner, opposite})) return runs;
    const auto [left, right] = std::minmax(corner.x, opposite.x);
    const auto [top, bottom] = std::minmax(corner.y, opposite.y);
    const RowRange rows = rows_between(top, bottom, size);
    for (int y = rows.first; y < rows.last; ++y)
        add_run(runs, y, first_at(left, size.width), behind(right, size.width));
    return runs;
}

PixelRuns ellipse_runs(PictureSize size, Point corner, Point opposite) {
    PixelRuns runs;
    if (!all_finite(std::vector{corner, opposite})) return runs;
    const Point centre{(corner.x + opposite.x) / 2, (corner.y + opposite.y) / 2};
    const double a = std::abs(corner.x - opposite.x) / 2;
    const double b = std::abs(corner.y - opposite.y) / 2;
    if (a == 0 || b == 0) return rectangle_runs(size, corner, opposite);
    const RowRange rows = rows_between(centre.y - b, centre.y + b, size);
    for (int y = rows.first; y < rows.last; ++y) {
        const double v = (y - centre.y) / b;
        const double half = a * std::sqrt(std::max(0.0, 1 - v * v));
        add_run(runs, y, first_at(centre.x - half, size.width),
                behind(centre.x + half, size.width));
    }
    return runs;
}

PixelRuns polygon_runs(PictureSize size, std::span<const Point> corners) {
    PixelRuns runs;
    if (corners.size() < 3 || !all_finite(corners)) return runs;
    const auto [top, bottom] = std::minmax_element(corners.begin(), corners.end(),
                                                   [](Point a, Point b) { return a.y < b.y; });
    const RowRange rows = rows_between(top->y, bottom->y, size);
    std::vector<double> crossings;
    std::vector<PixelRun> row;
    for (int y = rows.first; y < rows.last; ++y) {
        crossings.clear();
        for (std::size_t i = 0; i < corners.size(); ++i) {
            const Point a = corners[i];
            const Point b = corners[(i + 1) % corners.size()];
            if ((a.y <= y) == (b.y <= y)) continue;
            crossings.push_back(a.x + (y - a.y) / (b.y - a.y) * (b.x - a.x));
        }
        std::sort(crossings.begin(), crossings.end());
        for (std::size_t i = 0; i + 1 < crossings.size(); i += 2)
            add_run(row, y, first_at(crossings[i], size.width),
                    first_at(crossings[i + 1], size.width));
        join_row(row, runs);
    }
    return runs;
}

PixelRuns brush_runs(PictureSize size, std::span<const Point> places, double radius) {
    PixelRuns runs;
    if (places.empty() || !(radius >= 0) || !std::isfinite(radius) || !all_finite(places))
        return runs;
    // One bucket of intervals per row: a long stroke touches each row with few of its parts.
    std::vector<std::vector<PixelRun>> rows(static_cast<std::size_t>(std::max(0, size.height)));
    for (std::size_t i = 0; i == 0 || i + 1 < places.size(); ++i) {
        const Point a = places[i];
        const Point b = places[std::min(i + 1, places.size() - 1)];
        const RowRange range =
            rows_between(std::min(a.y, b.y) - radius, std::max(a.y, b.y) + radius, size);
        for (int y = range.first; y < range.last; ++y) {
            const Interval row = capsule_row(a, b, radius, y);
            add_run(rows[static_cast<std::size_t>(y)], y, first_at(row.from, size.width),
                    behind(row.to, size.width));
        }
    }
    for (std::vector<PixelRun>& row : rows)
        join_row(row, runs);
    return runs;
}

PixelRuns search_rows(int height, const std::function<void(int y, PixelRuns& runs)>& search) {
    constexpr int block = 64;
    std::vector<PixelRuns> blocks(static_cast<std::size_t>((height + block - 1) / block));
    Progress progress;
    parallel_rows(height, block, progress, [&](int y0, int y1) {
        PixelRuns& runs = blocks[static_cast<std::size_t>(y0 / block)];
        for (int y = y0; y < y1; ++y)
            search(y, runs);
    });
    std::size_t count = 0;
    for (const PixelRuns& runs : blocks)
        count += runs.size();
    PixelRuns all;
    all.reserve(count);
    for (const PixelRuns& runs : blocks)
        all.insert(all.end(), runs.begin(), runs.end());
    return all;
}

void add_runs(int y, std::span<const std::uint8_t> flags, PixelRuns& runs) {
    // Where the flags change; no branches, each of which noise would make a wrong guess.
    const int width = static_cast<int>(flags.size());
    std::vector<int> edges(flags.size() + 2);
    std::size_t count = 0;
    std::uint8_t before = 0;
    for (int x = 0; x < width; ++x) {
        const std::uint8_t flag = flags[static_cast<std::size_t>(x)];
        edges[count] = x;
        count += flag ^ before;
        before = flag;
    }
    edges[count] = width;
    count += before;
    for (std::size_t i = 0; i < count; i += 2)
        runs.push_back({y, edges[i], edges[i + 1]});
}

RowFlags flags_of(PixelRuns runs) {
    return [runs = std::move(runs)](int y, std::span<std::uint8_t> flags) {
        const auto first = std::lower_bound(
            runs.begin(), runs.end(), y, [](const PixelRun& run, int row) { return run.y < row; });
        auto run = first;
        for (; run != runs.end() && run->y == y; ++run)
            std::fill(flags.begin() + run->first, flags.begin() + run->last, std::uint8_t{1});
        return run != first;
    };
}

RowFlags threshold_flags(const image& picture, double low, double high) {
    return [&picture, low, high](int y, std::span<std::uint8_t> flags) {
        const float* const values = picture.values().row(y);
        for (std::size_t x = 0; x < flags.size(); ++x)
            flags[x] = static_cast<std::uint8_t>(static_cast<int>(values[x] >= low) &
                                                 static_cast<int>(values[x] <= high));
        return true;
    };
}

}  // namespace vyn
