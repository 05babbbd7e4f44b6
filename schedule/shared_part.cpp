#include "schedule/shared_part.h"

#include <algorithm>

#include "core/errors.h"
#include "core/keys.h"
#include "core/log.h"
#include "process/model/mesh_cache.h"
#include "process/point/find_markers_task.h"
#include "process/point/input_files.h"
#include "process/steps/chain.h"
#include "process/steps/result_state.h"
#include "process/steps/step_table.h"
#include "schedule/point_project.h"

namespace vyn {

namespace {

/// Settings of wind-on pictures; dark images are shared even so.
bool is_of_wind_on(std::string_view path) {
    return path.find("/wind_on_") != std::string_view::npos && !path.ends_with("_dark_file");
}

/// What is done here for the points, they tell in their own logs.
class Unheard {
  public:
    Unheard() { get_log_mgr().set_level(LogLevel::fatal); }
    ~Unheard() { get_log_mgr().set_level(before_); }
    Unheard(const Unheard&) = delete;
    Unheard& operator=(const Unheard&) = delete;

  private:
    LogLevel before_ = get_log_mgr().level();
    UnloggedErrors errors_;
};

/// The corrections of wind-off pictures, one by one, so that each has its own warnings.
void correct(Session session, TaskContext& context, SharedPart& shared) {
    for (const StepId id : steps_of(Goal::correct_wind_off, view_of(session))) {
        const auto report = std::make_shared<RunReport>();
        Alignment unused;
        const Step& step = step_of(id);
        const StepFacts facts = step.facts(view_of(session));
        if (!session.images.find(facts.takes.front().name)) continue;
        step.run({step, session, context, *report, unused});
        const auto picture = session.images.find(facts.gives.front().name);
        if (picture) shared.corrected.push_back({id, picture, report->warnings});
    }
}

}  // namespace

std::string share_key(const SchedulePoint& point) {
    std::string key = point.base->file.string() + (point.auto_markers ? "\n+" : "\n-");
    for (const auto& [path, value] : point.settings)
        if (!is_of_wind_on(path) && !path.starts_with(keys::flow) &&
            path != keys::test_point_id.path)
            key.append("\n").append(path).append("=").append(format_setting(value));
    return key;
}

SharedPart make_shared_part(const Schedule& schedule, const SchedulePoint& point,
                            TaskContext& context) {
    SharedPart shared;
    try {
        const Unheard told_by_the_points;
        OwnSession own;
        const Session session = own.get();
        write_point_project(schedule, point);
        ReadProject request = point_request(schedule, point, std::make_shared<RunReport>());
        for (const RawImage& raw : raw_images())
            if (is_of_wind_on(raw.file.path))
                request.settings.emplace_back(raw.file.path, any(std::string()));
        ReadProjectTask(session, std::move(request)).run(context);
        if (point.auto_markers) {
            const auto report = std::make_shared<RunReport>();
            if (FindMarkersTask(session, {}, report).run(context) == TaskOutcome::failed)
                return shared;
        }
        correct(session, context, shared);
        for (const auto& picture : session.images.all())
            if (input_of_image(picture->name)) shared.loaded.push_back(picture);
        if (session.field.has_data()) prepare_once(session.field, context);
    } catch (const GenericError& error) {
        get_log().write(LogLevel::information,
                        std::string("Nothing is shared among points: ") + error.what());
    }
    return shared;
}

std::vector<StepId> take_shared_part(const SharedPart& shared, const Session& session,
                                     RunReport& report) {
    std::vector<StepId> done;
    for (const SharedPart::Corrected& corrected : shared.corrected) {
        session.images.add(corrected.picture);
        const std::string& name = corrected.picture->name;
        if (ImageStates(session.data, session.images).of(name).kind != ImageState::Kind::current) {
            session.images.remove(name);
            continue;
        }
        report.warnings.insert(report.warnings.end(), corrected.warnings.begin(),
                               corrected.warnings.end());
        done.push_back(corrected.step);
    }
    return done;
}

}  // namespace vyn
