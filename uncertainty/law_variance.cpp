#include "uncertainty/law_variance.h"

#include <cmath>

namespace vyn {

namespace {

Quartic product(const Quadratic& a, const Quadratic& b) {
    Quartic result{};
    for (std::size_t i = 0; i < a.size(); ++i)
        for (std::size_t j = 0; j < b.size(); ++j)
            result[i + j] += a[i] * b[j];
    return result;
}

Quadratic scaled(Quadratic polynomial, double factor) {
    for (double& coefficient : polynomial)
        coefficient *= factor;
    return polynomial;
}

void add(Quartic& sum, const Quartic& term, double factor) {
    for (std::size_t i = 0; i < sum.size(); ++i)
        sum[i] += factor * term[i];
}

/// d(a, b, c) / dT at a temperature.
Quadratic by_temperature(const paintFeatures& paint, double temperature) {
    Quadratic result{};
    for (std::size_t i = 0; i < 3; ++i)
        result[i] = paint.gamma[i][1] + 2 * paint.gamma[i][2] * temperature;
    return result;
}

double value_at(const Quadratic& polynomial, double r) {
    return polynomial[0] + r * (polynomial[1] + r * polynomial[2]);
}

}  // namespace

double value_of(const Quartic& polynomial, double r) {
    double value = 0;
    for (std::size_t i = polynomial.size(); i-- > 0;)
        value = value * r + polynomial[i];
    return value;
}

LawVariance law_variance(const PreparedConversion& prepared, const ConditionSigmas& sigmas,
                         const std::optional<LawCovariance>& covariance, double law_relative) {
    const PaintLaw& law = prepared.conversion.law;
    const paintFeatures& paint = prepared.paint;
    const flowFeatures& flow = prepared.flow_in_paint_units;
    const double fa = prepared.conversion.wind_off_ratio;
    LawVariance result;
    result.by_log_ratio = {0, law.b, 2 * law.c};
    const Quadratic by_t = scaled(by_temperature(paint, flow.wind_on_t), sigmas.wind_on_t);
    result.temperature = product(by_t, by_t);

    const PaintLaw off = law_at(paint, flow.wind_off_t);
    const double slope_off = off.b + 2 * off.c * fa;
    const bool through_fa = prepared.rule == WindOffRule::law && slope_off != 0 && fa != 0;
    result.through_reference = through_fa;
    // dP / dP0: one pascal at wind-off moves fa, and with it every pressure.
    const Quadratic by_p0 =
        through_fa ? scaled(result.by_log_ratio, 1 / (fa * slope_off)) : Quadratic{};
    const double p0_by_t0 = value_at(by_temperature(paint, flow.wind_off_t), fa);
    const double p0 = sigmas.wind_off_p;
    const double t0 = sigmas.wind_off_t * p0_by_t0;
    result.reference = product(by_p0, by_p0);
    for (double& coefficient : result.reference)
        coefficient *= p0 * p0 + t0 * t0;

    const Quadratic pressure{law.a, law.b, law.c};
    result.law_known = covariance || law_relative > 0;
    if (!covariance) {
        result.law = {};
        add(result.law, product(pressure, pressure), law_relative * law_relative);
        return result;
    }
    std::array<Quadratic, 9> by_coefficient{};
    for (std::size_t k = 0; k < 9; ++k) {
        const std::size_t power = k / 3;
        const int degree = static_cast<int>(k % 3);
        by_coefficient[k] = scaled(
            by_p0, -std::pow(fa, static_cast<int>(power)) * std::pow(flow.wind_off_t, degree));
        by_coefficient[k][power] += std::pow(flow.wind_on_t, degree);
    }
    for (std::size_t k = 0; k < 9; ++k)
        for (std::size_t l = 0; l < 9; ++l)
            add(result.law, product(by_coefficient[k], by_coefficient[l]), (*covariance)[k][l]);
    return result;
}

LawsOverTemperature laws_over(const PreparedConversion& prepared, const LawOfMap& map,
                              ConditionSigmas sigmas,
                              const std::optional<LawCovariance>& covariance, double law_relative) {
    LawsOverTemperature laws;
    laws.middle = (map.lowest + map.highest) / 2;
    if (map.highest > map.lowest) laws.half = (map.highest - map.lowest) / 2;
    sigmas.wind_on_t = 1;
    for (std::size_t i = 0; i < laws.at.size(); ++i) {
        PreparedConversion there = prepared;
        double& temperature = there.flow_in_paint_units.wind_on_t;
        temperature = laws.middle + laws.half * (double(i) / 2 - 1);
        there.conversion.law = law_at(there.paint, temperature);
        laws.at[i] = law_variance(there, sigmas, covariance, law_relative);
    }
    return laws;
}

Quartic polynomial_through(const std::array<double, 5>& values) {
    const auto& [a, b, middle, c, d] = values;
    const double even_far = (d + a) / 2 - middle;   // c2 + c4
    const double even_near = (c + b) / 2 - middle;  // c2 / 4 + c4 / 16
    const double odd_far = (d - a) / 2;             // c1 + c3
    const double odd_near = (c - b) / 2;            // c1 / 2 + c3 / 8
    const double c4 = (even_far - 4 * even_near) / 0.75;
    const double c3 = (odd_far - 2 * odd_near) / 0.75;
    return {middle, odd_far - c3, even_far - c4, c3, c4};
}

LawVariance identity_variance() {
    LawVariance result;
    result.by_log_ratio = {0, 1, 0};
    result.law_known = true;
    return result;
}

}  // namespace vyn
