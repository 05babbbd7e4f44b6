#include "calib/units.h"

#include <atomic>
#include <iostream>
#include <set>
#include <span>
#include <string_view>
#include <utility>

#include "core/log.h"

namespace vyn {

namespace {

/// unit value * scale + offset = base value (pascal, kelvin, metre)
struct Unit {
    std::string_view name;
    double scale;
    double offset = 0;
};

constexpr Unit unknown_unit{"", 1};

// "atm" is deliberately a bar, not the standard atmosphere.
constexpr Unit pressure_units[] = {
    {"bar", 100000},    {"atm", 100000},     {"kg/sm2", 98066.5},
    {"kg/m2", 9.80665}, {"mm_h2o", 9.80665}, {"mm_hg", 133.322},
    {"torr", 133.322},  {"psi", 6894.76},    {"pa", 1},
};
constexpr Unit psia{"psia", 6894.76};  // as source only

constexpr Unit temperature_units[] = {
    {"c", 1, 273.16},
    {"f", 0.5555555555555556, 255.382222},
    {"r", 1.8, 0},
    {"k", 1, 0},
};

constexpr Unit length_units[] = {{"mm", 0.001}, {"sm", 0.01}, {"dm", 0.1}, {"m", 1}, {"km", 1000}};

/// The lines told already, while a UnitMessagesOnce lives.
thread_local std::set<std::string>* told_once = nullptr;
std::atomic<UnitMessages> messages{UnitMessages::shown};
/// A UnitMessagesOff lives.
thread_local bool told_never = false;

const Unit* find(std::span<const Unit> units, std::string_view name) {
    for (const Unit& unit : units)
        if (unit.name == name) return &unit;
    return nullptr;
}

/// The unit of that name; an unknown one is reported and counts as the base unit.
const Unit& find_or_report(std::span<const Unit> units, const std::string& name,
                           const char* complaint) {
    if (const Unit* unit = find(units, name)) return *unit;
    if (told_never) return unknown_unit;
    const std::string line = name + ": " + complaint;
    if (told_once && !told_once->insert(line).second) return unknown_unit;
    if (messages == UnitMessages::shown) std::cerr << line + '\n' << std::flush;
    get_log().write(LogLevel::progress, line);
    return unknown_unit;
}

std::vector<std::string> names_of(std::span<const Unit> units) {
    std::vector<std::string> names;
    for (const Unit& unit : units)
        names.emplace_back(unit.name);
    return names;
}

}  // namespace

struct UnitMessagesOnce::Told {
    std::set<std::string> lines;
    std::set<std::string>* outer = told_once;
};

UnitMessagesOnce::UnitMessagesOnce() : told_(std::make_unique<Told>()) {
    told_once = &told_->lines;
}

UnitMessagesOnce::~UnitMessagesOnce() {
    told_once = told_->outer;
}

UnitMessagesOff::UnitMessagesOff() : outer_(std::exchange(told_never, true)) {}

UnitMessagesOff::~UnitMessagesOff() {
    told_never = outer_;
}

void set_unit_messages(UnitMessages where) {
    messages = where;
}

double convert_pressure(double value, const std::string& from, const std::string& to) {
    const Unit& source =
        from == psia.name ? psia : find_or_report(pressure_units, from, "Incorrect pressure unit");
    const Unit& target = find_or_report(pressure_units, to, "Incorrect new pressure unit");
    return value * source.scale / target.scale;
}

double convert_temperature(double value, const std::string& from, const std::string& to) {
    const Unit& source = find_or_report(temperature_units, from, "Incorrect temperature unit");
    const Unit& target = find_or_report(temperature_units, to, "Incorrect new temperature unit");
    return (source.scale * value + source.offset - target.offset) / target.scale;
}

double convert_length(double value, const std::string& from, const std::string& to) {
    const Unit& source = find_or_report(length_units, from, "Incorrect length unit");
    const Unit& target = find_or_report(length_units, to, "Incorrect new length unit");
    return value * source.scale / target.scale;
}

bool is_pressure_unit(const std::string& name) {
    return name == psia.name || find(pressure_units, name) != nullptr;
}

bool is_temperature_unit(const std::string& name) {
    return find(temperature_units, name) != nullptr;
}

std::vector<std::string> pressure_unit_names() {
    return names_of(pressure_units);
}

std::vector<std::string> temperature_unit_names() {
    return names_of(temperature_units);
}

std::vector<std::string> length_unit_names() {
    return names_of(length_units);
}

}  // namespace vyn
