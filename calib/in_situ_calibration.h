#pragma once

#include <optional>
#include <string>

#include "calib/hybrid_fit.h"
#include "calib/in_situ_fit.h"
#include "calib/paint.h"
#include "calib/port_sampling.h"

namespace vyn {

struct InSituOptions {
    int terms = 3;                     ///< of the law, 1 to 3
    int side = 5;                      ///< of the square averaged around each port, pixels
    std::string pressure_unit = "pa";  ///< of the ports; written into the record
    CalibrationModel model = CalibrationModel::polynomial;
    double port_sigma = 0;  ///< of a port's pressure, in their unit; 0: not known
    /// The law to be corrected, where the model is one of its constants.
    std::optional<LawAtPoint> law = std::nullopt;
};

struct InSituCalibration {
    PortSamples samples;
    /// Has fewer terms than asked for when there are fewer points. Of a corrected law: as it stands
    /// at the wind-on temperature, always 3.
    InSituFit fit;
    /// A record of defaults with the law in its first column; or the corrected law, which takes the
    /// ratio as it is (fa = 1) and temperatures as before.
    paintFeatures paint;
    std::optional<HybridFit> hybrid = std::nullopt;  ///< where constants were fitted
};

struct InSituOutcome {
    std::optional<InSituCalibration> calibration;
    std::string warning;  ///< for the user, when there is no calibration
    std::string reason;   ///< why not and what to do about it, for the user
};

/// Reads the ports' markers (`image_height` in pixels, of the ratio image) and looks whether they
/// can be calibrated with. What is wrong is logged and comes back as an outcome without
/// calibration.
std::optional<InSituOutcome> read_ports(const std::string& port_file, int image_height,
                                        MarkerSet& ports);

/// Fits the paint's law to the pressures measured at ports on the model: reads the port file,
/// averages the ratio image around each active port and fits the pressure as a polynomial in the
/// ratio. Every step is logged. `ratio` may be null; ports in its pixels. Raises AlgoError for
/// options out of range.
InSituOutcome calibrate_in_situ(const std::string& port_file, const image* ratio,
                                const InSituOptions& options);

/// The ports' pressures in pascal, which the law yields that is to be corrected; a polynomial takes
/// them as they stand.
PortSamples in_law_unit(PortSamples samples, const InSituOptions& options);

/// The same for points that were sampled before, `in_law_unit`: the fit, the record and their log
/// lines.
InSituOutcome calibrate_samples(PortSamples samples, const InSituOptions& options);

/// A test point of a joint calibration: its ports on its own ratio image, `in_law_unit`.
struct SampledPoint {
    std::string name;  ///< for the user
    PortSamples samples;
    std::optional<LawAtPoint> law = std::nullopt;  ///< where the model is one of its constants
};

struct JointCalibration {
    /// In the order of the points: its own ports and residuals, and the record that it is computed
    /// with, which differs from the others' in fa and so in temperatures at most.
    std::vector<InSituCalibration> points;
    /// The record that serves all points; nothing when their wind-off ratios differ.
    std::optional<paintFeatures> common;
};

struct JointOutcome {
    std::optional<JointCalibration> calibration;
    std::string reason;  ///< why there is none, for the user
};

/// One law fitted to the ports of several points: a polynomial in the ratio, or the constants of
/// the laboratory law that all points have (`options.law` does not count). Raises AlgoError for
/// options out of range.
JointOutcome calibrate_jointly(std::vector<SampledPoint> points, const InSituOptions& options);

}  // namespace vyn
