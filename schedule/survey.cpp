#include "schedule/survey.h"

#include <algorithm>
#include <array>

#include "api/parallel.h"
#include "schedule/point_lock.h"

namespace vyn {

using Kind = PointStatus::Kind;

namespace {
constexpr std::array kind_names{"waiting", "running", "done",        "beyond a limit",
                                "failed",  "aborted", "out of date", "skipped"};
}

const char* name(PointStatus::Kind kind) {
    return kind_names.at(static_cast<std::size_t>(kind));
}

namespace {

PointStatus look_at(const Schedule& schedule, const SchedulePoint& point,
                    const FigureLimits& limits, InputLook& look) {
    if (point.skip) return {Kind::skipped, {}, {}};
    const std::filesystem::path folder = schedule.folder_of(point);
    PointStatus status{Kind::waiting, {}, read_state(folder)};
    if (std::string holder = PointLock::holder_of(folder); !holder.empty()) {
        status.kind = Kind::running;
        status.reason = std::move(holder);
    } else if (status.state) {
        const PointState& state = *status.state;
        status.reason = change_since(state, point, look);
        if (state.outcome == PointState::Outcome::failed ||
            state.outcome == PointState::Outcome::aborted) {
            const bool failed = state.outcome == PointState::Outcome::failed;
            status.kind = failed ? Kind::failed : Kind::aborted;
            status.reason = state.reason;
        } else if (!status.reason.empty()) {
            status.kind = Kind::out_of_date;
        } else {
            status.kind = Kind::done;
            for (const std::string& figure : beyond_limits(state.figures, limits)) {
                status.kind = Kind::beyond;
                status.reason += (status.reason.empty() ? "" : "; ") + figure;
            }
        }
    }
    return status;
}

}  // namespace

PointStatus status_of(const Schedule& schedule, const SchedulePoint& point,
                      const FigureLimits& limits) {
    InputLook look;
    return look_at(schedule, point, limits, look);
}

std::vector<PointStatus> survey(const Schedule& schedule, const FigureLimits& limits) {
    constexpr int block = 500;  // each has its own look at the inputs
    std::vector<PointStatus> statuses(schedule.points.size());
    Progress unseen;
    parallel_rows(static_cast<int>(statuses.size()), block, unseen, [&](int first, int end) {
        InputLook look;
        for (auto i = static_cast<std::size_t>(first); i < static_cast<std::size_t>(end); ++i)
            statuses[i] = look_at(schedule, schedule.points[i], limits, look);
    });
    return statuses;
}

std::string summary_line(const std::vector<PointStatus>& statuses) {
    std::string line;
    for (std::size_t kind = 0; kind < kind_names.size(); ++kind) {
        const auto count =
            std::ranges::count(statuses, static_cast<Kind>(kind), &PointStatus::kind);
        if (count > 0)
            line += (line.empty() ? "" : ", ") + std::to_string(count) + " " + kind_names.at(kind);
    }
    return line.empty() ? "no points" : line;
}

}  // namespace vyn
