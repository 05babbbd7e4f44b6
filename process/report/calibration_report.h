#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "api/image_list.h"
#include "calib/in_situ_calibration.h"
#include "calib/paint_law.h"
#include "core/data_set.h"

namespace vyn {

/// An in-situ calibration with what it means for the field of its project.
struct CalibrationReport {
    std::string name;  ///< of the project, where there are several
    std::string port_file;
    InSituOptions options;  ///< as asked for
    InSituCalibration calibration;
    bool wind_off = true;                 ///< the ratio has wind-off pictures
    WindOffRule rule = WindOffRule::law;  ///< of the point
    PreparedConversion conversion;        ///< of pressure by the new law, fa found by the law
    std::vector<std::string> remarks;     ///< for the user, one sentence each
};

/// Puts the new law to the test conditions of the project, as the field computation would.
CalibrationReport report_calibration(const dataSetInterface& data, const imagesList& images,
                                     std::string port_file, const InSituOptions& options,
                                     InSituCalibration calibration);

/// Of several points with one law: the ports of each, with its residuals.
std::string to_text(const std::vector<CalibrationReport>& points);
nlohmann::json to_json(const std::vector<CalibrationReport>& points);

/// As a table for reading.
std::string to_text(const CalibrationReport& report);
nlohmann::json to_json(const CalibrationReport& report);

/// The points as comma-separated values with the heads "Number", "I0/I" and "P"; numbers read back
/// to the same bits.
std::string results_file(const std::vector<CalibrationPoint>& points);

}  // namespace vyn
