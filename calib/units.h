#pragma once

#include <memory>
#include <string>
#include <vector>

namespace vyn {

/// Conversions between units by name. Names are compared exactly, letter case included. An unknown
/// name is reported as one line on the standard error stream and in the log, and converts with
/// factor 1 (offset 0).

/// Pressure: "bar", "atm" (deliberately equal to a bar), "kg/sm2", "kg/m2", "mm_h2o", "mm_hg",
/// "torr", "psi", "pa"; "psia" as source only.
double convert_pressure(double value, const std::string& from, const std::string& to);
/// Temperature: "c" (zero at 273.16 kelvin), "f", "r" (1.8 kelvin each), "k".
double convert_temperature(double value, const std::string& from, const std::string& to);
/// Length: "mm", "sm" (centimetre), "dm", "m", "km".
double convert_length(double value, const std::string& from, const std::string& to);

/// While it lives, the conversions of this thread report each unknown name once instead of every
/// time: for converting a whole record.
class UnitMessagesOnce {
  public:
    UnitMessagesOnce();
    ~UnitMessagesOnce();
    UnitMessagesOnce(const UnitMessagesOnce&) = delete;
    UnitMessagesOnce& operator=(const UnitMessagesOnce&) = delete;

  private:
    struct Told;
    std::unique_ptr<Told> told_;
};

/// While it lives, the conversions of this thread report nothing: for a preview that says itself
/// what it finds.
class UnitMessagesOff {
  public:
    UnitMessagesOff();
    ~UnitMessagesOff();
    UnitMessagesOff(const UnitMessagesOff&) = delete;
    UnitMessagesOff& operator=(const UnitMessagesOff&) = delete;

  private:
    bool outer_;
};

/// Whether complaints go to the standard error stream beside the log: a quiet program has them in
/// the log only.
enum class UnitMessages { shown, logged };
void set_unit_messages(UnitMessages where);

bool is_pressure_unit(const std::string& name);
bool is_temperature_unit(const std::string& name);

/// The names that can be converted to, in the order of the tables.
std::vector<std::string> pressure_unit_names();
std::vector<std::string> temperature_unit_names();
std::vector<std::string> length_unit_names();

}  // namespace vyn
