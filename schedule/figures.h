#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "process/point/session.h"
#include "process/report/point_check.h"

namespace vyn {

/// What a run's tables tell of a point, by short name.
using Figures = std::map<std::string, double>;

/// A figure: its name, its label with unit, and the side on which a point is beyond its limit.
struct FigureInfo {
    enum class Bad { above, below, never };
    std::string_view name;
    std::string_view label;
    Bad bad;
};

const std::vector<FigureInfo>& figure_table();

/// The figures of a point that was computed: those that it has.
Figures figures_of(const RunReport& report, const PointCheck& check, const Session& session,
                   double seconds);

/// Limits by name of the figure.
using FigureLimits = std::map<std::string, double>;

/// Limits with those that hold when nothing else is said: 1 % of the pixels saturated.
FigureLimits usual_limits();

/// "rms_px=0.5" put into the limits. Raises AlgoError telling what is wrong.
void parse_limit(const std::string& text, FigureLimits& limits);

/// The figures that are beyond a limit, each as half a sentence.
std::vector<std::string> beyond_limits(const Figures& figures, const FigureLimits& limits);

/// True for a figure beyond its limit.
bool is_beyond(const FigureInfo& figure, double value, const FigureLimits& limits);

}  // namespace vyn
