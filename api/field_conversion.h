#pragma once

#include <array>
#include <string>

#include "api/image.h"
#include "core/progress.h"

namespace vyn {

/// Which quantity a field holds. `kept` stands for a name that no quantity has: the law is
/// prepared, but its values are those of the ratio, less what is not finite.
enum class FieldQuantity { pressure, p_over_static, cp, ratio, kept };

/// As an image of it states it.
Quantity quantity_of(FieldQuantity quantity);

/// The paint law at one temperature: P = a + b R + c R^2, R the intensity ratio scaled by the
/// wind-off ratio, P in the paint's pressure unit.
struct PaintLaw {
    double a = 0;
    double b = 0;
    double c = 0;
};

/// The paint law at any temperature: P = sum of gamma[i][j] R^i T^j, T = factor * value + offset of
/// the values of a temperature image.
struct PaintLawOfTemperature {
    std::array<std::array<double, 3>, 3> gamma{};
    double factor = 1;
    double offset = 0;
};

/// Where every pixel has a temperature of its own.
struct TemperaturePlane {
    PaintLawOfTemperature law;
    const image& values;  ///< of the ratio's size
};

/// From ratio to field. Pressures in the paint's pressure unit.
struct FieldConversion {
    FieldQuantity quantity = FieldQuantity::pressure;
    PaintLaw law;               ///< at the wind-on temperature
    double wind_off_ratio = 1;  ///< fa: the law's ratio at wind-off conditions
    double static_pressure = 0;
    double dynamic_pressure = 0;
    double unit_factor = 1;  ///< output pressure unit per paint pressure unit
    std::string unit;        ///< name of the output pressure unit
    bool limit = false;      ///< apply the two limits, as 32-bit floats:
    float lower = 0;         ///< pixels below are excluded
    float upper = 0;         ///< pixels above become this value
};

struct RatioLimits {
    bool clamp = false;
    float lower = 0;
    float upper = 0;
};

/// The ratio of wind-off to wind-on, in one pass: the wind-off image divided by the wind-on image,
/// then, with `clamp`, limited to lower..upper (nothing is excluded by these limits). Bit for bit
/// the operations of api/pixel_ops.h, the region plane of the wind-off image included. Raises
/// IndexError when sizes differ.
image form_ratio(const image& wind_off, const image& wind_on, const RatioLimits& limits,
                 Progress& progress);

/// The pictures of two channels, all of one size and in one frame.
struct ChannelPictures {
    const image& signal_off;
    const image& signal_on;
    const image& reference_off;
    const image& reference_on;
};

/// The ratio of ratios (signal_off reference_on) / (reference_off signal_on), in 64-bit, limited as
/// by `form_ratio`. A pixel that is excluded in one of the four is excluded, and so is one whose
/// ratio is not finite; both keep their value of `signal_off`, as does everything but the planes.
/// Raises IndexError when sizes differ.
image form_ratio_of_ratios(const ChannelPictures& pictures, const RatioLimits& limits,
                           Progress& progress);

/// The field of a ratio image, in one pass. A result that is not finite excludes the pixel, which
/// keeps its ratio. The bits are those of the law evaluated in 64-bit for every valid pixel,
/// rounded to 32-bit, and of exclude_below and clamp_above after it, which work inside the region
/// only. The field knows its quantity and, when it is a pressure, its unit.
image convert_field(const image& ratio, const FieldConversion& conversion, Progress& progress);

/// The same with the law at the temperature of each pixel instead of `conversion.law`; pixels
/// without a temperature are excluded. A ratio stays a ratio. Raises IndexError when sizes differ.
image convert_field(const image& ratio, const TemperaturePlane& temperature,
                    const FieldConversion& conversion, Progress& progress);

}  // namespace vyn
