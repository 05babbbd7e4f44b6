#include "uncertainty/picture_tables.h"

#include <numeric>

#include "uncertainty/median_variance.h"

namespace vyn {

namespace {

const FilterOptions* filter_of(const UncertainPoint& point) {
    // A window of one pixel in either direction leaves the picture as it is.
    if (!point.filter || point.filter->dx < 2 || point.filter->dy < 2) return nullptr;
    return &*point.filter;
}

/// An entry for each phase, also where all places are whole pixels.
std::vector<float> gains_of(const ResamplingWeights& weights) {
    std::vector<float> gains = weights.gains();
    if (gains.size() < ResamplingWeights::phases) gains.resize(ResamplingWeights::phases);
    return gains;
}

std::optional<MedianTables> median_tables(const FilterOptions* filter, int degree,
                                          Samplings samplings) {
    if (!filter || filter->type != FilterType::median) return std::nullopt;
    MedianTables tables;
    tables.excess = median_variance::table(*filter);

    if (samplings != Samplings::none) {
        const auto once = ResamplingWeights(degree, Samplings::one, nullptr, 0).gains();
        const float mean = std::accumulate(once.begin(), once.end(), 0.0F) / float(once.size());
        tables.before = mean * mean;
    }
    return tables;
}

}  // namespace

PictureTables::PictureTables(const UncertainPoint& point, const UncertainPicture& picture)
    : samplings(!picture.camera        ? Samplings::none
                : !picture.undistorted ? Samplings::one
                                       : Samplings::two),
      x(point.degree, samplings, filter_of(point), point.filter ? point.filter->dx : 0),
      y(point.degree, samplings, filter_of(point), point.filter ? point.filter->dy : 0),
      gains{gains_of(x), gains_of(y)},
      median(median_tables(filter_of(point), point.degree, samplings)) {
    if (!filter_of(point)) return;
    const std::vector<float> without =
        gains_of(ResamplingWeights(point.degree, samplings, nullptr, 0));
    plain = {without, without};
}

}  // namespace vyn
