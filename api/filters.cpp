#include "api/filters.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "api/filter_pass.h"
#include "api/image_parts.h"
#include "api/pixel_ops.h"

namespace vyn {

namespace {

constexpr double percent = 0.01;
constexpr double least_fill_fraction = 0.0005;

float to_float(double limit) {
    constexpr double largest = std::numeric_limits<float>::max();
    constexpr float infinity = std::numeric_limits<float>::infinity();
    if (limit > largest) return infinity;
    if (limit < -largest) return -infinity;
    return static_cast<float>(limit);
}

/// The least count of valid pixels with (area - count) / area below the fill fraction, which is
/// above 0. Counts above 2^24 are rounded to floats.
float least_count(double area, double fill) {
    double count = std::max(0.0, std::floor(area * (1 - fill)) - 2);
    while ((area - count) / area >= fill)
        ++count;
    return static_cast<float>(count);
}

FilterRule rule_of(const FilterOptions& options) {
    const double fill = options.fill_percent * percent;
    const auto side = [](int request) { return 2 * (request / 2) + 1; };
    FilterRule rule{};
    rule.visit_valid = options.target == FilterTarget::all ? -1 : 0;
    rule.least_count = std::numeric_limits<float>::infinity();
    if (fill > least_fill_fraction) rule.visit_excluded = -1;
    if (fill > 0) rule.least_count = least_count(double(side(options.dx)) * side(options.dy), fill);
    return rule;
}

image pass_over(const image& picture, const FilterOptions& options, Progress& progress) {
    const FilterPass pass{picture,
                          {to_float(options.min), to_float(options.max)},
                          {options.dx, picture.width()},
                          {options.dy, picture.height()},
                          rule_of(options),
                          progress};
    if (options.type == FilterType::limits) {
        throw_if_aborted(progress);
        return pass.limited();
    }
    image out = with_planes(picture, Bitmap<float>(picture.width(), picture.height()),
                            Bitmap<std::uint8_t>(picture.width(), picture.height()));
    switch (options.type) {
        case FilterType::limits:
            break;
        case FilterType::box:
            mean_pass(pass, MeanWeights::equal, out);
            break;
        case FilterType::gauss:
            mean_pass(pass, MeanWeights::gauss, out);
            break;
        case FilterType::range_gauss:
            range_mean_pass(pass, options.range_percent * percent, out);
            break;
        case FilterType::median:
            median_pass(pass, out);
            break;
    }
    if (picture.has_region()) out.set_region(picture.region());
    return out;
}

}  // namespace

FilterRow FilterPass::row(int y, image& out) const {
    Bitmap<float>& values = out.values();
    Bitmap<std::uint8_t>& mask = out.mask();
    const int next = std::min(y + 1, picture.height() - 1);
    return {{picture.values().row(y), picture.mask().row(y)},
            region_row(picture, y),
            rule,
            {values.row(y), mask.row(y)},
            {values.row(next), mask.row(next)}};
}

image FilterPass::limited() const {
    image copy = with_planes(picture, picture.values(), picture.mask());
    if (picture.has_region()) copy.set_region(picture.region());
    exclude_below(copy, limits.lower);
    clamp_above(copy, limits.upper);
    return copy;
}

image filtered(const image& source, const FilterOptions& options, Progress& progress) {
    check_all_planes(source);
    if (options.dx < 2 || options.dy < 2 || options.iterations < 1) return source;
    if (source.width() == 0 || source.height() == 0) return source;
    const auto part = [&](int pass) { return static_cast<double>(pass) / options.iterations; };
    SubProgress first(progress, 0, part(1));
    image result = pass_over(source, options, first);
    for (int pass = 1; pass < options.iterations; ++pass) {
        SubProgress next(progress, part(pass), part(pass + 1));
        result = pass_over(result, options, next);
    }
    return result;
}

FilterType filter_type(int number) {
    if (number < 0 || number > static_cast<int>(FilterType::median))
        throw AlgoError("Algorithm error!",
                        "there is no filter type " + std::to_string(number) + ", only 0 to 4");
    return static_cast<FilterType>(number);
}

}  // namespace vyn
