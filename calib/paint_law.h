#pragma once

#include <optional>
#include <string>

#include "api/field_conversion.h"
#include "calib/flow.h"
#include "calib/paint.h"

namespace vyn {

/// The law at a temperature (in the paint's temperature unit):
/// a(T) = Gamma11 + Gamma12 T + Gamma13 T^2, likewise b and c.
PaintLaw law_at(const paintFeatures& paint, double temperature);

/// The wind-off ratio fa: the root of a + b R + c R^2 = wind-off pressure at the wind-off
/// temperature.
struct WindOffRatio {
    double value = 1;
    const char* message = nullptr;  ///< for the user, when the coefficients allow no root
};
/// Temperature and pressure in the paint's units.
WindOffRatio wind_off_ratio(const paintFeatures& paint, double wind_off_temperature,
                            double wind_off_pressure);

/// Where the conversion takes fa from: the law at wind-off conditions, or 1, which is right for a
/// law whose ratio is that of the images itself.
enum class WindOffRule { law, unity };

/// The law where every pixel has its own temperature, and how far these go; in the paint's unit.
struct LawOfMap {
    PaintLawOfTemperature law;
    double lowest = 0;
    double highest = 0;
};

/// Temperatures of an image's valid pixels, in its own unit.
struct TemperatureSpan {
    std::string unit;
    double mean = 0;
    double lowest = 0;
    double highest = 0;
};

/// Everything that the conversion of one test point needs, from records in any units.
struct PreparedConversion {
    FieldConversion conversion;
    flowFeatures flow_in_paint_units;  ///< as the numbers enter the law
    paintFeatures paint;               ///< in pascal and Celsius
    const char* message = nullptr;     ///< as in WindOffRatio
    WindOffRule rule = WindOffRule::law;
    /// Of a temperature image; nothing: `conversion.law` is that of all pixels.
    std::optional<LawOfMap> of_map;
    /// What a difference in the flow's own units is in the law's.
    double pressure_factor = 1;
    double temperature_factor = 1;
};
/// Converts the paint record to "Pa" and "C", the flow to the paint's units, finds fa and fills the
/// conversion (without limits).
PreparedConversion prepare_conversion(FieldQuantity quantity, const paintFeatures& paint,
                                      const flowFeatures& flow,
                                      WindOffRule rule = WindOffRule::law);

/// Lets the temperatures of an image take the place of the one wind-on temperature, whose number
/// and law become those of their mean. `prepared` is not of a ratio.
void take_temperatures(PreparedConversion& prepared, const TemperatureSpan& span);

}  // namespace vyn
