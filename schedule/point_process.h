#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <sys/types.h>

#include "schedule/point_lock.h"
#include "schedule/point_state.h"

namespace vyn {

/// A point being computed in a process of its own, which ends with this one.
class PointProcess {
  public:
    /// Starts it; `compute` runs there, its messages go to log.txt in the point's folder. Raises
    /// SystemError when there can be no further process.
    PointProcess(const Schedule& schedule, const SchedulePoint& point, PointLock lock,
                 const std::function<PointState()>& compute);
    ~PointProcess();
    PointProcess(const PointProcess&) = delete;
    PointProcess& operator=(const PointProcess&) = delete;

    const SchedulePoint& point() const { return point_; }
    /// For poll(): readable when there is something for `take`.
    int descriptor() const { return pipe_; }
    void touch() const { lock_.touch(); }
    void ask_to_stop() const;

    /// Takes what the process told. When it has ended: how, with the state in its folder.
    std::optional<PointState> take();

  private:
    PointState state_without_answer(int status) const;

    const Schedule& schedule_;
    const SchedulePoint& point_;
    PointLock lock_;
    pid_t process_ = -1;
    int pipe_ = -1;
    std::string answer_;
};

}  // namespace vyn
