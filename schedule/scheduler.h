#pragma once

#include <functional>
#include <string>
#include <vector>

#include "schedule/compute_point.h"

namespace vyn {

/// The part i of n of all points, i from 1: what one of n machines takes.
struct Shard {
    int number = 1;
    int count = 1;
};

/// How points are computed.
struct ComputeRequest {
    int jobs = 0;     ///< points at a time; 0: one for each core
    int threads = 0;  ///< of each; 0: the cores, shared out
    Shard shard{};
    bool resume = false;  ///< leave out what is done and unchanged
    Unaligned unaligned = Unaligned::refused;
};

/// What became of a point in a run of the scheduler.
enum class Taken {
    computed,  ///< here; the state tells how it ended
    kept,      ///< done before, and unchanged
    elsewhere  ///< another scheduler computes it, or did so meanwhile
};

/// Is told how points get on, in the scheduler's thread.
class ScheduleObserver {
  public:
    virtual ~ScheduleObserver() = default;
    virtual void started(const SchedulePoint& /*point*/) {}
    /// `state` as it stands in the point's folder; without one when nobody knows yet.
    virtual void finished(const SchedulePoint& /*point*/, Taken /*how*/,
                          const PointState* /*state*/, const std::string& /*note*/) {}
    /// True stops: running points are aborted, no further one is begun.
    virtual bool aborted() const { return false; }
    /// Called first in the process of a point.
    virtual void in_process_of_point() {}
};

/// Computes points, each in a process of its own, so that memory and failures stay apart. What
/// they share is computed before the processes part, so that each has it without computing or
/// copying. Each point's messages go to log.txt in its folder.
///
/// The calling process must have no other threads. Points of the schedule that are to be skipped
/// are left out. Raises FileError when the folder of the results cannot be made, and when its disk
/// is full: the points done so far are whole.
void compute_points(const Schedule& schedule, const std::vector<const SchedulePoint*>& points,
                    const ComputeRequest& request, ScheduleObserver& observer);

}  // namespace vyn
