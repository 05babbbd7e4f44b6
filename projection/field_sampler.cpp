#include "projection/field_sampler.h"

#include <algorithm>
#include <cmath>

#include "api/parallel.h"

namespace vyn {

namespace {

/// A larger footprint than this is cut: a node so near that a single face fills the picture.
constexpr int most_side = 512;

constexpr int row_block = 64;

Bitmap<std::uint8_t> valid_pixels(const image& field, Progress& progress) {
    Bitmap<std::uint8_t> valid(field.width(), field.height());
    parallel_rows(field.height(), row_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const std::uint8_t* mask = field.mask().row(y);
            const float* values = field.values().row(y);
            std::uint8_t* out = valid.row(y);
            for (int x = 0; x < field.width(); ++x) {
                // Not finite: infinite or NaN, whose difference from itself is NaN.
                const bool finite = values[x] - values[x] == 0;
                out[x] = static_cast<std::uint8_t>((mask[x] == 0) & finite);
            }
        }
    });
    return valid;
}

Bitmap<std::uint8_t> without_dots(Bitmap<std::uint8_t> valid, const MarkerSet& dots,
                                  double radius) {
    if (!(radius > 0)) return valid;
    for (const Marker& dot : dots.markers) {
        const auto reach = [radius](double middle, int size) {
            const auto inside = [size](double at) {
                return static_cast<int>(std::clamp(at, 0.0, size - 1.0));
            };
            return std::pair{inside(std::ceil(middle - radius)),
                             inside(std::floor(middle + radius))};
        };
        if (!std::isfinite(dot.x) || !std::isfinite(dot.y)) continue;
        const auto [x0, x1] = reach(dot.x, valid.width());
        const auto [y0, y1] = reach(dot.y, valid.height());
        for (int y = y0; y <= y1; ++y)
            for (int x = x0; x <= x1; ++x)
                if (std::hypot(x - dot.x, y - dot.y) <= radius) valid(x, y) = 0;
    }
    return valid;
}

/// 0 for windows of 4 x 4 pixels from (x - 1, y - 1) that are valid throughout, 1 for the others.
Bitmap<std::uint8_t> rough_windows(const Bitmap<std::uint8_t>& valid, Progress& progress) {
    const int width = valid.width();
    const int height = valid.height();
    Bitmap<std::uint8_t> rough(width, height, 1);
    parallel_rows(height, row_block, progress, [&](int y0, int y1) {
        std::vector<std::uint8_t> column(static_cast<std::size_t>(width));
        for (int y = std::max(y0, 1); y < std::min(y1, height - 2); ++y) {
            const std::uint8_t* rows[4];
            for (int j = 0; j < 4; ++j)
                rows[j] = valid.row(y - 1 + j);
            for (int x = 0; x < width; ++x)
                column[static_cast<std::size_t>(x)] =
                    static_cast<std::uint8_t>(rows[0][x] & rows[1][x] & rows[2][x] & rows[3][x]);
            std::uint8_t* out = rough.row(y);
            const std::uint8_t* c = column.data();
            for (int x = 1; x + 2 < width; ++x)
                out[x] = static_cast<std::uint8_t>(1 ^ (c[x - 1] & c[x] & c[x + 1] & c[x + 2]));
        }
    });
    return rough;
}

/// Crossings to the left of a pixel's centre: half-open in y, with the ends in a fixed order, so
/// that two quadrangles that share an edge see the same crossing.
bool crosses(Point a, Point b, double x, double y) {
    if (b.y < a.y || (b.y == a.y && b.x < a.x)) std::swap(a, b);
    if (!(a.y <= y && y < b.y)) return false;
    return a.x + (b.x - a.x) * ((y - a.y) / (b.y - a.y)) <= x;
}

bool inside(const std::array<Point, 4>& quad, double x, double y) {
    bool odd = false;
    for (std::size_t i = 0; i < 4; ++i)
        odd ^= crosses(quad[i], quad[(i + 1) % 4], x, y);
    return odd;
}

/// The whole numbers between two coordinates, but for those farther than half of `most_side` from
/// the middle.
struct Range {
    int first;
    int last;
    Range(double low, double high, double middle)
        : first(static_cast<int>(std::ceil(std::max(low, middle - most_side / 2.0)))),
          last(static_cast<int>(std::floor(std::min(high, middle + most_side / 2.0)))) {}
};

}  // namespace

FieldSampler::FieldSampler(const image& field, double min_valid, double dots, Progress& progress)
    : field_(field),
      min_valid_(min_valid),
      valid_(without_dots(valid_pixels(field, progress), field.markers, dots)),
      rough_(rough_windows(valid_, progress)),
      spline_(field.values(), field.mask(), 3, SplineEdges::extended, progress),
      evaluation_(spline_) {}

std::optional<FieldSample> FieldSampler::bilinear(Point place) const {
    if (outside(place)) return std::nullopt;
    const int x0 = static_cast<int>(std::floor(place.x));
    const int y0 = static_cast<int>(std::floor(place.y));
    const double fx = place.x - x0;
    const double fy = place.y - y0;
    double sum = 0;
    double weight = 0;
    for (int j = 0; j < 2; ++j)
        for (int i = 0; i < 2; ++i) {
            if (!valid(x0 + i, y0 + j)) continue;
            const double w = (i ? fx : 1 - fx) * (j ? fy : 1 - fy);
            sum += w * static_cast<double>(field_.values()(x0 + i, y0 + j));
            weight += w;
        }
    if (!(weight >= min_valid_) || !(weight > 0)) return std::nullopt;
    return FieldSample{sum / weight};
}

std::optional<FieldSample> FieldSampler::at(Point place) const {
    if (outside(place)) return std::nullopt;
    const int x0 = static_cast<int>(std::floor(place.x));
    const int y0 = static_cast<int>(std::floor(place.y));
    if (rough_.contains(x0, y0) && !rough_(x0, y0))
        return FieldSample{static_cast<double>(spline_.at(place.x, place.y))};
    return bilinear(place);
}

void FieldSampler::sample_spline(std::span<const double> x, std::span<const double> y,
                                 SplineSamples& samples) const {
    samples.values.resize(x.size());
    samples.rough.resize(x.size());
    evaluation_(x.data(), y.data(), static_cast<int>(x.size()), samples.values.data(), rough_,
                samples.rough.data());
}

std::optional<FieldSample> FieldSampler::mean(Point place,
                                              std::span<const std::array<Point, 4>> quads) const {
    double sum = 0;
    Point middle{0, 0};  // from the place
    int used = 0;
    int all = 0;
    for (const auto& quad : quads) {
        const auto [left, right] = std::minmax({quad[0].x, quad[1].x, quad[2].x, quad[3].x});
        const auto [top, bottom] = std::minmax({quad[0].y, quad[1].y, quad[2].y, quad[3].y});
        const Range rows(top, bottom, place.y);
        const Range columns(left, right, place.x);
        for (int y = rows.first; y <= rows.last; ++y)
            for (int x = columns.first; x <= columns.last; ++x) {
                if (!inside(quad, x, y)) continue;
                ++all;
                if (!valid(x, y)) continue;
                sum += static_cast<double>(field_.values()(x, y));
                middle.x += x - place.x;
                middle.y += y - place.y;
                ++used;
            }
    }
    if (all == 0) return at(place);
    if (used == 0 || used < min_valid_ * all) return std::nullopt;
    const auto slope = gradient(place);
    return FieldSample{(sum - slope[0] * middle.x - slope[1] * middle.y) / used, used};
}

std::array<double, 2> FieldSampler::gradient(Point place) const {
    constexpr double half = 0.5;
    const auto slope = [&](Point step) {
        const auto more = at({place.x + step.x, place.y + step.y});
        const auto less = at({place.x - step.x, place.y - step.y});
        return more && less ? more->value - less->value : 0.0;
    };
    return {slope({half, 0}), slope({0, half})};
}

}  // namespace vyn
