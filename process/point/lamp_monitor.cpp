#include "process/point/lamp_monitor.h"

#include <algorithm>
#include <cmath>

#include "core/keys.h"
#include "process/point/marker_frames.h"

namespace vyn {

namespace {

/// Of the signal channel, whose light the lamp is known by.
std::optional<CameraOrigin> watched(std::string_view image_name) {
    const CameraOrigin origin = camera_origin(image_name);
    if (!origin.raw || origin.raw->camera != keys::sens_camera) return std::nullopt;
    return origin;
}

template <class Data>
MonitorBox box_of(Data& data) {
    return {read(data, keys::lamp_x), read(data, keys::lamp_y), read(data, keys::lamp_width),
            read(data, keys::lamp_height)};
}

}  // namespace

MonitorBox lamp_monitor(dataSetInterface& data) {
    return box_of(data);
}

MonitorBox lamp_monitor(const dataSetInterface& data) {
    return box_of(data);
}

std::optional<MonitorCorners> lamp_monitor_in(const dataSetInterface& data,
                                              std::string_view image_name) {
    const auto origin = watched(image_name);
    const MonitorBox box = lamp_monitor(data);
    if (!origin || read(data, keys::lamp_monitor) != "region" || box.width < 1 || box.height < 1)
        return std::nullopt;
    MonitorCorners corners{{double(box.x), double(box.y)},
                           {box.x + box.width - 1.0, box.y + box.height - 1.0}};
    if (origin->corrected) return corners;
    const Distortion lens = lens_of(data, origin->raw->camera);
    return MonitorCorners{exact_camera_position(lens, corners.upper_left),
                          exact_camera_position(lens, corners.lower_right)};
}

bool set_lamp_monitor(dataSetInterface& data, std::string_view image_name,
                      const MonitorCorners& drawn) {
    const auto origin = watched(image_name);
    if (!origin) return false;
    MonitorCorners ideal = drawn;
    if (!origin->corrected) {
        const Distortion lens = lens_of(data, origin->raw->camera);
        ideal = {ideal_position(lens, drawn.upper_left), ideal_position(lens, drawn.lower_right)};
    }
    const auto [left, right] = std::minmax(ideal.upper_left.x, ideal.lower_right.x);
    const auto [top, bottom] = std::minmax(ideal.upper_left.y, ideal.lower_right.y);
    constexpr double absurd = 1e6;  // where a lens maps nowhere
    if (!(std::abs(left) + std::abs(right) + std::abs(top) + std::abs(bottom) < absurd))
        return false;
    constexpr double rounding = 1e-6;  // of the lens and back, pixels
    const int x = std::max(static_cast<int>(std::ceil(left - rounding)), 0);
    const int y = std::max(static_cast<int>(std::ceil(top - rounding)), 0);
    const int width = static_cast<int>(std::floor(right + rounding)) - x + 1;
    const int height = static_cast<int>(std::floor(bottom + rounding)) - y + 1;
    if (width < 1 || height < 1) return false;
    write(data, keys::lamp_x, x);
    write(data, keys::lamp_y, y);
    write(data, keys::lamp_width, width);
    write(data, keys::lamp_height, height);
    write(data, keys::lamp_monitor, std::string("region"));
    return true;
}

}  // namespace vyn
