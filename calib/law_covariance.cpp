#include "calib/law_covariance.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <vector>

#include <Eigen/Eigenvalues>

#include "core/numbers.h"
#include "core/quotes.h"

namespace vyn {

namespace {

constexpr std::size_t count = 9;
/// Of texts with 16 digits, and of the products that make a covariance.
constexpr double rounding = 1e-9;

double coefficient(const LawCoefficients& coefficients, std::size_t k) {
    return coefficients[k / 3][k % 3];
}

std::string element(std::size_t row, std::size_t column) {
    return "row " + std::to_string(row + 1) + ", column " + std::to_string(column + 1);
}

}  // namespace

std::string covariance_problem(const LawCovariance& covariance) {
    // Scaled to correlations: the coefficients differ by many powers of ten.
    Eigen::Matrix<double, count, count> scaled = Eigen::Matrix<double, count, count>::Zero();
    for (std::size_t j = 0; j < count; ++j)
        for (std::size_t k = 0; k < count; ++k) {
            const double entry = covariance[j][k];
            if (!std::isfinite(entry)) return element(j, k) + " is no finite number";
            if (covariance[j][j] < 0) return element(j, j) + ", a variance, is negative";
            const double scale = std::sqrt(covariance[j][j]) * std::sqrt(covariance[k][k]);
            if (std::abs(entry - covariance[k][j]) > rounding * std::max(scale, std::abs(entry)))
                return "it is not symmetric: " + element(j, k);
            if (entry != 0 && scale == 0) return element(j, k) + " belongs to a variance of 0";
            if (scale > 0)
                scaled(static_cast<Eigen::Index>(j), static_cast<Eigen::Index>(k)) = entry / scale;
        }
    const Eigen::SelfAdjointEigenSolver<Eigen::Matrix<double, count, count>> solver(
        scaled, Eigen::EigenvaluesOnly);
    if (solver.eigenvalues().minCoeff() < -rounding * static_cast<double>(count))
        return "it has a negative eigenvalue";
    return {};
}

std::string format_covariance(const LawCoefficients& coefficients,
                              const LawCovariance& covariance) {
    std::string text;
    const auto add = [&text](double value) {
        if (!text.empty()) text += ' ';
        text += format_double(value);
    };
    for (std::size_t k = 0; k < count; ++k)
        add(coefficient(coefficients, k));
    for (const auto& row : covariance)
        for (const double entry : row)
            add(entry);
    return text;
}

KeptCovariance parse_covariance(std::string_view text, const LawCoefficients& coefficients) {
    std::string dotted(text);
    std::ranges::replace(dotted, ',', '.');
    std::istringstream stream(dotted);
    std::vector<double> numbers;
    for (std::string word; stream >> word;) {
        const auto number = parse_double(word);
        if (!number) return {{}, in_quotes(word) + " is no number"};
        numbers.push_back(*number);
        if (numbers.size() > count + count * count) break;
    }
    if (numbers.empty()) return {};
    if (numbers.size() != count + count * count)
        return {{}, "it takes 9 coefficients and 81 entries"};
    for (std::size_t k = 0; k < count; ++k) {
        const double present = coefficient(coefficients, k);
        if (std::abs(numbers[k] - present) > rounding * std::abs(present))
            return {{}, "it belongs to other coefficients than those of the law"};
    }
    LawCovariance covariance;
    for (std::size_t j = 0; j < count; ++j)
        for (std::size_t k = 0; k < count; ++k)
            covariance[j][k] = numbers[count + j * count + k];
    std::string problem = covariance_problem(covariance);
    if (!problem.empty()) return {{}, std::move(problem)};
    return {covariance, {}};
}

}  // namespace vyn
