#include "calib/paint_law.h"

#include <array>
#include <cmath>

#include "calib/units.h"

namespace vyn {

namespace {

/// Below this temperature the test point has none, and the ratio stays 1.
constexpr double no_temperature = -1e10;
/// 1e-10 in double and in single precision. They differ on purpose: the linear branch is reached
/// only when |c| lies between them.
constexpr double smallest_coefficient = 1e-10;
constexpr double smallest_divisor = 1.0000000133514320e-10;

constexpr const char* incorrect_coefficients =
    "Calibration coefficients for PSP acquisition are incorrect. Pressure field will be wrong";
constexpr const char* coefficient_error = "Error in Paint Calibration Coefficients";

/// Units of the field computation. The names are capitalised, unlike those of the unit tables, and
/// so convert with factor 1: coefficients and test conditions are taken as they were entered.
constexpr const char* field_pressure_unit = "Pa";
constexpr const char* field_temperature_unit = "C";

}  // namespace

PaintLaw law_at(const paintFeatures& paint, double temperature) {
    const auto at = [temperature](const std::array<double, 3>& row) {
        return row[0] + row[1] * temperature + row[2] * temperature * temperature;
    };
    return {at(paint.gamma[0]), at(paint.gamma[1]), at(paint.gamma[2])};
}

WindOffRatio wind_off_ratio(const paintFeatures& paint, double wind_off_temperature,
                            double wind_off_pressure) {
    if (wind_off_temperature <= no_temperature) return {};
    const auto [a, b, c] = law_at(paint, wind_off_temperature);
    if (std::abs(c) < smallest_coefficient) return {1, incorrect_coefficients};
    const double discriminant = b * b - 4 * c * (a - wind_off_pressure);
    if (!(discriminant >= 0)) return {1, coefficient_error};
    if (std::abs(c) > smallest_divisor) return {(std::sqrt(discriminant) - b) / (2 * c)};
    if (std::abs(b) > smallest_divisor) return {(wind_off_pressure - a) / b};
    return {1, coefficient_error};
}

PreparedConversion prepare_conversion(FieldQuantity quantity, const paintFeatures& paint,
                                      const flowFeatures& flow, WindOffRule rule) {
    const UnitMessagesOnce once;
    PreparedConversion prepared;
    prepared.conversion.quantity = quantity;
    prepared.flow_in_paint_units = flow;
    prepared.paint = paint;
    change_units(prepared.paint, field_pressure_unit, field_temperature_unit);
    if (quantity == FieldQuantity::ratio) return prepared;

    const flowFeatures adjusted =
        in_units(flow, prepared.paint.pressure_unit, prepared.paint.temperature_unit);
    const WindOffRatio ratio =
        rule == WindOffRule::unity
            ? WindOffRatio{}
            : wind_off_ratio(prepared.paint, adjusted.wind_off_t, adjusted.wind_off_p);
    prepared.message = ratio.message;

    FieldConversion& conversion = prepared.conversion;
    conversion.law = law_at(prepared.paint, adjusted.wind_on_t);
    conversion.wind_off_ratio = ratio.value;
    conversion.static_pressure = adjusted.static_p;
    conversion.dynamic_pressure = adjusted.dynamic_p;
    if (quantity == FieldQuantity::pressure) {
        conversion.unit_factor = convert_pressure(1, prepared.paint.pressure_unit, flow.p_unit);
        conversion.unit = flow.p_unit;
    }
    flowFeatures step = flow;
    step.static_p += 1;
    step.wind_on_t += 1;
    const flowFeatures stepped =
        in_units(step, prepared.paint.pressure_unit, prepared.paint.temperature_unit);
    prepared.pressure_factor = stepped.static_p - adjusted.static_p;
    prepared.temperature_factor = stepped.wind_on_t - adjusted.wind_on_t;
    prepared.rule = rule;
    prepared.flow_in_paint_units = adjusted;
    return prepared;
}

void take_temperatures(PreparedConversion& prepared, const TemperatureSpan& span) {
    const UnitMessagesOff quiet;  // the test's unit was complained of
    const auto in_law = [&](double value) {
        return convert_temperature(value, span.unit, prepared.paint.temperature_unit);
    };
    LawOfMap& map = prepared.of_map.emplace();
    map.law.gamma = prepared.paint.gamma;
    map.law.offset = in_law(0);
    map.law.factor = in_law(1) - map.law.offset;
    map.lowest = in_law(span.lowest);
    map.highest = in_law(span.highest);
    prepared.flow_in_paint_units.wind_on_t = in_law(span.mean);
    prepared.conversion.law = law_at(prepared.paint, prepared.flow_in_paint_units.wind_on_t);
}

}  // namespace vyn
