#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vyn {

/// One measurement of a paint in a calibration cell.
struct PaintSample {
    double pressure = 0;     ///< pascal
    double temperature = 0;  ///< degrees Celsius
    double ratio = 0;        ///< intensity at the reference over that at pressure and temperature
    int line = 0;            ///< of the file
};

struct PaintTable {
    std::vector<PaintSample> samples;
    std::vector<std::string> remarks;  ///< what was taken for granted, for the user
};

/// Units of a table that names none; the table's own come first.
struct PaintTableUnits {
    std::string pressure = "pa";
    std::string temperature = "c";
};

/// Whether a table's unit is known, letters of either case: those of the unit tables, kPa, hPa and
/// mbar.
bool is_table_pressure_unit(const std::string& name);
bool is_table_temperature_unit(const std::string& name);

/// Reads a table of text: columns apart by tabs, semicolons or commas (decimal commas in the first
/// two cases). A head names the columns P, T and R (also Pressure, Temperature, Ratio, I0/I, or
/// I/I0 for its inverse) in any order among others, with units in brackets or in the line below;
/// without a head pressure, temperature and ratio come first. Lines that begin with "#" are
/// comments. Raises FileError naming file and line for what is no measurement.
PaintTable read_paint_table(const std::filesystem::path& file, const PaintTableUnits& units = {});

}  // namespace vyn
