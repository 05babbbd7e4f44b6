#include "schedule/point_project.h"

#include "core/errors.h"
#include "core/project_file.h"
#include "schedule/point_settings.h"
#include "schedule/point_state.h"

namespace vyn {

namespace {
constexpr const char* project_file = "point.xml";
}

void write_point_project(const Schedule& schedule, const SchedulePoint& point) {
    simpleNamedDataSet data;
    put_point_settings(schedule, point, data);
    save_xml(data, (schedule.folder_of(point) / project_file).c_str());
}

std::filesystem::path project_of_point(const Schedule& schedule, const SchedulePoint& point) {
    const std::filesystem::path folder = schedule.folder_of(point);
    std::error_code failed;
    std::filesystem::create_directories(folder, failed);
    if (failed)
        throw FileError("Can't open file for writing!", folder.string() + ": " + failed.message());
    const std::optional<PointState> state = read_state(folder);
    if (!std::filesystem::exists(folder / project_file, failed) || !state ||
        state->digest != point.digest)
        write_point_project(schedule, point);
    return folder / project_file;
}

ReadProject point_request(const Schedule& schedule, const SchedulePoint& point,
                          std::shared_ptr<RunReport> report) {
    ReadProject request;
    request.file = schedule.folder_of(point) / project_file;
    request.geometry = ReadProject::Geometry::if_named;
    if (is_container(point.base->file)) request.inputs = point.base->file;
    request.report = std::move(report);
    return request;
}

}  // namespace vyn
