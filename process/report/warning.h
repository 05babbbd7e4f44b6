#pragma once

#include <string>
#include <vector>

namespace vyn {

/// What a warning is about; what a table of many points counts.
enum class WarningKind {
    alignment,           ///< the pictures could not be brought together, or not well
    markers,             ///< markers are missing, not found or outside their picture
    conditions,          ///< test conditions that cannot be right, unit names among them
    paint_range,         ///< outside of what the paint is calibrated for
    missing_correction,  ///< no dark image, no flat field
    saturation,
    settings,     ///< the project holds what no setting takes
    empty_image,  ///< no valid pixel is left
    out_of_date,  ///< a result that no longer follows from its sources
    failure       ///< the run ended early
};

/// Stable name, for files.
const char* name(WarningKind kind);

/// True for what a user should know of a result although it need not be wrong by it.
bool is_information(WarningKind kind);

/// For the user: what may make the result wrong.
struct Warning {
    WarningKind kind;
    std::string text;
    bool operator==(const Warning&) const = default;
};

/// As they are shown.
std::vector<std::string> texts(const std::vector<Warning>& warnings);

}  // namespace vyn
