#include "calib/record_file.h"

#include <algorithm>
#include <filesystem>
#include <locale>
#include <sstream>

#include "calib/record_fields.h"
#include "core/log.h"
#include "core/numbers.h"

namespace vyn {

namespace {

constexpr std::string_view missing = "no key";

void report(const IniFile& ini, std::string_view section, std::string_view key,
            const std::string& text, const std::string& what) {
    get_log().write(LogLevel::error, ini.file_name().string() + ": [" + std::string(section) +
                                         "] " + std::string(key) + "=" + text + what);
}

/// The number that the text begins with, as stream extraction in the C locale finds it.
template <class T>
T read_number(const IniFile& ini, std::string_view section, std::string_view key, T default_value,
              std::string (*normalise)(std::string)) {
    const std::string text = ini.get(section, key, missing);
    if (text.starts_with(missing)) return default_value;
    std::istringstream stream(normalise(text));
    stream.imbue(std::locale::classic());
    T value{};
    if (!(stream >> value)) {
        report(ini, section, key, text, " is not a number; the value stays unchanged");
        return default_value;
    }
    if (std::string rest; stream >> rest)
        report(ini, section, key, text, " goes on after the number; the rest is ignored");
    return value;
}

/// Whether the lines are those of a record or could become ones: a picture that is replaced by a
/// record must not keep its bytes before it.
bool is_record(const IniFile& ini) {
    static constexpr const char* sections[] = {"version", "camera", "paint", "Calibr",
                                               "Calibration"};
    return std::ranges::any_of(sections,
                               [&](const char* section) { return ini.has_section(section); });
}

}  // namespace

double read_double_key(const IniFile& ini, std::string_view section, std::string_view key,
                       double default_value) {
    return read_number(ini, section, key, default_value, [](std::string text) {
        std::replace(text.begin(), text.end(), ',', '.');
        return text;
    });
}

int read_int_key(const IniFile& ini, std::string_view section, std::string_view key,
                 int default_value) {
    return read_number(ini, section, key, default_value, [](std::string text) { return text; });
}

std::string format_record_number(double value) {
    std::string text = format_general(value, 16);
    std::replace(text.begin(), text.end(), '.', ',');
    return text;
}

void update_ini_file(const std::string& path, const std::function<void(IniFile&)>& fill) {
    std::error_code ignored;
    const bool is_new = !std::filesystem::exists(path, ignored);
    try {
        IniFile ini;
        ini.open(path, IniFile::Mode::read_write);
        if (!is_new && !is_record(ini)) ini.clear();
        fill(ini);
        ini.save();
    } catch (...) {
        if (is_new) std::filesystem::remove(path, ignored);
        throw;
    }
}

}  // namespace vyn
