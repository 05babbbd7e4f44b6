#include "process/steps/step_settings.h"

namespace vyn {

RatioLimits ratio_limits(dataSetInterface& data) {
    RatioLimits limits;
    limits.clamp = read(data, keys::filter_threshold) != 0;
    if (!limits.clamp) return limits;
    limits.lower = static_cast<float>(read(data, keys::threshold_min));
    limits.upper = static_cast<float>(read(data, keys::threshold_max));
    return limits;
}

MarkerMatchOptions match_options(dataSetInterface& data) {
    MarkerMatchOptions options;
    options.order = read(data, keys::markers_order);
    options.box = read(data, keys::markers_box);
    options.by_geometry = read(data, keys::markers_geometry) != 0;
    if (options.by_geometry) return options;
    options.fix_first = read(data, keys::markers_fix);
    options.link = read(data, keys::markers_link);
    return options;
}

CorrelationOptions correlation_options(dataSetInterface& data) {
    CorrelationOptions options;
    options.iterations = read(data, keys::qped_iter);
    options.step = read(data, keys::qped_step);
    options.cell = read(data, keys::qped_cell);
    options.global = read(data, keys::qped_global) != 0 ? GlobalPass::yes : GlobalPass::no;
    return options;
}

std::optional<FilterOptions> filter_options(dataSetInterface& data) {
    if (read(data, keys::filter_enable) == 0) return std::nullopt;
    FilterOptions options;
    options.type = filter_type(read(data, keys::filter_type));
    options.dx = read(data, keys::filter_dx);
    options.dy = read(data, keys::filter_dy);
    options.min = read(data, keys::filter_min);
    options.max = read(data, keys::filter_max);
    options.fill_percent = read(data, keys::filter_fill);
    options.range_percent = read(data, keys::filter_range);
    options.iterations = read(data, keys::filter_iter);
    return options;
}

}  // namespace vyn
