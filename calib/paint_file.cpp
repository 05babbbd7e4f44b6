#include <algorithm>
#include <iostream>
#include <sstream>

#include "calib/paint.h"
#include "calib/paint_fields.h"
#include "calib/record_fields.h"
#include "core/log.h"

namespace vyn {

namespace {

constexpr const char* version_2_5 = "2.5";
constexpr const char* version_2_51 = "2.51";
constexpr const char* unversioned_section = "Calibration";
constexpr const char* section_2_5 = "Calibr";
constexpr const char* section_2_51 = "paint";
constexpr const char* test_section = "test";
constexpr const char* covariance_section = "covariance";
/// Of the coefficients that the covariance belongs to, then of its rows.
constexpr const char* covariance_keys[] = {"law",     "gamma11", "gamma12", "gamma13", "gamma21",
                                           "gamma22", "gamma23", "gamma31", "gamma32", "gamma33"};

/// A file without such a section has a law without covariance.
std::string read_covariance(const IniFile& ini, paintFeatures& record) {
    std::string text;
    for (const char* key : covariance_keys)
        text += ini.get(covariance_section, key, "") + ' ';
    KeptCovariance kept = parse_covariance(text, record.gamma);
    record.covariance = kept.covariance;
    if (kept.problem.empty()) return {};
    return ini.file_name().string() + ": the section [" + covariance_section +
           "] is not used, and the law's uncertainty is not known: " + kept.problem;
}

void write_covariance(IniFile& ini, const paintFeatures& record) {
    if (!record.covariance) {
        if (ini.has_section(covariance_section)) ini.remove_section(covariance_section);
        return;
    }
    std::string text = format_covariance(record.gamma, *record.covariance);
    std::ranges::replace(text, '.', ',');
    std::istringstream words(text);
    for (const char* key : covariance_keys) {
        std::string line;
        for (int i = 0; i < 9; ++i) {
            std::string word;
            words >> word;
            line += (i > 0 ? " " : "") + word;
        }
        ini.set(covariance_section, key, line);
    }
}

void read_old_format(const IniFile& ini, const char* section, paintFeatures& record) {
    for_each_calibration_field(record, [&](const PaintKey& key, auto& field) {
        if (key.old_name) read_field(ini, section, key.old_name, field);
    });
}

void write_2_5(IniFile& ini, const paintFeatures& record) {
    ini.set("Version", "Head", version_2_5);
    for_each_calibration_field(record, [&](const PaintKey& key, const auto& field) {
        if (key.old_name) write_field(ini, section_2_5, key.old_name, field);
    });
}

void read_2_51(const IniFile& ini, paintFeatures& record) {
    for_each_calibration_field(record, [&](const PaintKey& key, auto& field) {
        read_field(ini, section_2_51, key.name, field);
    });
    for_each_test_field(
        record, [&](const char* key, auto& field) { read_field(ini, test_section, key, field); });
}

void write_2_51(IniFile& ini, const paintFeatures& record) {
    ini.set("version", "head", version_2_51);
    // Coefficients of an older format would contradict these.
    for (const char* old : {section_2_5, unversioned_section})
        ini.remove_section(old);
    for_each_calibration_field(record, [&](const PaintKey& key, const auto& field) {
        write_field(ini, section_2_51, key.name, field);
    });
    // A test that the file names and the record no longer does must not come back.
    if (record.list_file.empty() && !ini.find(test_section, "list_file")) return;
    for_each_test_field(record, [&](const char* key, const auto& field) {
        write_field(ini, test_section, key, field);
    });
}

}  // namespace

std::string& paint_file_version() {
    static std::string version;
    return version;
}

paintFeatures load_paint_calibration(const std::string& path) {
    paintFeatures record;
    const RecordOutcome outcome = read_paint_calibration(path, record);
    if (outcome == RecordOutcome::unknown_version) throw FileError("Unknown file version", path);
    if (outcome == RecordOutcome::no_record)
        throw FileError("File error!",
                        path + ": not a paint calibration file, it has no section of one");
    return record;
}

RecordOutcome read_paint_calibration(const std::string& path, paintFeatures& record) {
    return read_paint_calibration(path, record, nullptr);
}

RecordOutcome read_paint_calibration(const std::string& path, paintFeatures& record,
                                     std::string* covariance_problem) {
    if (path.empty()) return RecordOutcome::no_path;
    IniFile ini;
    ini.open(path, IniFile::Mode::read_only);
    std::string& version = paint_file_version();
    version = ini.get("Version", "Head", "");
    const char* section = nullptr;
    if (version.empty()) {
        section = unversioned_section;
        read_old_format(ini, section, record);
    } else if (version == version_2_5) {
        section = section_2_5;
        read_old_format(ini, section, record);
    } else if (version == version_2_51) {
        section = section_2_51;
        read_2_51(ini, record);
    } else {
        std::cerr << "Unknown file version\n" << std::flush;
        get_log().write(LogLevel::progress, path + ": Unknown file version " + version);
        return RecordOutcome::unknown_version;
    }
    if (!ini.has_section(section)) return RecordOutcome::no_record;
    const std::string problem = read_covariance(ini, record);
    if (!problem.empty()) get_log().write(LogLevel::error, problem);
    if (covariance_problem) *covariance_problem = problem;
    return RecordOutcome::done;
}

RecordOutcome write_paint_calibration(const std::string& path, const paintFeatures& record) {
    if (path.empty()) return RecordOutcome::no_path;
    std::string& version = paint_file_version();
    if (version.empty()) version = version_2_51;
    update_ini_file(path, [&](IniFile& ini) {
        if (version == version_2_5)
            write_2_5(ini, record);
        else
            write_2_51(ini, record);
        write_covariance(ini, record);
    });
    return RecordOutcome::done;
}

}  // namespace vyn
