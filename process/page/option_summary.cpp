#include "process/page/option_summary.h"

#include <filesystem>

#include "calib/camera.h"
#include "calib/flow.h"
#include "calib/paint.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "process/model/model_views.h"

namespace vyn {

namespace {

std::string general(double value) {
    return format_general(value, 6);
}

/// Adds a part to a list with commas.
void add(std::string& text, const std::string& part) {
    if (!part.empty()) text += (text.empty() ? "" : ", ") + part;
}

const char* filter_name(int type) {
    constexpr const char* names[] = {"limits", "flat", "Gauss", "Gauss by value", "median"};
    return type >= 0 && type < static_cast<int>(std::size(names)) ? names[type] : "unknown";
}

}  // namespace

std::string camera_summary(const dataSetInterface& data, std::string_view tree) {
    cameraFeatures camera;
    read(data, std::string(tree), camera);
    std::string text;
    add(text, camera.camera_name);
    add(text, camera.camera_ID);
    add(text, camera.a2 == 0 && camera.a4 == 0 ? "no distortion" : "distortion corrected");
    return text;
}

std::string lens_summary(const dataSetInterface& data, std::string_view tree) {
    cameraFeatures camera;
    read(data, std::string(tree), camera);
    if (!(camera.focus > 0)) return "no focal length";
    return "focus " + general(camera.focus) + " " + camera.default_length_unit + ", centre " +
           general(camera.cx) + ", " + general(camera.cy);
}

std::string paint_summary(const dataSetInterface& data) {
    paintFeatures paint;
    read(data, std::string(keys::sens_paint), paint);
    if (paint.gamma == paintFeatures().gamma) return "no calibration";
    std::string text = "calibration in " + paint.pressure_unit + " and " + paint.temperature_unit;
    if (paint.minimal_temperature < paint.maximal_temperature)
        add(text, general(paint.minimal_temperature) + " to " + general(paint.maximal_temperature) +
                      ' ' + paint.temperature_unit);
    return text;
}

std::string conditions_summary(const dataSetInterface& data) {
    flowFeatures flow;
    read(data, std::string(keys::flow), flow);
    std::string text = read(data, keys::test_id);
    add(text, read(data, keys::test_point_id));
    add(text, "Mach " + general(flow.mach));
    add(text, "alpha " + general(flow.alpha));
    add(text, "wind-off " + general(flow.wind_off_p) + ' ' + flow.p_unit);
    return text;
}

std::string alignment_summary(const dataSetInterface& data) {
    std::string text;
    if (read(data, keys::filter_enable))
        add(text, std::string("filter ") + filter_name(read(data, keys::filter_type)));
    const bool by_texture = read(data, keys::qped_enable) != 0;
    if (read(data, keys::markers_enable))
        add(text, "markers, order " + std::to_string(read(data, keys::markers_order)));
    if (by_texture) add(text, "texture");
    if (!read(data, keys::markers_enable) && !by_texture) add(text, "no alignment");
    if (read(data, keys::filter_threshold)) add(text, "limits of the ratio");
    if (read(data, keys::filter_thinning))
        add(text, "thinning " + std::to_string(read(data, keys::filter_thinning_depth)) + " px");
    return text;
}

std::string model_summary(const dataSetInterface& data) {
    if (read(data, keys::mesh_file).empty()) return "no mesh";
    if (read(data, keys::mesh_mark_file).empty()) return "no 3-D markers";
    const std::size_t further = view_names(data).size();
    std::string text = further > 0 ? std::to_string(further + 1) + " cameras" : "one camera";
    if (read(data, keys::resect_free_focus)) add(text, "focus adjusted");
    if (read(data, keys::resect_ratio_on_mesh)) add(text, "ratio on the mesh");
    return text;
}

std::string conversion_summary(const dataSetInterface& data) {
    std::string text = read(data, keys::convert_field);
    if (read(data, keys::convert_threshold))
        add(text, general(read(data, keys::convert_min)) + " to " +
                      general(read(data, keys::convert_max)));
    if (read(data, keys::convert_wind_off_ratio) == "unity") add(text, "fa = 1");
    return text;
}

std::string light_summary(const dataSetInterface& data) {
    const std::string monitor = read(data, keys::lamp_monitor);
    const std::string source = read(data, keys::temperature_source);
    const std::string lamp = monitor == "none" ? "lamp as it is" : "lamp by " + monitor;
    return lamp + (source == "number" ? ", one temperature"
                   : source == "map"  ? ", temperature map"
                                      : ", recovery temperature");
}

std::string reading_summary(const dataSetInterface& data) {
    const std::string average = read(data, keys::files_average);
    std::string summary = "several files: " + (average == "clipped" ? "clipped mean" : average);
    if (const std::string layout = read(data, keys::files_raw_layout); !layout.empty())
        summary += ", raw: " + layout;
    return summary;
}

std::string uncertainty_summary(const dataSetInterface& data) {
    if (read(data, keys::uncertainty_enable) == 0) return "off";
    if (const double gain = read(data, keys::sens_noise_gain); gain > 0)
        return general(gain) + " electrons per count";
    const double relative = read(data, keys::uncertainty_noise_relative);
    return relative > 0 ? "noise " + general(100 * relative) + " %"
                        : "noise by frames or not known";
}

}  // namespace vyn
