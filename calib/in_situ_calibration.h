#pragma once

#include <optional>
#include <string>

#include "calib/in_situ_fit.h"
#include "calib/paint.h"
#include "calib/port_sampling.h"

namespace vyn {

struct InSituOptions {
    int terms = 3;                     ///< of the law, 1 to 3
    int side = 5;                      ///< of the square averaged around each port, pixels
    std::string pressure_unit = "pa";  ///< of the ports; written into the record
};

struct InSituCalibration {
    PortSamples samples;
    InSituFit fit;  ///< has fewer terms than asked for when there are fewer points
    /// A record of defaults with the law in its first column.
    paintFeatures paint;
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

/// The same for points that were sampled before: the fit, the record and their log lines.
InSituOutcome calibrate_samples(PortSamples samples, const InSituOptions& options);

}  // namespace vyn
