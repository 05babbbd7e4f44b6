#include "schedule/summary.h"

#include <algorithm>

#include "core/numbers.h"

namespace vyn {

std::string summary_csv(const Schedule& schedule, const std::vector<PointStatus>& statuses) {
    Table table;
    table.heads = {"point", "group", "state", "reason", "started", "finished", "host", "quantity"};
    for (const FigureInfo& figure : figure_table())
        table.heads.emplace_back(figure.name);
    for (std::size_t i = 0; i < statuses.size(); ++i) {
        const SchedulePoint& point = schedule.points[i];
        const PointState state = statuses[i].state.value_or(PointState{});
        std::vector<std::string> cells{point.name,         point.group,   name(statuses[i].kind),
                                       statuses[i].reason, state.started, state.finished,
                                       state.host,         state.quantity};
        for (const FigureInfo& figure : figure_table()) {
            const auto value = state.figures.find(std::string(figure.name));
            cells.push_back(value == state.figures.end() ? "" : format_double(value->second));
        }
        table.rows.push_back({static_cast<int>(i) + 2, std::move(cells)});
    }
    return csv_text(table);
}

}  // namespace vyn
