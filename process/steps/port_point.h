#pragma once

#include <string>

#include "calib/in_situ_calibration.h"
#include "process/point/session.h"

namespace vyn {

/// The project's law as the test point takes it: its conditions, its wind-off ratio, and how sure
/// they are by the settings of the uncertainty.
LawAtPoint law_at_point(const dataSetInterface& data, const imagesList& images);

/// For an in-situ calibration of the point: as asked for, with the project's law where the model is
/// one of its constants.
InSituOptions for_point(InSituOptions options, const Session& session);

/// The ports of the point on its ratio image, which was computed before, for `calibrate_jointly`.
/// Raises AlgoError in the words of `read_ports` when they cannot be calibrated with.
SampledPoint port_point(const Session& session, const std::string& name,
                        const std::string& port_file, const InSituOptions& options);

/// Stores a calibration that was accepted: the paint record and whether fa of the field is 1
/// ("unity") or by the law ("law"). Its covariance holds what the errors of lamp and wind-on
/// temperature leave (`uncertainty_at_ports`).
void store_calibration(dataSetInterface& data, const InSituCalibration& calibration,
                       const std::string& wind_off_ratio);

}  // namespace vyn
