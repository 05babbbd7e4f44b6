#include <QAbstractButton>

#include "api/image_list.h"
#include "core/data_set.h"
#include "core/ui/busy_box.h"
#include "process/chain.h"
#include "process/project_tasks.h"
#include "scripts/screenshots/scenes.h"

namespace vyn::screenshots {

namespace {

void run(Theatre& theatre, const std::shared_ptr<Job>& job) {
    theatre.worker.post(job, std::make_shared<TaskContext>());
    wait_for([&] { return theatre.worker.wait_done(0); }, "a job");
}

/// Something long to wait for.
class SlowTask final : public Task {
  public:
    TaskOutcome run(TaskContext& context) override {
        context.status("Filtering Wind On");
        for (int step = 0; step < 60 && !context.aborted(); ++step) {
            context.set_progress(0.3 + 0.005 * step);
            Thread::sleep(50);
        }
        return TaskOutcome::done;
    }
};

}  // namespace

}  // namespace vyn::screenshots
