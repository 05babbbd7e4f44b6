#pragma once

#include <array>
#include <optional>
#include <string>

#include "calib/law_covariance.h"
#include "calib/record_file.h"
#include "core/data_set.h"

namespace vyn {

/// Calibration of a pressure-sensitive paint. gamma[i][j] is coefficient (i + 1)(j + 1): row =
/// power of the intensity ratio, column = power of the temperature; they yield pressures in
/// `pressure_unit` from temperatures in `temperature_unit`.
struct paintFeatures {
    LawCoefficients gamma{};
    std::string pressure_unit = "pa";
    double normalizing_pressure = 0;
    double minimal_pressure = 0;
    double maximal_pressure = 0;
    double tolerance_pressure = 0;  ///< a difference of pressures
    std::string temperature_unit = "c";
    double normalizing_temperature = 0;
    double minimal_temperature = 0;
    double maximal_temperature = 0;
    double tolerance_temperature = 0;  ///< a difference of temperatures
    std::string list_file;
    std::string sens_camera_file;
    std::string refe_camera_file;
    std::string dark_sens_file;
    std::string dark_refe_file;
    bool double_channel = false;
    /// Of gamma; nothing where nobody knows it.
    std::optional<LawCovariance> covariance = std::nullopt;

    bool operator==(const paintFeatures&) const = default;
};

/// Converts pressures and temperatures of the record in place. The coefficients are not changed.
void change_units(paintFeatures& record, const std::string& pressure_unit,
                  const std::string& temperature_unit);

/// Version of the calibration file read last; the writer writes that version. Empty at first.
std::string& paint_file_version();

/// Reads a "*.clb" file of any of the three versions; missing keys leave their fields unchanged. An
/// unknown version leaves the record unchanged. Raises FileError when the file cannot be read.
/// The covariance stands in a section of its own that readers of these versions pass over; one that
/// cannot be right is left out, which the log tells and `covariance_problem`, where it is not null,
/// with the name of the file.
RecordOutcome read_paint_calibration(const std::string& path, paintFeatures& record,
                                     std::string* covariance_problem);
RecordOutcome read_paint_calibration(const std::string& path, paintFeatures& record);
/// The record of such a file. Raises FileError, also for a file that holds none.
paintFeatures load_paint_calibration(const std::string& path);
/// Writes version 2.5 when the file read last was one, else 2.51; atomically. Raises FileError.
RecordOutcome write_paint_calibration(const std::string& path, const paintFeatures& record);

/// The record in a sub-tree ("project/sens_paint/") of the data set. Reading creates what is
/// absent, but not in constant settings.
void read(dataSetInterface& data, const std::string& tree, paintFeatures& record);
void read(const dataSetInterface& data, const std::string& tree, paintFeatures& record);
void write(dataSetInterface& data, const std::string& tree, const paintFeatures& record);

/// The covariance of these coefficients that the sub-tree's key "covariance" keeps; else a problem
/// that names the key, or neither where none is kept. Records are read without a wrong one.
KeptCovariance read_covariance(dataSetInterface& data, const std::string& tree,
                               const LawCoefficients& gamma);

}  // namespace vyn
