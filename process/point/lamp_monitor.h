#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "api/point.h"
#include "core/data_set.h"

namespace vyn {

/// A rectangle of pixels, by its upper left one.
struct MonitorBox {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool operator==(const MonitorBox&) const = default;
};

/// The region of the corrected pictures that shows the lamp alone, as the settings have it. Reading
/// creates what is absent, but not in constant settings.
MonitorBox lamp_monitor(dataSetInterface& data);
MonitorBox lamp_monitor(const dataSetInterface& data);

/// The same as two opposite corners in the pixels of an image of the project; nothing while no
/// region is wanted, and for images that are neither a picture of the signal channel nor its
/// correction.
struct MonitorCorners {
    Point upper_left;
    Point lower_right;
};
std::optional<MonitorCorners> lamp_monitor_in(const dataSetInterface& data,
                                              std::string_view image_name);

/// Makes the rectangle between two places of such an image the monitor region, and has the lamp
/// taken from it. Whole pixels whose centres lie in it; false, and nothing changes, when there is
/// none or the image is another one.
bool set_lamp_monitor(dataSetInterface& data, std::string_view image_name,
                      const MonitorCorners& drawn);

}  // namespace vyn
