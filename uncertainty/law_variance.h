#pragma once

#include <array>
#include <optional>

#include "calib/paint_law.h"

namespace vyn {

/// Standard deviations of what enters the law, in the paint's units.
struct ConditionSigmas {
    double wind_on_t = 0;
    double wind_off_t = 0;
    double wind_off_p = 0;
    double static_p = 0;
    double dynamic_p = 0;
};

/// A polynomial c[0] + c[1] r + ...
using Quadratic = std::array<double, 3>;
using Quartic = std::array<double, 5>;

/// How errors reach the pressure, as polynomials in R' = fa R, in the paint's pressure unit.
///
/// P = a + b R' + c R'^2 with a, b and c at the wind-on temperature; where fa solves the law at
/// wind-off conditions it moves with them and with the coefficients. Derivatives after Liu, Guille
/// & Sullivan (2001), carried through fa.
struct LawVariance {
    Quadratic by_log_ratio{};  ///< dP / d(ln R)
    Quartic temperature{};     ///< variance by the wind-on temperature
    Quartic reference{};       ///< by wind-off temperature and pressure, through fa
    Quartic law{};             ///< by the coefficients
    bool law_known = false;
    bool through_reference = false;  ///< fa solves the law at wind-off conditions
};

/// `covariance` before `law_relative`, a standard deviation over pressure; neither: not known.
LawVariance law_variance(const PreparedConversion& prepared, const ConditionSigmas& sigmas,
                         const std::optional<LawCovariance>& covariance, double law_relative);

/// The law's variances at five temperatures, evenly from the lowest to the highest. They are
/// polynomials of fourth degree in the temperature at most, so these tell all between exactly.
struct LawsOverTemperature {
    std::array<LawVariance, 5> at;
    double middle = 0;  ///< temperature, in the law's unit
    double half = 1;    ///< from the middle to the ends
};
LawsOverTemperature laws_over(const PreparedConversion& prepared, const LawOfMap& map,
                              ConditionSigmas sigmas,
                              const std::optional<LawCovariance>& covariance, double law_relative);

/// A polynomial of fourth degree in u = -1 .. 1 by its values at -1, -1/2, 0, 1/2 and 1.
Quartic polynomial_through(const std::array<double, 5>& values);

/// Of the ratio itself: its variance is that of ln R times R^2.
LawVariance identity_variance();

double value_of(const Quartic& polynomial, double r);

}  // namespace vyn
