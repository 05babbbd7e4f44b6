#pragma once

#include <string>
#include <vector>

#include "calib/paint.h"
#include "calib/paint_table.h"

namespace vyn {

/// Highest powers of the law, 1 to 2 and 0 to 2.
struct PaintFitOptions {
    int ratio_order = 2;
    int temperature_order = 2;
};

/// A law fitted to a calibration cell's table, and how well it fits; pascal and Celsius.
struct PaintFit {
    paintFeatures paint;            ///< with covariance, ranges, and the sample nearest to ratio 1
    int ratio_order = 0;            ///< as fitted: not more than the table tells
    int temperature_order = 0;      ///< likewise
    std::vector<double> residuals;  ///< law minus table, by sample
    std::vector<double> leave_one_out;  ///< with the law of all other samples; NaN without one
    double deviation = 0;               ///< root of the squared errors over N less the coefficients
    double leave_one_out_rms = 0;       ///< of those that there are
    std::size_t worst = 0;              ///< sample with the largest residual
    double condition = 0;  ///< of the design, ratios and temperatures centred and scaled
    std::vector<std::string> remarks;  ///< for the user, one sentence each
};

/// Least squares of the pressure on R^i T^j, i and j up to the orders, by QR about the middle of
/// the table and carried back. Orders are reduced to one less than there are different pressures
/// and temperatures (closer than 2 % of their range, or half a degree, is the same), until there is
/// a measurement to spare and the design has full rank; of what is possible the most coefficients
/// are taken. Raises AlgoError for orders out of range and for a table that determines no law.
PaintFit fit_paint(const PaintTable& table, const PaintFitOptions& options);

/// For log and console.
std::vector<std::string> report_lines(const PaintTable& table, const PaintFit& fit);

}  // namespace vyn
