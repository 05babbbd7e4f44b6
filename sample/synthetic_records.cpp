#include "sample/synthetic_records.h"

#include "sample/synthetic_scene.h"

namespace vyn {

paintFeatures synthetic_paint() {
    paintFeatures paint;
    paint.gamma = {{{-13000, 35, 0.15}, {93000, 210, -0.3}, {18000, -40, 0.2}}};
    paint.pressure_unit = std::string("Pa");
    paint.normalizing_pressure = 100000;
    paint.minimal_pressure = 50000;
    paint.maximal_pressure = 130000;
    paint.tolerance_pressure = 100;
    paint.temperature_unit = std::string("C");
    paint.normalizing_temperature = 20;
    paint.minimal_temperature = 0;
    paint.maximal_temperature = 60;
    paint.tolerance_temperature = 0.5;
    return paint;
}

flowFeatures synthetic_flow() {
    flowFeatures flow;
    flow.static_p = SyntheticScene::static_pressure;
    flow.dynamic_p = SyntheticScene::dynamic_pressure;
    flow.wind_off_p = 100000;
    flow.wind_off_t = 20;
    flow.wind_on_t = 26;
    flow.p_unit = std::string("Pa");
    flow.t_unit = std::string("C");
    return flow;
}

double in_quantity(FieldQuantity quantity, double pressure, double ratio,
                   const flowFeatures& flow) {
    switch (quantity) {
        case FieldQuantity::pressure:
            return pressure;
        case FieldQuantity::p_over_static:
            return pressure / flow.static_p;
        case FieldQuantity::cp:
            return (pressure - flow.static_p) / flow.dynamic_p;
        case FieldQuantity::ratio:
        case FieldQuantity::kept:
            break;
    }
    return ratio;
}

Marker marker_at(Point p, std::int32_t number) {
    Marker marker;
    marker.x = p.x;
    marker.y = p.y;
    marker.id = number;
    return marker;
}

}  // namespace vyn
