#include "uncertainty/law_rows.h"

#include <algorithm>

namespace vyn {

namespace {

double square(double value) {
    return value * value;
}

/// From the law's unit to that of the field.
void set_scale(const FieldConversion& conversion, const ConditionSigmas& conditions, LawRow& law) {
    double scale = conversion.unit_factor;
    double shift = 0;
    double divisor = 0;
    if (conversion.quantity == FieldQuantity::p_over_static) {
        scale = 1 / conversion.static_pressure;
        divisor = conditions.static_p / conversion.static_pressure;
    } else if (conversion.quantity == FieldQuantity::cp) {
        scale = 1 / conversion.dynamic_pressure;
        shift = conditions.static_p / conversion.dynamic_pressure;
        divisor = conditions.dynamic_p / conversion.dynamic_pressure;
    }
    law.scale = static_cast<float>(scale);
    law.shift2 = static_cast<float>(square(shift));
    law.of_value2 = static_cast<float>(square(divisor));
}

LawOfTemperature law_of(const UncertainTemperature& temperature) {
    const LawsOverTemperature& laws = temperature.laws;
    LawOfTemperature law{};
    const auto fill = [&](auto member, auto& table) {
        for (std::size_t i = 0; i < std::size(table); ++i) {
            std::array<double, 5> values{};
            for (std::size_t k = 0; k < values.size(); ++k)
                values[k] = (laws.at[k].*member)[i];
            std::ranges::copy(polynomial_through(values), table[i]);
        }
    };
    fill(&LawVariance::by_log_ratio, law.by_log_ratio);
    fill(&LawVariance::temperature, law.temperature);
    fill(&LawVariance::reference, law.reference);
    fill(&LawVariance::law, law.law);
    const PaintLawOfTemperature& units = temperature.map.law;
    law.factor = units.factor / laws.half;
    law.offset = (units.offset - laws.middle) / laws.half;
    law.to_law = units.factor;
    return law;
}

}  // namespace

LawRows law_rows(const UncertainPoint& point) {
    LawRows rows;
    rows.law.fa = static_cast<float>(point.conversion.wind_off_ratio);
    std::ranges::transform(point.law.by_log_ratio, rows.law.by_log_ratio,
                           [](double c) { return static_cast<float>(c); });
    std::ranges::copy(point.law.temperature, rows.law.temperature);
    std::ranges::copy(point.law.reference, rows.law.reference);
    std::ranges::copy(point.law.law, rows.law.law);
    set_scale(point.conversion, point.conditions, rows.law);
    if (point.temperature) {
        rows.law.given = true;
        rows.of_temperature = law_of(*point.temperature);
    }
    return rows;
}

}  // namespace vyn
