#include "schedule/figures.h"

#include <algorithm>
#include <cmath>

#include <sys/resource.h>

#include "calib/flow.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "core/quotes.h"
#include "core/spelling.h"
#include "process/point/raw_images.h"

namespace vyn {

namespace names = image_names;

namespace {

const FigureInfo* find_figure(std::string_view name) {
    const auto& table = figure_table();
    const auto found = std::ranges::find(table, name, &FigureInfo::name);
    return found == table.end() ? nullptr : &*found;
}

const StageCheck* stage(const PointCheck& check, std::string_view name) {
    const auto found = std::ranges::find(check.stages, name, &StageCheck::name);
    return found == check.stages.end() ? nullptr : &*found;
}

/// The largest share of saturated pixels in one of the camera's pictures.
double saturated_share(const PointCheck& check) {
    double share = 0;
    for (const StageCheck& picture : check.stages)
        if (std::ranges::any_of(raw_images(),
                                [&](const RawImage& raw) { return picture.name == raw.name; }))
            share = std::max(
                share, static_cast<double>(picture.values.saturated) /
                           static_cast<double>(std::max<std::int64_t>(picture.values.pixels, 1)));
    return share;
}

/// How bright the lamp was with wind beside without, by the means of the corrected pictures; of
/// the reference channel where there is one, which pressure leaves alone.
void put_lamp(const PointCheck& check, Figures& figures) {
    for (const auto& [on, off] : {std::pair{names::wind_on_refe_cor, names::wind_off_refe_cor},
                                  std::pair{names::wind_on_sens_cor, names::wind_off_sens_cor}}) {
        const StageCheck* const lit = stage(check, on);
        const StageCheck* const before = stage(check, off);
        if (!lit || !before || !(before->values.mean > 0)) continue;
        figures["lamp"] = lit->values.mean / before->values.mean;
        return;
    }
}

double peak_memory_megabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

}  // namespace

const std::vector<FigureInfo>& figure_table() {
    using Bad = FigureInfo::Bad;
    static const std::vector<FigureInfo> table{
        {"pairs", "pairs of markers", Bad::below},
        {"rms_px", "registration, root mean square, px", Bad::above},
        {"leave_one_out_px", "registration, leave-one-out, px", Bad::above},
        {"coverage", "share of the frame with a field", Bad::below},
        {"saturated", "share of saturated pixels", Bad::above},
        {"mean", "mean of the field", Bad::never},
        {"sigma", "uncertainty of the field (σ), median", Bad::above},
        {"ports_rms", "ports, root mean square", Bad::above},
        {"ports_bias", "ports, mean difference", Bad::never},
        {"lamp", "wind-on level over wind-off level", Bad::never},
        {"temperature", "wind-on temperature", Bad::never},
        {"warnings", "warnings", Bad::above},
        {"seconds", "time, s", Bad::above},
        {"memory_mb", "memory, MB", Bad::above}};
    return table;
}

Figures figures_of(const RunReport& report, const PointCheck& check, const Session& session,
                   double seconds) {
    Figures figures;
    if (report.alignment) {
        const MarkerMatch& match = *report.alignment;
        figures["pairs"] = static_cast<double>(match.pairs.size());
        if (match.ok) figures["rms_px"] = match.mean_square_error;
        const auto order =
            static_cast<std::size_t>(read(std::as_const(session.data), keys::markers_order));
        if (order < match.orders.leave_one_out.size() && match.orders.leave_one_out[order])
            figures["leave_one_out_px"] = *match.orders.leave_one_out[order];
    }
    if (const StageCheck* const field = stage(check, names::field)) {
        figures["coverage"] = field->values.valid_share();
        if (field->values.valid > 0) figures["mean"] = field->values.mean;
    }
    figures["saturated"] = saturated_share(check);
    if (check.uncertainty) figures["sigma"] = check.uncertainty->median;
    if (const auto& ports = check.ports.ports; !ports.empty()) {
        figures["ports_rms"] = check.ports.rms;
        double sum = 0;
        for (const PortCheck& port : ports)
            sum += port.difference();
        figures["ports_bias"] = sum / static_cast<double>(ports.size());
    }
    put_lamp(check, figures);
    flowFeatures flow;
    read(std::as_const(session.data), std::string(keys::flow), flow);
    if (flow.wind_on_t != 0) figures["temperature"] = flow.wind_on_t;
    figures["warnings"] = static_cast<double>(check.warnings.size());
    figures["seconds"] = seconds;
    figures["memory_mb"] = peak_memory_megabytes();
    std::erase_if(figures, [](const auto& figure) { return !std::isfinite(figure.second); });
    return figures;
}

FigureLimits usual_limits() {
    return {{"saturated", 0.01}};
}

void parse_limit(const std::string& text, FigureLimits& limits) {
    const std::size_t equals = text.find('=');
    const std::string name = text.substr(0, equals);
    const FigureInfo* const figure = find_figure(name);
    if (!figure || figure->bad == FigureInfo::Bad::never) {
        NearestWord word(name);
        std::string nearest;
        std::string all;
        for (const FigureInfo& known : figure_table()) {
            if (known.bad == FigureInfo::Bad::never) continue;
            if (word.offer(known.name)) nearest = known.name;
            all += (all.empty() ? "" : ", ") + std::string(known.name);
        }
        throw AlgoError("Algorithm error!",
                        in_quotes(name) + " has no limit; " +
                            (nearest.empty() ? "limits are " + all
                                             : "did you mean " + in_quotes(nearest) + "?"));
    }
    const std::optional<double> value =
        equals == std::string::npos ? std::nullopt : parse_double(text.substr(equals + 1));
    if (!value || !std::isfinite(*value))
        throw AlgoError("Algorithm error!", in_quotes(text) + ": expected NAME=NUMBER");
    limits[name] = *value;
}

bool is_beyond(const FigureInfo& figure, double value, const FigureLimits& limits) {
    const auto limit = limits.find(std::string(figure.name));
    if (limit == limits.end()) return false;
    return figure.bad == FigureInfo::Bad::above ? value > limit->second : value < limit->second;
}

std::vector<std::string> beyond_limits(const Figures& figures, const FigureLimits& limits) {
    std::vector<std::string> beyond;
    for (const auto& [name, value] : figures) {
        const FigureInfo* const figure = find_figure(name);
        if (figure && is_beyond(*figure, value, limits))
            beyond.push_back(
                std::string(figure->label) + " is " + format_general(value, 4) +
                (figure->bad == FigureInfo::Bad::above ? ", more than " : ", less than ") +
                format_general(limits.at(name), 4));
    }
    return beyond;
}

}  // namespace vyn
