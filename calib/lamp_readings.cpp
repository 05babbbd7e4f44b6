#include "calib/lamp_readings.h"

#include <algorithm>
#include <fstream>
#include <optional>

#include "core/errors.h"
#include "core/numbers.h"

namespace vyn {

namespace {

constexpr std::size_t most_readings = 10'000'000;

[[noreturn]] void refuse(const std::filesystem::path& file, std::size_t line,
                         const std::string& what) {
    throw FileError("File error!", file.string() + ", line " + std::to_string(line) + ": " + what);
}

/// The two first cells of a line.
struct Cells {
    std::string_view time;
    std::string_view light;
};

Cells cells_of(std::string_view line) {
    const std::size_t comma = line.find_first_of(",;");
    const std::size_t cut = comma != std::string_view::npos ? comma : line.find_first_of(" \t");
    if (cut == std::string_view::npos) return {line, {}};
    std::string_view rest = trim(line.substr(cut + 1));
    rest = rest.substr(0, rest.find_first_of(comma != std::string_view::npos ? ",;" : " \t"));
    return {trim(line.substr(0, cut)), trim(rest)};
}

}  // namespace

LampReadings read_lamp_readings(const std::filesystem::path& file) {
    std::ifstream stream(file);
    if (!stream) throw FileError("Can't open file for reading!", file.string());
    LampReadings lamp;
    lamp.file = file.string();
    std::string text;
    for (std::size_t line = 1; std::getline(stream, text); ++line) {
        if (trim(text).empty() || trim(text).front() == '#') continue;
        const Cells cells = cells_of(trim(text));
        const std::optional<ClockTime> time = parse_clock_time(cells.time);
        const std::optional<double> light = parse_double(cells.light);
        if (!time && !light && lamp.readings.empty()) continue;
        if (!time || cells.light.empty())
            refuse(file, line,
                   "a reading without a time; each line holds the time and the lamp's light");
        if (!light || !(*light > 0)) refuse(file, line, "the lamp's light is no number above zero");
        if (!lamp.readings.empty()) {
            const ClockTime& last = lamp.readings.back().time;
            if (last.dated != time->dated || !(seconds_between(last, *time) > 0))
                refuse(file, line, "its time is not later than that of the line before");
        }
        if (lamp.readings.size() == most_readings) refuse(file, line, "too many readings");
        lamp.readings.push_back({*time, *light});
    }
    if (lamp.readings.size() < 2)
        throw FileError("File error!",
                        file.string() + ": fewer than two readings of the lamp with their times");
    return lamp;
}

double light_at(const LampReadings& lamp, const ClockTime& time, const std::string& what) {
    const auto& readings = lamp.readings;
    const auto since_start = [&](const ClockTime& at) {
        return seconds_between(readings.front().time, at);
    };
    const double wanted = since_start(time);
    const auto next = std::ranges::upper_bound(
        readings, wanted, {}, [&](const auto& reading) { return since_start(reading.time); });
    const bool at_end = next == readings.end() && wanted == since_start(readings.back().time);
    if (at_end) return readings.back().light;
    if (next == readings.begin() || next == readings.end())
        throw AlgoError("Algorithm error!",
                        lamp.file + ": no readings of the lamp at the time of " + what);
    const auto& before = *(next - 1);
    const double share =
        seconds_between(before.time, time) / seconds_between(before.time, next->time);
    return before.light + share * (next->light - before.light);
}

}  // namespace vyn
