#include "core/clock_time.h"

#include <chrono>
#include <cmath>

#include "core/numbers.h"

namespace vyn {

namespace {

constexpr double day = 86400;

/// The number before `separator`, which is taken off with it; the whole text without one.
std::optional<double> take_number(std::string_view& text, char separator) {
    const std::size_t end = text.find(separator);
    const std::optional<double> number = parse_double(text.substr(0, end));
    text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
    return number && std::isfinite(*number) ? number : std::nullopt;
}

/// Of "14:03:20.5".
std::optional<double> time_of_day(std::string_view text) {
    const auto hours = take_number(text, ':');
    if (text.empty()) return std::nullopt;
    const auto minutes = take_number(text, ':');
    const auto seconds = text.empty() ? std::optional(0.0) : take_number(text, ':');
    const bool sound = hours && minutes && seconds && *hours >= 0 && *hours < 24 && *minutes >= 0 &&
                       *minutes < 60 && *seconds >= 0 && *seconds < 61 && text.empty();
    if (!sound) return std::nullopt;
    return *hours * 3600 + *minutes * 60 + *seconds;
}

/// Seconds since 1970 of "2024-05-31".
std::optional<double> date(std::string_view text, char separator) {
    const auto year = take_number(text, separator);
    const auto month = take_number(text, separator);
    const auto date = take_number(text, separator);
    if (!year || !month || !date || !text.empty() || *year < 1900 || *year > 9999) return {};
    const std::chrono::year_month_day found{std::chrono::year(static_cast<int>(*year)),
                                            std::chrono::month(static_cast<unsigned>(*month)),
                                            std::chrono::day(static_cast<unsigned>(*date))};
    if (!found.ok()) return std::nullopt;
    return static_cast<double>(std::chrono::sys_days(found).time_since_epoch().count()) * day;
}

}  // namespace

std::optional<ClockTime> parse_clock_time(std::string_view text) {
    text = trim(text);
    if (text.ends_with('Z')) text.remove_suffix(1);
    if (const auto seconds = parse_double(text); seconds && std::isfinite(*seconds))
        return ClockTime{*seconds, false};
    constexpr std::size_t date_length = 10;
    const bool dated = text.size() > date_length && (text[4] == '-' || text[4] == ':') &&
                       (text[date_length] == 'T' || text[date_length] == ' ');
    const auto time = time_of_day(dated ? text.substr(date_length + 1) : text);
    if (!time) return std::nullopt;
    if (!dated) return ClockTime{*time, false};
    const auto start = date(text.substr(0, date_length), text[4]);
    if (!start) return std::nullopt;
    return ClockTime{*start + *time, true};
}

double seconds_between(const ClockTime& from, const ClockTime& to) {
    const auto in_day = [](const ClockTime& time) {
        return time.dated ? std::fmod(time.seconds, day) : time.seconds;
    };
    return from.dated == to.dated ? to.seconds - from.seconds : in_day(to) - in_day(from);
}

}  // namespace vyn
