#include "process/steps/calibrate_task.h"

#include "api/image_list.h"
#include "process/steps/port_point.h"

namespace vyn {

TaskOutcome CalibrateTask::run(TaskContext& context) {
    context.status("Calculating calibration");
    const auto ratio = session_.images.find(image_names::ratio);
    *outcome_ = calibrate_in_situ(port_file_, ratio.get(), for_point(options_, session_));
    return TaskOutcome::done;
}

}  // namespace vyn
