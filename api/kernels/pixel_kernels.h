#pragma once

#include <cstdint>

namespace vyn {

/// One row of pixels.
struct PixelRow {
    float* value;
    std::uint8_t* mask;
};
struct ConstPixelRow {
    const float* value;
    const std::uint8_t* mask;
};

/// The conversion of api/field_conversion.h, resolved for rows.
struct FieldRowLaw {
    enum class Output { scaled, over_static, cp, ratio };
    Output output;
    double a, b, c;
    double wind_off_ratio;
    double static_pressure;
    double dynamic_pressure;
    double unit_factor;
};

/// The coefficients of that law by temperature, as in PaintLawOfTemperature.
struct FieldTemperatureLaw {
    double gamma[3][3];
    double factor;
    double offset;
};

/// Values below `lower` are excluded or clamped, values above `upper` clamped. An infinite limit
/// does nothing.
struct RowLimits {
    float lower;
    float upper;
};

/// Per-pixel passes over one row of n pixels; all rows are readable and writable up to the next
/// multiple of 16 pixels. `region` may be null: inside everywhere.
struct PixelKernels {
    /// `dark` and `flat` may have null pointers.
    void (*correct)(ConstPixelRow source, float dark_level, ConstPixelRow dark, ConstPixelRow flat,
                    int n, PixelRow out);
    void (*ratio)(ConstPixelRow wind_off, ConstPixelRow wind_on, const std::uint8_t* region,
                  RowLimits limits, int n, PixelRow out);
    void (*field)(ConstPixelRow ratio, const std::uint8_t* region, const FieldRowLaw& law,
                  RowLimits limits, int n, PixelRow out);
    /// With a, b and c at the temperature of each pixel.
    void (*field_at)(ConstPixelRow ratio, ConstPixelRow temperature, const std::uint8_t* region,
                     const FieldRowLaw& law, const FieldTemperatureLaw& of_temperature,
                     RowLimits limits, int n, PixelRow out);
};

}  // namespace vyn
