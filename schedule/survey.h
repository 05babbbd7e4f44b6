#pragma once

#include <optional>
#include <string>
#include <vector>

#include "schedule/point_state.h"

namespace vyn {

/// How a point of a schedule stands.
struct PointStatus {
    enum class Kind {
        waiting,  ///< never computed
        running,  ///< a scheduler holds it, here or elsewhere
        done,
        beyond,  ///< done, and a figure is beyond its limit
        failed,
        aborted,
        out_of_date,  ///< computed, but its row, base or an input changed since
        skipped       ///< the table says so
    };
    Kind kind = Kind::waiting;
    std::string reason;  ///< of what is not as it should be; who holds a running one
    std::optional<PointState> state;
};

const char* name(PointStatus::Kind kind);

/// True for a point of whose result nothing bad is known.
inline bool is_good(PointStatus::Kind kind) {
    return kind == PointStatus::Kind::done || kind == PointStatus::Kind::skipped;
}

/// Looks at the disk: at the states, locks and input files.
PointStatus status_of(const Schedule& schedule, const SchedulePoint& point,
                      const FigureLimits& limits);

/// Of all points, in their order; on several threads.
std::vector<PointStatus> survey(const Schedule& schedule, const FigureLimits& limits);

/// "57 done, 3 failed, ..." with what there is only.
std::string summary_line(const std::vector<PointStatus>& statuses);

}  // namespace vyn
