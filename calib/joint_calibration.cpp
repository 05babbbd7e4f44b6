#include <algorithm>
#include <cmath>

#include "calib/in_situ_calibration.h"
#include "calib/units.h"
#include "core/numbers.h"

namespace vyn {

namespace {

/// Wind-off ratios this near to each other are one.
constexpr double same_ratio = 1e-9;

/// Into the law's pascal; a name that the tables lack takes pressures as they stand, as the law
/// does.
double to_law_unit(double pressure, const std::string& unit) {
    return is_pressure_unit(unit) ? convert_pressure(pressure, unit, "pa") : pressure;
}

/// The fit's share of one point: residuals from `first` on, and what they come to.
void fill_errors(const std::vector<double>& residuals, const std::vector<double>& leave_one_out,
                 std::size_t first, std::size_t count, std::size_t constants, InSituFit& fit) {
    const auto begin = static_cast<std::ptrdiff_t>(first);
    const auto end = static_cast<std::ptrdiff_t>(first + count);
    fit.residuals.assign(residuals.begin() + begin, residuals.begin() + end);
    fit.leave_one_out.assign(leave_one_out.begin() + begin, leave_one_out.begin() + end);
    double sum = 0;
    fit.worst = 0;
    for (std::size_t i = 0; i < count; ++i) {
        sum += fit.residuals[i] * fit.residuals[i];
        if (std::abs(fit.residuals[i]) > std::abs(fit.residuals[fit.worst])) fit.worst = i;
    }
    if (count > constants + 1) sum /= static_cast<double>(count - constants - 1);
    fit.deviation = std::sqrt(sum);
}

/// The law in powers of the ratio at a temperature.
void fill_law(const paintFeatures& paint, double temperature, InSituFit& fit) {
    fit.terms = gauss_approximation::most_terms;
    const PaintLaw law = law_at(paint, temperature);
    fit.coefficients = {law.a, law.b, law.c};
    if (!paint.covariance) return;
    const std::array<double, 3> powers{1, temperature, temperature * temperature};
    gauss_approximation::Matrix& covariance = fit.covariance.emplace();
    for (std::size_t j = 0; j < 9; ++j)
        for (std::size_t k = 0; k < 9; ++k)
            covariance[j / 3][k / 3] += powers[j % 3] * powers[k % 3] * (*paint.covariance)[j][k];
}

/// The constants with what is the point's own.
HybridFit share_of(const HybridFit& fit, std::size_t point, std::size_t first,
                   const InSituFit& own) {
    const auto begin = fit.weights.begin() + static_cast<std::ptrdiff_t>(first);
    return {.model = fit.model,
            .constants = fit.constants,
            .sigmas = fit.sigmas,
            .residuals = own.residuals,
            .leave_one_out = own.leave_one_out,
            .weights = {begin, begin + static_cast<std::ptrdiff_t>(own.residuals.size())},
            .laws = {fit.laws[point]},
            .covariances = {fit.covariances[point]}};
}

JointOutcome correct_law(std::vector<SampledPoint> sampled, const InSituOptions& options) {
    std::vector<HybridPoint> points;
    for (const SampledPoint& point : sampled) {
        if (!point.law) return {std::nullopt, "The field is no pressure by a law"};
        points.push_back({*point.law, point.samples.points});
    }
    HybridOutcome outcome =
        fit_hybrid(points, options.model, to_law_unit(options.port_sigma, options.pressure_unit));
    if (!outcome.fit) return {std::nullopt, std::move(outcome.reason)};
    const HybridFit& fit = *outcome.fit;
    const auto constants = static_cast<std::size_t>(constant_count(options.model));
    JointCalibration joint;
    std::size_t first = 0;
    bool one_law = true;
    for (std::size_t j = 0; j < points.size(); ++j) {
        const PreparedConversion& prepared = points[j].law.conversion;
        InSituCalibration calibration{std::move(sampled[j].samples), {}, prepared.paint, {}};
        calibration.paint.gamma = fit.laws[j];
        calibration.paint.covariance = fit.covariances[j];
        const std::size_t count = calibration.samples.points.size();
        fill_errors(fit.residuals, fit.leave_one_out, first, count, constants, calibration.fit);
        fill_law(calibration.paint, prepared.flow_in_paint_units.wind_on_t, calibration.fit);
        calibration.hybrid = share_of(fit, j, first, calibration.fit);
        first += count;
        const double fa = prepared.conversion.wind_off_ratio;
        one_law =
            one_law && std::abs(fa - points.front().law.conversion.conversion.wind_off_ratio) <=
                           same_ratio * fa;
        joint.points.push_back(std::move(calibration));
    }
    if (one_law) joint.common = joint.points.front().paint;
    return {std::move(joint), {}};
}

JointOutcome fit_polynomial(std::vector<SampledPoint> sampled, const InSituOptions& options) {
    PortSamples all;
    for (const SampledPoint& point : sampled)
        all.points.insert(all.points.end(), point.samples.points.begin(),
                          point.samples.points.end());
    InSituOutcome outcome = calibrate_samples(std::move(all), options);
    if (!outcome.calibration) return {std::nullopt, outcome.warning + " " + outcome.reason};
    const InSituCalibration& whole = *outcome.calibration;
    JointCalibration joint;
    std::size_t first = 0;
    for (SampledPoint& point : sampled) {
        InSituCalibration calibration{std::move(point.samples), whole.fit, whole.paint, {}};
        const std::size_t count = calibration.samples.points.size();
        fill_errors(whole.fit.residuals, whole.fit.leave_one_out, first, count,
                    static_cast<std::size_t>(whole.fit.terms), calibration.fit);
        first += count;
        joint.points.push_back(std::move(calibration));
    }
    joint.common = whole.paint;
    return {std::move(joint), {}};
}

}  // namespace

PortSamples in_law_unit(PortSamples samples, const InSituOptions& options) {
    if (options.model != CalibrationModel::polynomial)
        for (CalibrationPoint& port : samples.points)
            port.pressure = to_law_unit(port.pressure, options.pressure_unit);
    return samples;
}

JointOutcome calibrate_jointly(std::vector<SampledPoint> points, const InSituOptions& options) {
    if (points.empty()) return {std::nullopt, "There are no points"};
    for (const SampledPoint& point : points) {
        if (!point.samples.points.empty()) continue;
        const std::string whose = point.name.empty() ? "" : point.name + ": ";
        const auto& left_out = point.samples.left_out;
        return {std::nullopt,
                whose + "no port can be used" + (left_out.empty() ? "" : ": " + left_out.front())};
    }
    return options.model == CalibrationModel::polynomial
               ? fit_polynomial(std::move(points), options)
               : correct_law(std::move(points), options);
}

}  // namespace vyn
