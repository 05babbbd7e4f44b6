#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "calib/paint_law.h"
#include "calib/port_sampling.h"

namespace vyn {

/// What is fitted to pressure ports: a law of its own, or constants of a laboratory law. A law with
/// constants keeps the laboratory's shape where no port is.
enum class CalibrationModel {
    polynomial,
    ratio_gain,   ///< P = law(k fa R, T)
    offset_gain,  ///< P = offset + gain law(fa R, T)
    temperature,  ///< P = law(fa R, T + degrees), T the wind-on temperature
};
/// As users write them: "polynomial", "k", "offset-gain", "temperature".
std::vector<std::string> calibration_model_names();
const char* calibration_model_name(CalibrationModel model);
/// Raises AlgoError for another name.
CalibrationModel calibration_model(std::string_view name);

/// The laboratory law as one test point takes it, and how sure its conditions are; in the units in
/// which they enter the law.
struct LawAtPoint {
    PreparedConversion conversion;
    double wind_on_t_sigma = 0;
    double wind_off_t_sigma = 0;
    double wind_off_p_sigma = 0;
    double ratio_sigma = 0;  ///< of the whole ratio, relative: the lamp's
};

/// The constants; those that the model does not fit have no effect.
struct HybridConstants {
    double ratio_gain = 1;
    double offset = 0;  ///< of the pressure
    double gain = 1;    ///< likewise
    double degrees = 0;
};

/// A point's ports with the law that they correct; pressures in the unit of the law.
struct HybridPoint {
    LawAtPoint law;
    std::vector<CalibrationPoint> ports;
};

/// One set of constants for the ports of all points, and how far it can be trusted. What stands
/// once for each port has them point after point.
struct HybridFit {
    CalibrationModel model = CalibrationModel::ratio_gain;
    HybridConstants constants;
    /// Standard deviations of k, of offset and gain, or of the degrees; empty when nothing tells.
    std::vector<double> sigmas;
    std::vector<double> residuals;      ///< law minus measured pressure
    std::vector<double> leave_one_out;  ///< fitted without the port; NaN where that is impossible
    /// Of the robust loss, 1 for a port that fits, towards 0 for one that does not.
    std::vector<double> weights;
    /// Of each point the nine coefficients that it is computed with, fa = 1, and their covariance:
    /// gains, fa and degrees are exact changes of the nine.
    std::vector<LawCoefficients> laws;
    std::vector<std::optional<LawCovariance>> covariances;
};

struct HybridOutcome {
    std::optional<HybridFit> fit;
    std::string reason;  ///< why there is none, for the user
};

/// The constants with their standard deviations where they are known: "k = 1.05 +- 0.001".
std::string constants_text(const HybridFit& fit);

/// How many constants the model fits.
int constant_count(CalibrationModel model);

/// The law with the constants and fa in it: transformed.gamma at R is the law at k fa R.
LawCoefficients with_constants(const LawCoefficients& law, const HybridConstants& constants,
                               double wind_off_ratio);

/// Fits the model's constants to the ports by Gauss-Newton steps with the loss of Huber (1964), its
/// scale from the median residual (three more ports than constants; with fewer, least squares).
///
/// `port_sigma` is the standard deviation of a port's pressure. Above 0 a port weighs by it and by
/// its ratio's scatter, and these give the covariance unless the residuals are beyond them; 0: all
/// weigh alike and the residuals tell, over N less the number of constants. The covariance of a
/// point's coefficients is that of the constants, and of the errors of law and conditions what the
/// constants do not make good. Raises AlgoError for the polynomial.
HybridOutcome fit_hybrid(std::span<const HybridPoint> points, CalibrationModel model,
                         double port_sigma);

}  // namespace vyn
