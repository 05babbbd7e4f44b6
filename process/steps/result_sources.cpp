#include "process/steps/result_sources.h"

#include <initializer_list>
#include <map>

#include "api/image_list.h"
#include "core/keys.h"
#include "process/point/experiment_type.h"
#include "process/point/raw_images.h"
#include "process/steps/field_quantity.h"

namespace vyn {

namespace names = image_names;

namespace {

class Settings {
  public:
    template <class... T>
    void add(const Key<T>&... key) {
        (paths_.emplace_back(key.path), ...);
    }
    void add(std::string_view tree, std::initializer_list<const char*> relative) {
        for (const char* name : relative)
            paths_.push_back(std::string(tree) + name);
    }
    std::vector<std::string> take() { return std::move(paths_); }

  private:
    std::vector<std::string> paths_;
};

ResultSources correction_sources(dataSetInterface& data, const RawImage& raw) {
    const RawImage& taker = camera_partner(data, raw);
    Settings settings;
    settings.add(raw.dark_level, keys::spline_degree);
    settings.add(taker.camera, {"cx", "cy", "a2", "a4"});
    return {.images = {raw.name, raw.dark_name, taker.flat_name}, .settings = settings.take()};
}

void add_alignment(dataSetInterface& data, Settings& settings) {
    settings.add(keys::filter_enable, keys::markers_enable, keys::qped_enable, keys::spline_degree);
    if (read(data, keys::filter_enable))
        settings.add(keys::filter_type, keys::filter_dx, keys::filter_dy, keys::filter_min,
                     keys::filter_max, keys::filter_iter, keys::filter_fill, keys::filter_range);
    if (!read(data, keys::markers_enable)) return;
    settings.add(keys::markers_order, keys::markers_box, keys::markers_geometry);
    if (!read(data, keys::markers_geometry)) settings.add(keys::markers_fix, keys::markers_link);
    if (experiment_type(data) == ExperimentType::binary) settings.add(keys::channels_order);
}

ResultSources ratio_sources(dataSetInterface& data, std::string_view result) {
    Settings settings;
    add_alignment(data, settings);
    if (result == names::ratio) {
        settings.add(keys::filter_threshold, keys::filter_thinning);
        if (read(data, keys::filter_threshold))
            settings.add(keys::threshold_min, keys::threshold_max);
        if (read(data, keys::filter_thinning)) settings.add(keys::filter_thinning_depth);
    }
    ResultSources sources;
    sources.images = {names::wind_off_sens_cor, names::wind_on_sens_cor};
    if (experiment_type(data) != ExperimentType::single) {
        sources.images.emplace_back(names::wind_off_refe_cor);
        sources.images.emplace_back(names::wind_on_refe_cor);
    }
    if (experiment_type(data) == ExperimentType::binary && read(data, keys::markers_enable))
        settings.add(keys::channels_order);
    sources.markers = read(data, keys::markers_enable) != 0;
    sources.settings = settings.take();
    return sources;
}

ResultSources field_sources(dataSetInterface& data) {
    Settings settings;
    settings.add(keys::convert_field, keys::convert_threshold);
    if (read(data, keys::convert_threshold)) settings.add(keys::convert_min, keys::convert_max);
    const FieldQuantity quantity = field_quantity(read(data, keys::convert_field));
    if (quantity != FieldQuantity::ratio) {
        settings.add(keys::convert_wind_off_ratio);
        settings.add(keys::sens_paint,
                     {"gamma11", "gamma12", "gamma13", "gamma21", "gamma22", "gamma23", "gamma31",
                      "gamma32", "gamma33", "default_pressure_unit", "default_temperature_unit"});
        settings.add(keys::flow, {"wind_off_p", "wind_off_t", "wind_on_t", "p_unit", "t_unit"});
    }
    if (quantity == FieldQuantity::cp) settings.add(keys::flow, {"dynamic_p"});
    if (quantity == FieldQuantity::cp || quantity == FieldQuantity::p_over_static)
        settings.add(keys::flow, {"static_p"});
    return {.images = {names::ratio}, .markers = false, .settings = settings.take()};
}

}  // namespace

ResultSources result_sources(dataSetInterface& data, std::string_view result) {
    static const std::map<std::string_view, const RawImage*> corrected{
        {names::wind_off_sens_cor, &raw_images()[0]},
        {names::wind_on_sens_cor, &raw_images()[1]},
        {names::wind_off_refe_cor, &raw_images()[2]},
        {names::wind_on_refe_cor, &raw_images()[3]}};
    if (const auto found = corrected.find(result); found != corrected.end())
        return correction_sources(data, *found->second);
    return result == names::field ? field_sources(data) : ratio_sources(data, result);
}

}  // namespace vyn
