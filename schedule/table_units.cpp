#include "schedule/table_units.h"

#include <array>
#include <numbers>
#include <utility>

#include "calib/units.h"
#include "core/ascii.h"
#include "core/keys.h"
#include "core/numbers.h"

namespace vyn {

namespace {

/// A unit by the name that the program's conversions know, times a power of ten.
struct Unit {
    Dimension dimension = Dimension::none;
    std::string name;
    double factor = 1;
};

std::optional<Unit> unit_of(std::string_view text) {
    const std::string name = lower_case(trim(text));
    struct Alias {
        std::string_view written;
        Dimension dimension;
        const char* name;
        double factor;
    };
    static constexpr std::array aliases{
        Alias{"kpa", Dimension::pressure, "pa", 1e3},
        Alias{"hpa", Dimension::pressure, "pa", 1e2},
        Alias{"mpa", Dimension::pressure, "pa", 1e6},
        Alias{"mbar", Dimension::pressure, "pa", 1e2},
        Alias{"mmhg", Dimension::pressure, "mm_hg", 1},
        Alias{"\xC2\xB0"
              "c",
              Dimension::temperature, "c", 1},
        Alias{"degc", Dimension::temperature, "c", 1},
        Alias{"celsius", Dimension::temperature, "c", 1},
        Alias{"\xC2\xB0"
              "f",
              Dimension::temperature, "f", 1},
        Alias{"degf", Dimension::temperature, "f", 1},
        Alias{"kelvin", Dimension::temperature, "k", 1},
        Alias{"deg", Dimension::angle, "deg", 1},
        Alias{"\xC2\xB0", Dimension::angle, "deg", 1},
        Alias{"degree", Dimension::angle, "deg", 1},
        Alias{"rad", Dimension::angle, "deg", 180 / std::numbers::pi},
        Alias{"-", Dimension::none, "", 1},
        Alias{"1", Dimension::none, "", 1},
        Alias{"px", Dimension::none, "", 1},
        Alias{"counts", Dimension::none, "", 1}};
    for (const Alias& alias : aliases)
        if (alias.written == name) return Unit{alias.dimension, alias.name, alias.factor};
    if (is_pressure_unit(name)) return Unit{Dimension::pressure, name, 1};
    if (is_temperature_unit(name)) return Unit{Dimension::temperature, name, 1};
    return std::nullopt;
}

}  // namespace

Dimension dimension_of(std::string_view setting) {
    if (!setting.starts_with(keys::flow)) return Dimension::none;
    const std::string_view name = setting.substr(keys::flow.size());
    if (name == "alpha" || name == "beta") return Dimension::angle;
    if (name.ends_with("_p")) return Dimension::pressure;
    if (name.ends_with("_t")) return Dimension::temperature;
    return Dimension::none;
}

bool is_unit_name(std::string_view text) {
    return unit_of(text).has_value();
}

std::optional<double> convert_table_unit(double value, Dimension dimension, const std::string& from,
                                         const std::string& to) {
    const std::optional<Unit> source = unit_of(from);
    const std::optional<Unit> target = unit_of(to);
    if (!source || !target || source->dimension != dimension || target->dimension != dimension)
        return std::nullopt;
    const double scaled = value * source->factor;
    switch (dimension) {
        case Dimension::none:
        case Dimension::angle:
            return scaled / target->factor;
        case Dimension::pressure:
            return convert_pressure(scaled, source->name, target->name) / target->factor;
        case Dimension::temperature:
            return convert_temperature(scaled, source->name, target->name);
    }
    return std::nullopt;
}

}  // namespace vyn
