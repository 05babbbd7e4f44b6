#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "core/clock_time.h"

namespace vyn {

/// The lamp's light over time, as a sensor beside it has measured it.
struct LampReadings {
    std::string file;
    struct Reading {
        ClockTime time;
        double light;  ///< above zero, any unit
    };
    std::vector<Reading> readings;  ///< in the order of their times
};

/// Reads a table with one reading a line, its time and its light, "," or ";" or blanks between
/// (times with a blank inside need one of the first two); lines in front that are no readings are
/// titles. Raises FileError naming file and line: no times, no light, light that is not positive,
/// times that do not rise, fewer than two readings.
LampReadings read_lamp_readings(const std::filesystem::path& file);

/// The light at a time, straight between readings. Raises AlgoError naming `what` when it lies
/// outside of the readings.
double light_at(const LampReadings& lamp, const ClockTime& time, const std::string& what);

}  // namespace vyn
