#pragma once

#include <optional>
#include <string_view>

namespace vyn {

/// A moment as files and users write it.
struct ClockTime {
    double seconds = 0;  ///< since 1970 when dated, else since midnight or any other start
    bool dated = false;
};

/// Of "2024-05-31T14:03:20.5", with a blank or colons as pictures have them ("2024:05:31
/// 14:03:20"), of "14:03" and "14:03:20.5", and of plain seconds. A "Z" at the end has no effect.
/// Nothing for anything else, days and hours that there are not among them.
std::optional<ClockTime> parse_clock_time(std::string_view text);

/// Seconds from one moment to another. Where one of them has no date the other's time of day
/// counts.
double seconds_between(const ClockTime& from, const ClockTime& to);

}  // namespace vyn
