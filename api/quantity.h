#pragma once

#include <string>
#include <string_view>

namespace vyn {

class image;

/// What the values of an image are.
struct Quantity {
    enum class Kind {
        value,  ///< unknown
        raw_counts,
        flat_field,
        corrected_intensity,  ///< dark level, dark image and flat field applied
        intensity_ratio,      ///< wind-off over wind-on
        pressure,
        p_over_static,
        cp,
        displacement,
        temperature,
    };
    Kind kind = Kind::value;
    bool deviation = false;  ///< the values are its standard deviation

    bool known() const { return kind != Kind::value; }
    bool operator==(const Quantity&) const = default;
};

/// The unit of pixels as a sensor counts them.
inline constexpr const char* count_unit = "count";

/// The name by which files know a quantity, the same for ever: "cp", "standard_deviation_of_cp".
std::string stored_name(Quantity quantity);
/// Its inverse; unknown for any other text.
Quantity quantity_stored_as(std::string_view name);

/// What an image holds, for the status line, the colour bar and axes.
struct FieldLabel {
    std::string name;
    std::string unit;  ///< empty for numbers without one; counts are numbers

    /// "Pressure, Pa" or "Cp".
    std::string text() const { return unit.empty() ? name : name + ", " + unit; }
};

/// "Pressure", "P_Pstat", "Cp", "I/Iref", "Intensity" for camera pictures whether raw or corrected,
/// "Displacement", "value" when unknown; "SD of Cp" for standard deviations.
FieldLabel field_label(const image& picture);

/// For reports: "pressure in Pa", "pressure coefficient", "standard deviation of the intensity
/// ratio".
std::string quantity_words(const image& picture);

}  // namespace vyn
