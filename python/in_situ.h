#pragma once

#include <filesystem>

#include "calib/in_situ_calibration.h"

namespace vyn::python {

/// Fits a law to ports on a ratio image, which may be null, without the interpreter's lock. Raises
/// AlgoError with the reason when there is no calibration.
InSituCalibration calibrated(const std::filesystem::path& ports,
                             const std::shared_ptr<const image>& ratio,
                             const InSituOptions& options);

}  // namespace vyn::python
