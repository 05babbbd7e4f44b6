#include "render/picture_values.h"

#include <algorithm>

#include "render/difference.h"

namespace vyn {

namespace {

Histogram histogram_of(const image& picture, const ValueSummary& summary, Progress& progress) {
    constexpr int bins = 256;
    SubProgress first(progress, 0, 0.7);
    SubProgress second(progress, 0.7, 1);
    const Limits all = summary.extremes();
    const Limits most = percentiles(picture, 0.1, 99.9, first);
    const double room = 0.25 * (most.maximum - most.minimum);
    const Limits range{std::max(all.minimum, most.minimum - room),
                       std::min(all.maximum, most.maximum + room)};
    return make_histogram(picture, range, bins, second);
}

}  // namespace

PictureValues values_of(std::shared_ptr<const image> picture,
                        const std::shared_ptr<const image>& subtracted, Progress& progress) {
    PictureValues values;
    values.picture = subtracted ? difference_of(*picture, *subtracted) : std::move(picture);
    SubProgress first(progress, 0, 0.3);
    SubProgress second(progress, 0.3, 1);
    values.summary = summarise(*values.picture, first);
    values.histogram = histogram_of(*values.picture, values.summary, second);
    return values;
}

}  // namespace vyn
