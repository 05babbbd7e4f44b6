#include "calib/camera.h"
#include "calib/camera_fields.h"
#include "calib/record_fields.h"

namespace vyn {

namespace {

constexpr const char* section = "camera";

}  // namespace

RecordOutcome read_camera(const std::string& path, cameraFeatures& record) {
    if (path.empty()) return RecordOutcome::no_path;
    IniFile ini;
    ini.open(path, IniFile::Mode::read_only);
    record.flat_file.clear();  // unlike the other fields it does not outlive a missing key
    for_each_field(record,
                   [&](const char* key, auto& field) { read_field(ini, section, key, field); });
    record.camera = path;
    return ini.has_section(section) ? RecordOutcome::done : RecordOutcome::no_record;
}

RecordOutcome write_camera(const std::string& path, const cameraFeatures& record) {
    if (path.empty()) return RecordOutcome::no_path;
    update_ini_file(path, [&](IniFile& ini) {
        for_each_field(record, [&](const char* key, const auto& field) {
            write_field(ini, section, key, field);
        });
    });
    return RecordOutcome::done;
}

}  // namespace vyn
