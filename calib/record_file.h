#pragma once

#include <string>
#include <string_view>

#include "core/ini_file.h"

namespace vyn {

/// Numbers in record files carry a decimal comma.

/// The number under a key; the default when the key is missing. A number that does not parse gives
/// the default and a log line with file, section, key and text.
double read_double_key(const IniFile& ini, std::string_view section, std::string_view key,
                       double default_value);
int read_int_key(const IniFile& ini, std::string_view section, std::string_view key,
                 int default_value);

/// 16 significant digits, general notation, decimal comma.
std::string format_record_number(double value);

/// What became of a record file. The operations raise nothing but errors of file access; the rest
/// is told here, and on the standard error stream where stated.
enum class RecordOutcome {
    done,
    no_path,
    unknown_version,
    no_record,  ///< the file has no section of this record
};

}  // namespace vyn
