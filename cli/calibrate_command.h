#pragma once

#include <string>
#include <vector>

#include "calib/in_situ_calibration.h"
#include "cli/commands.h"

namespace vyn::cli {

/// What `calibrate` is asked for.
struct CalibrateOptions {
    std::vector<std::string> projects;
    std::vector<std::string> settings;
    std::string ports;
    InSituOptions law;
    std::string model = calibration_model_name(CalibrationModel::polynomial);
    bool terms_given = false;
    std::string wind_off_ratio = "unity";
    std::string calibration_file;
    std::string report;
    std::string results;
    bool accept = false;
    bool force = false;
};

/// The options that say what law is fitted.
CLI::Option* add_law_options(CLI::App& app, CalibrateOptions& options);

/// Fits a law to the ports of the projects, prints it and writes what is asked for. Raises
/// UsageError for options that do not go together, and what keeps the fit from going on.
ExitStatus calibrate(CalibrateOptions options);

}  // namespace vyn::cli
