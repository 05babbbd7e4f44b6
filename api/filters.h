#pragma once

#include "api/image.h"
#include "core/progress.h"

namespace vyn {

/// What a pass does beside applying the limits. The numbers are those of the setting.
enum class FilterType {
    limits = 0,       ///< nothing
    box = 1,          ///< mean
    gauss = 2,        ///< weighted mean
    range_gauss = 3,  ///< weighted mean that also weights by the distance in value
    median = 4,
};

/// Which pixels are filtered: all, or excluded ones only.
enum class FilterTarget { all, holes };

struct FilterOptions {
    FilterType type = FilterType::box;
    int dx = 3;  ///< width of the window in pixels; an even one grows by one
    int dy = 3;  ///< its height, likewise
    double min = -1e6;
    double max = 1e6;
    int fill_percent = 0;
    int range_percent = 10;
    int iterations = 1;
    FilterTarget target = FilterTarget::all;
};

/// The image after `iterations` passes of a filter over its valid pixels.
///
/// Before each pass pixels below `min` are excluded and those above `max` become `max` in a copy,
/// which the pass reads. The window of W x H pixels is clipped to the image; n counts its valid
/// pixels. A pixel becomes a value when n is not 0 and it is valid or the share (W H - n) / (W H)
/// is below the fill fraction (fill_percent / 100); else it is excluded and keeps its old value.
/// Excluded pixels are not visited at all when the fill fraction is at most 0.0005. Pixels outside
/// the region plane stay as they are and still count in the windows of others.
///
/// box: the mean. gauss: the mean with the weights exp(-(u^2 + v^2)), u and v from -1 to 1 across
/// the window, divided by the sum of the weights of the valid pixels. range_gauss: with the further
/// factor exp(-((value - centre) / s)^2) (Tomasi, Manduchi 1998), s = range_percent / 100 times the
/// span of the valid finite values; the centre of an excluded pixel is its gauss mean, and with
/// s = 0 only equal values count. median: of n values the one of rank n / 2, from 0, NaN ranking
/// last.
///
/// Nothing happens when dx or dy is below 2 or `iterations` below 1. Any window size is allowed;
/// the cost per pixel grows with W + H (range_gauss: W H). The same bits with any number of threads
/// and on any instruction set. Raises AlgoError and DimError as operations on pixels do.
image filtered(const image& source, const FilterOptions& options, Progress& progress);

/// The filter type of a number. Raises AlgoError "Algorithm error!" for other numbers than 0 to 4.
FilterType filter_type(int number);

}  // namespace vyn
