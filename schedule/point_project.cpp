#include "schedule/point_project.h"

#include "core/project_file.h"
#include "schedule/point_settings.h"

namespace vyn {

namespace {
constexpr const char* file_name = "point.xml";
}

void write_point_project(const Schedule& schedule, const SchedulePoint& point) {
    simpleNamedDataSet data;
    put_point_settings(schedule, point, data);
    save_xml(data, (schedule.folder_of(point) / file_name).c_str());
}

ReadProject point_request(const Schedule& schedule, const SchedulePoint& point,
                          std::shared_ptr<RunReport> report) {
    ReadProject request;
    request.file = schedule.folder_of(point) / file_name;
    request.geometry = ReadProject::Geometry::if_named;
    if (is_container(point.base->file)) request.inputs = point.base->file;
    request.report = std::move(report);
    return request;
}

}  // namespace vyn
