#include "projection/field_sampler.h"

#include <algorithm>
#include <cmath>

namespace vyn {

namespace {

/// A larger footprint than this is cut: a node so near that a single face fills the picture.
constexpr int most_side = 512;

Bitmap<std::uint8_t> valid_pixels(const image& field) {
    Bitmap<std::uint8_t> valid(field.width(), field.height());
    for (int y = 0; y < field.height(); ++y)
        for (int x = 0; x < field.width(); ++x)
            valid(x, y) = field.mask()(x, y) == 0 && std::isfinite(field.values()(x, y));
    return valid;
}

/// Windows of 4 x 4 pixels from (x - 1, y - 1) that are valid throughout.
Bitmap<std::uint8_t> smooth_windows(const Bitmap<std::uint8_t>& valid) {
    const int width = valid.width();
    const int height = valid.height();
    Bitmap<std::uint8_t> rows(width, height, 0);
    Bitmap<std::uint8_t> smooth(width, height, 0);
    for (int y = 0; y < height; ++y)
        for (int x = 1; x + 2 < width; ++x)
            rows(x, y) = valid(x - 1, y) & valid(x, y) & valid(x + 1, y) & valid(x + 2, y);
    for (int y = 1; y + 2 < height; ++y)
        for (int x = 0; x < width; ++x)
            smooth(x, y) = rows(x, y - 1) & rows(x, y) & rows(x, y + 1) & rows(x, y + 2);
    return smooth;
}

/// Crossings to the left of a pixel's centre: half-open in y, with the ends in a fixed order, so
/// that two quadrangles that share an edge see the same crossing.
bool crosses(Point a, Point b, double x, double y) {
    if (b.y < a.y || (b.y == a.y && b.x < a.x)) std::swap(a, b);
    if (!(a.y <= y && y < b.y)) return false;
    return a.x + (b.x - a.x) * ((y - a.y) / (b.y - a.y)) <= x;
}

bool inside(std::span<const std::array<Point, 4>> quads, double x, double y) {
    return std::ranges::any_of(quads, [&](const std::array<Point, 4>& quad) {
        bool odd = false;
        for (std::size_t i = 0; i < 4; ++i)
            odd ^= crosses(quad[i], quad[(i + 1) % 4], x, y);
        return odd;
    });
}

}  // namespace

FieldSampler::FieldSampler(const image& field, double min_valid, Progress& progress)
    : field_(field),
      min_valid_(min_valid),
      valid_(valid_pixels(field)),
      smooth_(smooth_windows(valid_)),
      spline_(field.values(), field.mask(), 3, SplineEdges::extended, progress) {}

std::optional<double> FieldSampler::bilinear(Point place) const {
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
    return sum / weight;
}

std::optional<FieldSample> FieldSampler::at(Point place) const {
    if (!(place.x > -1 && place.y > -1 && place.x < valid_.width() && place.y < valid_.height()))
        return std::nullopt;
    const int x0 = static_cast<int>(std::floor(place.x));
    const int y0 = static_cast<int>(std::floor(place.y));
    if (smooth_.contains(x0, y0) && smooth_(x0, y0))
        return FieldSample{static_cast<double>(spline_.at(place.x, place.y))};
    const auto value = bilinear(place);
    if (!value) return std::nullopt;
    return FieldSample{*value};
}

std::optional<FieldSample> FieldSampler::mean(Point place,
                                              std::span<const std::array<Point, 4>> quads) const {
    double low_x = place.x;
    double high_x = place.x;
    double low_y = place.y;
    double high_y = place.y;
    for (const auto& quad : quads)
        for (const Point& corner : quad) {
            low_x = std::min(low_x, corner.x);
            high_x = std::max(high_x, corner.x);
            low_y = std::min(low_y, corner.y);
            high_y = std::max(high_y, corner.y);
        }
    const auto first = [](double low, double middle) {
        return static_cast<int>(std::ceil(std::max(low, middle - most_side / 2.0)));
    };
    const auto last = [](double high, double middle) {
        return static_cast<int>(std::floor(std::min(high, middle + most_side / 2.0)));
    };
    double sum = 0;
    Point middle{0, 0};  // from the place
    int used = 0;
    int all = 0;
    for (int y = first(low_y, place.y); y <= last(high_y, place.y); ++y)
        for (int x = first(low_x, place.x); x <= last(high_x, place.x); ++x) {
            if (!inside(quads, x, y)) continue;
            ++all;
            if (!valid(x, y)) continue;
            sum += static_cast<double>(field_.values()(x, y));
            middle.x += x - place.x;
            middle.y += y - place.y;
            ++used;
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
