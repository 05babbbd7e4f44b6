#include "calib/paint_fit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include <Eigen/Dense>

#include "calib/law_covariance.h"
#include "calib/paint_law.h"
#include "core/errors.h"
#include "core/numbers.h"

namespace vyn {

namespace {

using Vector = Eigen::VectorXd;
using Matrix = Eigen::MatrixXd;

/// Nearer than this share of the range, set points of the cell are the same.
constexpr double same_point = 0.02;
constexpr double least_degrees = 0.5;  ///< between temperatures that were meant to differ
constexpr double rank_threshold = 1e-7;
constexpr double poor_condition = 1e3;
/// Residuals beyond so many robust deviations are told.
constexpr double far_off = 4;
constexpr double median_to_deviation = 1.4826;

/// x = middle + half_range u.
struct Scale {
    double middle = 0;
    double half_range = 1;
    double operator()(double x) const { return (x - middle) / half_range; }
};

Scale scale_of(const std::vector<double>& values) {
    const auto [low, high] = std::ranges::minmax(values);
    return {(low + high) / 2, high > low ? (high - low) / 2 : 1};
}

int different(std::vector<double> values, double least_gap) {
    std::ranges::sort(values);
    const double gap = std::max(same_point * (values.back() - values.front()), least_gap);
    int count = 1;
    for (std::size_t i = 1; i < values.size(); ++i)
        count += values[i] - values[i - 1] > gap ? 1 : 0;
    return count;
}

std::vector<double> column(const PaintTable& table, double PaintSample::*member) {
    std::vector<double> values;
    for (const PaintSample& sample : table.samples)
        values.push_back(sample.*member);
    return values;
}

/// u^i v^j; i up to ratio_order and j up to temperature_order, j fastest.
struct Design {
    Scale ratio;
    Scale temperature;
    int ratio_order = 0;
    int temperature_order = 0;

    Eigen::Index terms() const { return (ratio_order + 1) * (temperature_order + 1); }
    Vector row(const PaintSample& sample) const {
        const double u = ratio(sample.ratio);
        const double v = temperature(sample.temperature);
        Vector row(terms());
        for (int i = 0; i <= ratio_order; ++i)
            for (int j = 0; j <= temperature_order; ++j)
                row(i * (temperature_order + 1) + j) = std::pow(u, i) * std::pow(v, j);
        return row;
    }
    Matrix matrix(const PaintTable& table) const {
        Matrix matrix(static_cast<Eigen::Index>(table.samples.size()), terms());
        for (Eigen::Index k = 0; k < matrix.rows(); ++k)
            matrix.row(k) = row(table.samples[static_cast<std::size_t>(k)]).transpose();
        return matrix;
    }
    /// The nine coefficients of R^i T^j by those of u^i v^j.
    Matrix to_law() const {
        Matrix change = Matrix::Zero(9, terms());
        const auto powers = [](const Scale& scale, int order) {
            // ((x - middle) / half_range)^order in powers of x
            std::array<double, 3> result{1, 0, 0};
            for (int k = 0; k < order; ++k) {
                std::array<double, 3> next{};
                for (std::size_t p = 0; p < 3; ++p) {
                    next[p] -= scale.middle * result[p] / scale.half_range;
                    if (p + 1 < 3) next[p + 1] += result[p] / scale.half_range;
                }
                result = next;
            }
            return result;
        };
        for (int i = 0; i <= ratio_order; ++i)
            for (int j = 0; j <= temperature_order; ++j) {
                const auto of_ratio = powers(ratio, i);
                const auto of_temperature = powers(temperature, j);
                for (std::size_t a = 0; a < 3; ++a)
                    for (std::size_t b = 0; b < 3; ++b)
                        change(static_cast<Eigen::Index>(3 * a + b),
                               i * (temperature_order + 1) + j) += of_ratio[a] * of_temperature[b];
            }
        return change;
    }
};

/// The largest design that the table determines.
Design design_of(const PaintTable& table, const PaintFitOptions& options, Matrix& matrix) {
    const std::vector<double> pressures = column(table, &PaintSample::pressure);
    const std::vector<double> temperatures = column(table, &PaintSample::temperature);
    const auto samples = static_cast<Eigen::Index>(table.samples.size());
    const int different_pressures = different(pressures, /*least_gap=*/0);
    if (different_pressures < 2 || samples < 3)
        throw AlgoError(
            "Algorithm error!",
            "a law needs 3 measurements at 2 different pressures at least; the table has " +
                std::to_string(samples) + " at " + std::to_string(different_pressures));
    Design design{scale_of(column(table, &PaintSample::ratio)), scale_of(temperatures)};
    const int most_temperature =
        std::min(options.temperature_order, different(temperatures, least_degrees) - 1);
    const int most_ratio = std::min(options.ratio_order, different_pressures - 1);
    // The most coefficients first.
    for (const auto& [of_ratio, of_temperature] :
         {std::pair{2, 2}, {2, 1}, {1, 2}, {1, 1}, {2, 0}, {1, 0}}) {
        if (of_ratio > most_ratio || of_temperature > most_temperature) continue;
        design.ratio_order = of_ratio;
        design.temperature_order = of_temperature;
        matrix = design.matrix(table);
        Eigen::ColPivHouseholderQR<Matrix> qr(matrix);
        qr.setThreshold(rank_threshold);
        if (samples > design.terms() && qr.rank() == design.terms()) return design;
    }
    throw AlgoError("Algorithm error!",
                    "the table determines no law: its ratios do not tell the pressures apart");
}

std::string powers_text(int order) {
    return order == 0 ? "none" : order == 1 ? "1" : "1 and 2";
}

void add_remarks(const PaintTable& table, const PaintFitOptions& options, PaintFit& fit) {
    std::vector<std::string>& remarks = fit.remarks;
    if (fit.temperature_order < options.temperature_order)
        remarks.push_back(
            fit.temperature_order == 0
                ? "The table does not tell what the temperature does: the law holds at its own "
                  "temperature only"
                : "The table does not tell the square of the temperature: it takes three "
                  "different ones");
    if (fit.ratio_order < options.ratio_order)
        remarks.emplace_back("The table does not tell the square of the ratio");
    if (fit.ratio_order < 2)
        remarks.emplace_back(
            "Without the square of the ratio the field computation takes a wind-off ratio fa of 1: "
            "keep it unless the paint is calibrated at pressure ports");
    if (fit.condition > poor_condition)
        remarks.push_back("The measurements lie badly for so many coefficients (condition " +
                          format_general(fit.condition, 2) +
                          "): take lower orders, or measure where there is nothing yet");
    std::vector<double> sizes;
    for (const double residual : fit.residuals)
        sizes.push_back(std::abs(residual));
    const auto middle = sizes.begin() + static_cast<std::ptrdiff_t>(sizes.size() / 2);
    std::ranges::nth_element(sizes, middle);
    const double scale = median_to_deviation * *middle;
    for (std::size_t k = 0; k < fit.residuals.size(); ++k)
        if (std::abs(fit.residuals[k]) > far_off * scale && scale > 0 &&
            std::abs(fit.residuals[k]) > 2 * fit.deviation)
            remarks.push_back("Line " + std::to_string(table.samples[k].line) +
                              " of the table is " + format_general(fit.residuals[k], 4) +
                              " Pa off the law, " +
                              format_general(std::abs(fit.residuals[k]) / scale, 2) +
                              " times what is usual: look at it");
    for (const PaintSample& sample : table.samples) {
        const PaintLaw law = law_at(fit.paint, sample.temperature);
        if (law.b + 2 * law.c * sample.ratio > 0) continue;
        remarks.push_back("The pressure falls with the ratio at line " +
                          std::to_string(sample.line) +
                          " of the table: a paint's rises; look at the columns and orders");
        break;
    }
}

}  // namespace

PaintFit fit_paint(const PaintTable& table, const PaintFitOptions& options) {
    if (options.ratio_order < 1 || options.ratio_order > 2 || options.temperature_order < 0 ||
        options.temperature_order > 2)
        throw AlgoError("Algorithm error!",
                        "a law takes powers 1 to 2 of the ratio and 0 to 2 of the temperature");
    Matrix matrix;
    const Design design = design_of(table, options, matrix);
    const auto samples = static_cast<Eigen::Index>(table.samples.size());
    Vector pressures(samples);
    for (Eigen::Index k = 0; k < samples; ++k)
        pressures(k) = table.samples[static_cast<std::size_t>(k)].pressure;
    const Vector found = matrix.householderQr().solve(pressures);
    const Vector errors = matrix * found - pressures;
    const double variance = errors.squaredNorm() / static_cast<double>(samples - design.terms());
    // By singular values, so that the covariance has no negative eigenvalue.
    const Eigen::JacobiSVD<Matrix> svd(matrix, Eigen::ComputeThinV);
    const Matrix root = svd.matrixV() * svd.singularValues().cwiseInverse().asDiagonal();
    const Matrix inverse = root * root.transpose();

    PaintFit fit;
    fit.ratio_order = design.ratio_order;
    fit.temperature_order = design.temperature_order;
    fit.condition = svd.singularValues()(0) / svd.singularValues()(design.terms() - 1);
    fit.deviation = std::sqrt(variance);
    double squares = 0;
    int counted = 0;
    for (Eigen::Index k = 0; k < samples; ++k) {
        fit.residuals.push_back(errors(k));
        const double freedom = 1 - matrix.row(k).dot(inverse * matrix.row(k).transpose());
        constexpr double least_freedom = 1e-9;
        const bool alone = freedom <= least_freedom;
        fit.leave_one_out.push_back(alone ? std::numeric_limits<double>::quiet_NaN()
                                          : errors(k) / freedom);
        if (alone) continue;
        squares += fit.leave_one_out.back() * fit.leave_one_out.back();
        ++counted;
    }
    fit.leave_one_out_rms = std::sqrt(squares / std::max(counted, 1));
    fit.worst = static_cast<std::size_t>(
        std::ranges::max_element(fit.residuals, {}, [](double e) { return std::abs(e); }) -
        fit.residuals.begin());

    const Matrix change = design.to_law();
    const Vector law = change * found;
    const Matrix law_root = change * root * fit.deviation;
    const Matrix covariance = law_root * law_root.transpose();
    LawCovariance& kept = fit.paint.covariance.emplace();
    for (Eigen::Index j = 0; j < 9; ++j) {
        fit.paint.gamma[static_cast<std::size_t>(j / 3)][static_cast<std::size_t>(j % 3)] = law(j);
        for (Eigen::Index k = 0; k < 9; ++k)
            kept[static_cast<std::size_t>(j)][static_cast<std::size_t>(k)] =
                (covariance(j, k) + covariance(k, j)) / 2;
    }
    if (!law.allFinite() || !covariance_problem(kept).empty())
        throw AlgoError("Algorithm error!",
                        "the numbers of the table are too large or too different for a law");
    // The names with which the field computation takes the numbers as they stand.
    fit.paint.pressure_unit = "Pa";
    fit.paint.temperature_unit = "C";
    const auto [low_p, high_p] = std::ranges::minmax(column(table, &PaintSample::pressure));
    const auto [low_t, high_t] = std::ranges::minmax(column(table, &PaintSample::temperature));
    fit.paint.minimal_pressure = low_p;
    fit.paint.maximal_pressure = high_p;
    fit.paint.minimal_temperature = low_t;
    fit.paint.maximal_temperature = high_t;
    const auto normal = std::ranges::min_element(
        table.samples, {}, [](const PaintSample& s) { return std::abs(s.ratio - 1); });
    fit.paint.normalizing_pressure = normal->pressure;
    fit.paint.normalizing_temperature = normal->temperature;
    add_remarks(table, options, fit);
    return fit;
}

std::vector<std::string> report_lines(const PaintTable& table, const PaintFit& fit) {
    const auto number = [](double value) { return format_general(value, 6); };
    const paintFeatures& paint = fit.paint;
    std::vector<std::string> lines{
        "measurements   " + std::to_string(table.samples.size()) + ", pressures " +
            number(paint.minimal_pressure) + " to " + number(paint.maximal_pressure) +
            " Pa, temperatures " + number(paint.minimal_temperature) + " to " +
            number(paint.maximal_temperature) + " C",
        "powers         of the ratio " + powers_text(fit.ratio_order) + ", of the temperature " +
            powers_text(fit.temperature_order)};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) {
            if (static_cast<int>(i) > fit.ratio_order ||
                static_cast<int>(j) > fit.temperature_order)
                continue;
            const double sigma = std::sqrt((*paint.covariance)[3 * i + j][3 * i + j]);
            lines.push_back("gamma" + std::to_string(i + 1) + std::to_string(j + 1) + "        " +
                            format_general(paint.gamma[i][j], 7) + "  +- " +
                            format_general(sigma, 3));
        }
    lines.push_back("deviation      " + number(fit.deviation) + " Pa");
    lines.push_back("left out       " + number(fit.leave_one_out_rms) +
                    " Pa, root mean square of each measurement's error with the law of the others");
    lines.push_back("largest        " + number(fit.residuals[fit.worst]) + " Pa at line " +
                    std::to_string(table.samples[fit.worst].line));
    lines.push_back("condition      " + format_general(fit.condition, 3));
    for (const auto* remarks : {&table.remarks, &fit.remarks})
        for (const std::string& remark : *remarks)
            lines.push_back(remark + ".");
    return lines;
}

}  // namespace vyn
