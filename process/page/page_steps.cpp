#include "process/page/page_steps.h"

#include <algorithm>

#include "process/point/save_image_task.h"

namespace vyn {

std::shared_ptr<Job> page_job(PageStep step, Session session,
                              const std::shared_ptr<RunReport>& report) {
    if (missing_for(step, session.data, session.images).empty()) {
        if (const auto goal = goal_of(step)) return calculate(*goal, session, report);
        if (step == PageStep::save_field) {
            auto job = std::make_shared<Job>();
            job->append(std::make_unique<SaveFieldTask>(session));
            return job;
        }
    }
    return std::make_shared<Job>();
}

bool replaces(PageStep step, const StepView& view, std::string_view result) {
    const auto goal = goal_of(step);
    if (!goal) return false;
    const std::vector<std::string> results = results_of(*goal, view);
    return std::ranges::find(results, result) != results.end();
}

}  // namespace vyn
