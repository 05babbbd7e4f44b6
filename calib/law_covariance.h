#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace vyn {

/// The nine coefficients of a law, row = power of the ratio, column = power of the temperature.
using LawCoefficients = std::array<std::array<double, 3>, 3>;

/// Covariance of the law's nine coefficients, in the order gamma[0][0], gamma[0][1], ...; in the
/// units of the law.
using LawCovariance = std::array<std::array<double, 9>, 9>;

/// A covariance as it was kept, or why it is none.
struct KeptCovariance {
    std::optional<LawCovariance> covariance;
    std::string problem;  ///< for the user, without the name of the file; empty when there is none
};

/// What cannot be right with a covariance: an entry that is not finite, an asymmetric pair, a
/// negative eigenvalue beyond rounding. Empty when nothing is wrong.
std::string covariance_problem(const LawCovariance& covariance);

/// One line: the nine coefficients that the covariance belongs to, then its 81 entries row by row,
/// blanks between. The coefficients go with it because other programs and hands change them without
/// knowing of the covariance.
std::string format_covariance(const LawCoefficients& coefficients, const LawCovariance& covariance);

/// Of that line, in which decimal commas may stand; an empty one gives neither covariance nor
/// problem. A covariance of other coefficients than `coefficients` is a problem, too.
KeptCovariance parse_covariance(std::string_view text, const LawCoefficients& coefficients);

}  // namespace vyn
