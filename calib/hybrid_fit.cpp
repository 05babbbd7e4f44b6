#include "calib/hybrid_fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include <Eigen/Dense>

#include "core/errors.h"
#include "core/numbers.h"

namespace vyn {

namespace {

using Vector = Eigen::VectorXd;
using Matrix = Eigen::MatrixXd;
using Coefficients = Eigen::Matrix<double, 9, 1>;

constexpr std::array<std::pair<CalibrationModel, const char*>, 4> models{
    {{CalibrationModel::polynomial, "polynomial"},
     {CalibrationModel::ratio_gain, "k"},
     {CalibrationModel::offset_gain, "offset-gain"},
     {CalibrationModel::temperature, "temperature"}}};

/// Residuals beyond so many scales weigh less; 95 % as sure as least squares for normal errors.
constexpr double huber_limit = 1.345;
/// Median of |x| of a normal deviate is 1 / 1.4826.
constexpr double median_to_deviation = 1.4826;
constexpr int most_steps = 100;
/// After these the weights stay, so that the steps come to an end.
constexpr int weighing_steps = 40;

Coefficients as_vector(const LawCoefficients& law) {
    Coefficients vector;
    for (int k = 0; k < 9; ++k)
        vector(k) = law[static_cast<std::size_t>(k / 3)][static_cast<std::size_t>(k % 3)];
    return vector;
}

LawCoefficients as_law(const Coefficients& vector) {
    LawCoefficients law{};
    for (int k = 0; k < 9; ++k)
        law[static_cast<std::size_t>(k / 3)][static_cast<std::size_t>(k % 3)] = vector(k);
    return law;
}

/// R^i T^j: the pressure by each coefficient.
Coefficients basis(double ratio, double temperature) {
    Coefficients phi;
    for (int k = 0; k < 9; ++k)
        phi(k) = std::pow(ratio, k / 3) * std::pow(temperature, k % 3);
    return phi;
}

HybridConstants constants_of(CalibrationModel model, const Vector& q) {
    HybridConstants constants;
    if (model == CalibrationModel::ratio_gain) constants.ratio_gain = q(0);
    if (model == CalibrationModel::temperature) constants.degrees = q(0);
    if (model == CalibrationModel::offset_gain) {
        constants.offset = q(0);
        constants.gain = q(1);
    }
    return constants;
}

Vector start_of(CalibrationModel model) {
    if (model == CalibrationModel::offset_gain) return Eigen::Vector2d(0, 1);
    return Vector::Constant(1, model == CalibrationModel::ratio_gain ? 1 : 0);
}

/// Of differences, which are exact up to rounding: the coefficients are quadratic in each constant.
Vector steps_of(CalibrationModel model) {
    if (model == CalibrationModel::offset_gain) return Eigen::Vector2d(1, 1e-3);
    return Vector::Constant(1, model == CalibrationModel::ratio_gain ? 1e-3 : 0.1);
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 == 1) return *middle;
    return (*middle + *std::max_element(values.begin(), middle)) / 2;
}

/// The ports of all points as a fit sees them.
class Problem {
  public:
    Problem(std::span<const HybridPoint> points, CalibrationModel model, double port_sigma)
        : points_(points), model_(model) {
        for (std::size_t j = 0; j < points.size(); ++j)
            for (const CalibrationPoint& port : points[j].ports) {
                basis_.push_back(basis(port.ratio, temperature(j)));
                pressure_.push_back(port.pressure);
                owner_.push_back(j);
            }
        sigma_.assign(size(), 1);
        if (!(port_sigma > 0)) return;
        std::size_t i = 0;
        for (const HybridPoint& point : points)
            for (const CalibrationPoint& port : point.ports) {
                const double fa = point.law.conversion.conversion.wind_off_ratio;
                const PaintLaw& law = point.law.conversion.conversion.law;
                const double slope = (law.b + 2 * law.c * fa * port.ratio) * fa;
                sigma_[i++] = std::hypot(port_sigma, slope * port.ratio_sigma);
            }
    }

    std::size_t size() const { return pressure_.size(); }
    std::size_t owner(std::size_t i) const { return owner_[i]; }
    double sigma(std::size_t i) const { return sigma_[i]; }
    const Coefficients& row(std::size_t i) const { return basis_[i]; }
    double largest_pressure() const {
        double largest = 0;
        for (const double pressure : pressure_)
            largest = std::max(largest, std::abs(pressure));
        return largest;
    }

    Coefficients law(std::size_t point, const Vector& q) const {
        const PreparedConversion& prepared = points_[point].law.conversion;
        return as_vector(with_constants(prepared.paint.gamma, constants_of(model_, q),
                                        prepared.conversion.wind_off_ratio));
    }
    Matrix by_constants(std::size_t point, const Vector& q) const {
        const Vector steps = steps_of(model_);
        Matrix jacobian(9, q.size());
        for (Eigen::Index k = 0; k < q.size(); ++k) {
            const Vector step = Vector::Unit(q.size(), k) * steps(k);
            jacobian.col(k) = (law(point, q + step) - law(point, q - step)) / (2 * steps(k));
        }
        return jacobian;
    }

    Vector residuals(const Vector& q) const {
        Vector residuals(static_cast<Eigen::Index>(size()));
        for (std::size_t i = 0; i < size(); ++i)
            residuals(static_cast<Eigen::Index>(i)) = row(i).dot(law(owner(i), q)) - pressure_[i];
        return residuals;
    }
    Matrix design(const Vector& q) const {
        Matrix design(static_cast<Eigen::Index>(size()), q.size());
        for (std::size_t i = 0; i < size(); ++i)
            design.row(static_cast<Eigen::Index>(i)) =
                row(i).transpose() * by_constants(owner(i), q);
        return design;
    }
    double temperature(std::size_t point) const {
        return points_[point].law.conversion.flow_in_paint_units.wind_on_t;
    }

  private:
    std::span<const HybridPoint> points_;
    CalibrationModel model_;
    std::vector<Coefficients> basis_;
    std::vector<double> pressure_;
    std::vector<double> sigma_;
    std::vector<std::size_t> owner_;
};

struct Solution {
    Vector q;
    Vector weights;  ///< of the robust loss
};

/// Of the residuals over their deviations; all 1 where there are too few to tell an outlier.
Vector huber_weights(const Problem& problem, const Vector& residuals, const std::vector<bool>& used,
                     Eigen::Index constants, bool sigma_known) {
    Vector weights = Vector::Ones(residuals.size());
    std::vector<double> sizes;
    for (std::size_t i = 0; i < problem.size(); ++i)
        if (used[i])
            sizes.push_back(std::abs(residuals(static_cast<Eigen::Index>(i))) / problem.sigma(i));
    const double n = static_cast<double>(sizes.size());
    const double freedom = n - static_cast<double>(constants);
    constexpr double least_freedom = 3;
    if (freedom < least_freedom) return weights;
    const double rounding = 1e-9 * problem.largest_pressure();
    const double scale = std::max(sigma_known ? 1 : rounding,
                                  median_to_deviation * median(sizes) * std::sqrt(n / freedom));
    for (std::size_t i = 0; i < problem.size(); ++i) {
        const auto row = static_cast<Eigen::Index>(i);
        const double size = std::abs(residuals(row)) / problem.sigma(i) / scale;
        if (size > huber_limit) weights(row) = huber_limit / size;
    }
    return weights;
}

/// Nothing when the ports do not determine the constants.
std::optional<Solution> solve(const Problem& problem, CalibrationModel model,
                              const std::vector<bool>& used, bool sigma_known) {
    const auto rows = static_cast<Eigen::Index>(problem.size());
    Solution found{start_of(model), Vector::Ones(rows)};
    const Vector scale = steps_of(model);
    for (int step = 0; step < most_steps; ++step) {
        const Vector residuals = problem.residuals(found.q);
        if (step > 0 && step < weighing_steps)
            found.weights = huber_weights(problem, residuals, used, found.q.size(), sigma_known);
        Matrix design = problem.design(found.q) * scale.asDiagonal();
        Vector right = residuals;
        for (Eigen::Index i = 0; i < rows; ++i) {
            const auto port = static_cast<std::size_t>(i);
            const double root = used[port] ? std::sqrt(found.weights(i)) / problem.sigma(port) : 0;
            design.row(i) *= root;
            right(i) *= root;
        }
        Eigen::ColPivHouseholderQR<Matrix> qr(design);
        qr.setThreshold(1e-6);  // pressures of the ports that differ by a millionth
        if (!design.allFinite() || qr.rank() < found.q.size()) return std::nullopt;
        const Vector change = qr.solve(right);
        found.q -= scale.cwiseProduct(change);
        if (!found.q.allFinite()) return std::nullopt;
        constexpr double small = 1e-9;  // of a thousandth of k or gain
        if (step > 1 && change.cwiseAbs().maxCoeff() < small) return found;
    }
    return std::nullopt;
}

/// Errors of law and conditions that reach the coefficients of the points: one column a source.
std::vector<std::vector<Coefficients>> sources_of(std::span<const HybridPoint> points,
                                                  const HybridFit& fit) {
    std::vector<std::vector<Coefficients>> sources;
    const auto none = std::vector<Coefficients>(points.size(), Coefficients::Zero());
    struct Through {
        Coefficients by_log_fa;  ///< of the coefficients
        Coefficients fa_by_law = Coefficients::Zero();
        double fa_by_p0 = 0;  ///< d ln fa / dP0
        double p0_by_t0 = 0;
    };
    std::vector<Through> through(points.size());
    for (std::size_t j = 0; j < points.size(); ++j) {
        const PreparedConversion& prepared = points[j].law.conversion;
        const Coefficients law = as_vector(fit.laws[j]);
        for (int k = 0; k < 9; ++k)
            through[j].by_log_fa(k) = k / 3 * law(k);
        const double fa = prepared.conversion.wind_off_ratio;
        const double t0 = prepared.flow_in_paint_units.wind_off_t;
        const PaintLaw off = law_at(prepared.paint, t0);
        const double slope = off.b + 2 * off.c * fa;
        if (prepared.rule == WindOffRule::law && !prepared.message && slope * fa != 0) {
            through[j].fa_by_p0 = 1 / (slope * fa);
            through[j].fa_by_law = -basis(fa, t0) * through[j].fa_by_p0;
            for (int i = 0; i < 3; ++i) {
                const auto& row = prepared.paint.gamma[static_cast<std::size_t>(i)];
                through[j].p0_by_t0 += std::pow(fa, i) * (row[1] + 2 * row[2] * t0);
            }
        }
        const auto add = [&](const Coefficients& error) {
            sources.push_back(none);
            sources.back()[j] = error;
        };
        Coefficients by_t = Coefficients::Zero();
        const double t = prepared.flow_in_paint_units.wind_on_t;
        for (int i = 0; i < 3; ++i)
            by_t(3 * i) = law(3 * i + 1) + 2 * law(3 * i + 2) * t;
        add(by_t * points[j].law.wind_on_t_sigma);
        add(through[j].by_log_fa * points[j].law.ratio_sigma);
        add(through[j].by_log_fa * (through[j].fa_by_p0 * points[j].law.wind_off_p_sigma));
        add(through[j].by_log_fa *
            (through[j].fa_by_p0 * through[j].p0_by_t0 * points[j].law.wind_off_t_sigma));
    }
    // The law's own errors are those of all points.
    const auto& covariance = points.front().law.conversion.paint.covariance;
    if (!covariance) return sources;
    Eigen::Matrix<double, 9, 9> correlation = Eigen::Matrix<double, 9, 9>::Zero();
    Coefficients deviation;
    for (int j = 0; j < 9; ++j)
        deviation(j) = std::sqrt((*covariance)[std::size_t(j)][std::size_t(j)]);
    for (int j = 0; j < 9; ++j)
        for (int k = 0; k < 9; ++k)
            if (deviation(j) * deviation(k) > 0)
                correlation(j, k) =
                    (*covariance)[std::size_t(j)][std::size_t(k)] / (deviation(j) * deviation(k));
    const Eigen::SelfAdjointEigenSolver<Eigen::Matrix<double, 9, 9>> eigen(correlation);
    for (int k = 0; k < 9; ++k) {
        if (!(eigen.eigenvalues()(k) > 0)) continue;
        const Coefficients error = deviation.cwiseProduct(
            Coefficients(eigen.eigenvectors().col(k) * std::sqrt(eigen.eigenvalues()(k))));
        std::vector<Coefficients> source;
        for (std::size_t j = 0; j < points.size(); ++j) {
            HybridConstants linear = fit.constants;
            linear.offset = 0;
            const double fa = points[j].law.conversion.conversion.wind_off_ratio;
            source.push_back(as_vector(with_constants(as_law(error), linear, fa)) +
                             through[j].by_log_fa * through[j].fa_by_law.dot(error));
        }
        sources.push_back(std::move(source));
    }
    return sources;
}

void estimate_trust(std::span<const HybridPoint> points, const Problem& problem,
                    const Solution& solution, bool sigma_known, HybridFit& fit) {
    const Vector& q = solution.q;
    const auto rows = static_cast<Eigen::Index>(problem.size());
    const Eigen::Index freedom = rows - q.size();
    fit.covariances.assign(points.size(), std::nullopt);
    if (freedom < 1 && !sigma_known) return;
    const Vector residuals = problem.residuals(q);
    Vector weights = solution.weights;
    for (Eigen::Index i = 0; i < rows; ++i)
        weights(i) /= std::pow(problem.sigma(static_cast<std::size_t>(i)), 2);
    double s2 = 1;
    if (freedom > 0) s2 = residuals.cwiseAbs2().dot(weights) / static_cast<double>(freedom);
    // Residuals that chance can explain, within two of its deviations, leave the ports' own.
    if (sigma_known && (freedom < 1 || s2 < 1 + 2 * std::sqrt(2 / static_cast<double>(freedom))))
        s2 = 1;
    // Scaled, since an offset of pascals stands beside a gain of about 1.
    const Vector scale = steps_of(fit.model);
    const Matrix design = problem.design(q) * scale.asDiagonal();
    const Matrix inverse = (design.transpose() * weights.asDiagonal() * design)
                               .ldlt()
                               .solve(Matrix::Identity(q.size(), q.size()));
    const Matrix covariance = scale.asDiagonal() * inverse * scale.asDiagonal() * s2;
    for (Eigen::Index k = 0; k < q.size(); ++k)
        fit.sigmas.push_back(std::sqrt(covariance(k, k)));
    const Matrix by_pressure =
        scale.asDiagonal() * inverse * design.transpose() * weights.asDiagonal();

    std::vector<Eigen::Matrix<double, 9, 9>> sums;
    for (std::size_t j = 0; j < points.size(); ++j) {
        const Matrix jacobian = problem.by_constants(j, q);
        sums.emplace_back(jacobian * covariance * jacobian.transpose());
    }
    for (const std::vector<Coefficients>& source : sources_of(points, fit)) {
        Vector at_ports(rows);
        for (std::size_t i = 0; i < problem.size(); ++i)
            at_ports(static_cast<Eigen::Index>(i)) = problem.row(i).dot(source[problem.owner(i)]);
        const Vector made_good = by_pressure * at_ports;
        for (std::size_t j = 0; j < points.size(); ++j) {
            const Coefficients left = source[j] - problem.by_constants(j, q) * made_good;
            sums[j] += left * left.transpose();
        }
    }
    for (std::size_t j = 0; j < points.size(); ++j) {
        LawCovariance& kept = fit.covariances[j].emplace();
        for (int a = 0; a < 9; ++a)
            for (int b = 0; b < 9; ++b)
                kept[std::size_t(a)][std::size_t(b)] = (sums[j](a, b) + sums[j](b, a)) / 2;
    }
}

std::string undetermined(CalibrationModel model) {
    switch (model) {
        case CalibrationModel::offset_gain:
            return "The ports do not tell offset and gain apart: they need different pressures";
        case CalibrationModel::temperature:
            return "The ports do not tell a temperature: the project's law hardly depends on it";
        default:
            return "The ports do not tell a gain of the ratio with the project's law";
    }
}

std::string unusable(std::span<const HybridPoint> points, CalibrationModel model) {
    std::size_t ports = 0;
    for (const HybridPoint& point : points) {
        const PreparedConversion& prepared = point.law.conversion;
        if (prepared.paint.gamma == LawCoefficients{})
            return "There is no paint calibration to correct: open the laboratory's first";
        if (prepared.paint.gamma != points.front().law.conversion.paint.gamma)
            return "The points have different paint calibrations: one set of constants corrects "
                   "one law";
        if (prepared.message)
            return "The wind-off ratio does not come from the project's law: " +
                   std::string(prepared.message);
        ports += point.ports.size();
        for (const CalibrationPoint& port : point.ports)
            if (!std::isfinite(port.ratio) || !std::isfinite(port.pressure))
                return "Port " + std::to_string(port.number) + " has no finite number";
    }
    const auto constants = static_cast<std::size_t>(constant_count(model));
    if (ports >= constants) return {};
    return std::string("\"") + calibration_model_name(model) + "\" fits " +
           std::to_string(constants) + (constants == 1 ? " constant" : " constants") +
           ", and there " + (ports == 1 ? "is 1 port" : "are " + std::to_string(ports) + " ports");
}

}  // namespace

std::vector<std::string> calibration_model_names() {
    std::vector<std::string> names;
    for (const auto& [model, name] : models)
        names.emplace_back(name);
    return names;
}

const char* calibration_model_name(CalibrationModel wanted) {
    for (const auto& [model, name] : models)
        if (model == wanted) return name;
    return "";
}

CalibrationModel calibration_model(std::string_view wanted) {
    for (const auto& [model, name] : models)
        if (name == wanted) return model;
    throw AlgoError("Algorithm error!",
                    "\"" + std::string(wanted) + "\" is no model of a calibration");
}

std::string constants_text(const HybridFit& fit) {
    const auto text = [&](const char* name, double value, std::size_t index) {
        std::string words = std::string(name) + " = " + format_general(value, 7);
        if (!fit.sigmas.empty()) words += " +- " + format_general(fit.sigmas[index], 3);
        return words;
    };
    switch (fit.model) {
        case CalibrationModel::ratio_gain:
            return text("k", fit.constants.ratio_gain, 0);
        case CalibrationModel::offset_gain:
            return text("offset", fit.constants.offset, 0) + ", " +
                   text("gain", fit.constants.gain, 1);
        case CalibrationModel::temperature:
            return text("degrees", fit.constants.degrees, 0);
        case CalibrationModel::polynomial:
            break;
    }
    return {};
}

int constant_count(CalibrationModel model) {
    return model == CalibrationModel::offset_gain ? 2 : 1;
}

LawCoefficients with_constants(const LawCoefficients& law, const HybridConstants& constants,
                               double wind_off_ratio) {
    LawCoefficients changed = law;
    const double d = constants.degrees;
    double factor = constants.gain;
    for (auto& row : changed) {
        row[0] = factor * (row[0] + d * (row[1] + d * row[2]));
        row[1] = factor * (row[1] + 2 * d * row[2]);
        row[2] *= factor;
        factor *= constants.ratio_gain * wind_off_ratio;
    }
    changed[0][0] += constants.offset;
    return changed;
}

HybridOutcome fit_hybrid(std::span<const HybridPoint> points, CalibrationModel model,
                         double port_sigma) {
    if (model == CalibrationModel::polynomial)
        throw AlgoError("Algorithm error!", "a polynomial has no constants of a laboratory law");
    if (points.empty()) return {std::nullopt, "There are no points"};
    if (std::string reason = unusable(points, model); !reason.empty())
        return {std::nullopt, std::move(reason)};
    const Problem problem(points, model, port_sigma);
    const bool sigma_known = port_sigma > 0;
    std::vector<bool> used(problem.size(), true);
    const auto solution = solve(problem, model, used, sigma_known);
    if (!solution) return {std::nullopt, undetermined(model)};

    HybridFit fit;
    fit.model = model;
    fit.constants = constants_of(model, solution->q);
    if (!(fit.constants.ratio_gain > 0) || !(fit.constants.gain > 0))
        return {std::nullopt, "The ports ask for a gain of " +
                                  format_general(fit.constants.ratio_gain * fit.constants.gain, 3) +
                                  ": look at their pressures and places"};
    const Vector residuals = problem.residuals(solution->q);
    for (std::size_t i = 0; i < problem.size(); ++i) {
        const auto row = static_cast<Eigen::Index>(i);
        fit.residuals.push_back(residuals(row));
        fit.weights.push_back(solution->weights(row));
        used[i] = false;
        const bool enough = problem.size() > static_cast<std::size_t>(constant_count(model));
        const auto without = enough ? solve(problem, model, used, sigma_known) : std::nullopt;
        used[i] = true;
        fit.leave_one_out.push_back(without ? problem.residuals(without->q)(row)
                                            : std::numeric_limits<double>::quiet_NaN());
    }
    for (std::size_t j = 0; j < points.size(); ++j)
        fit.laws.push_back(as_law(problem.law(j, solution->q)));
    estimate_trust(points, problem, *solution, sigma_known, fit);
    return {std::move(fit), {}};
}

}  // namespace vyn
