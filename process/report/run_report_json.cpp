#include "process/report/run_report_json.h"

#include <cmath>
#include <cstdint>

#include <nlohmann/json.hpp>
#include <sys/resource.h>

#include "process/report/image_statistics.h"
#include "process/report/provenance.h"

namespace vyn {

using json = nlohmann::json;

namespace {

json image_json(const image& picture) {
    const ImageStatistics values = image_statistics(picture);
    json entry{{"width", picture.width()},
               {"height", picture.height()},
               {"valid_share", values.valid_share()},
               {"saturated_pixels", values.saturated},
               {"quantity", stored_name(picture.quantity)},
               {"unit", picture.unit}};
    if (values.valid > 0) {
        entry["minimum"] = values.minimum;
        entry["maximum"] = values.maximum;
        entry["mean"] = values.mean;
    }
    return entry;
}

json channels_json(const ChannelAlignment& channels) {
    json result{{"noise", ratio_of_ratios_noise}};
    if (channels.reference) result["reference_alignment"] = to_json(*channels.reference);
    if (channels.cameras) result["camera_alignment"] = to_json(*channels.cameras);
    if (channels.correlation) result["reference_correlation"] = to_json(*channels.correlation);
    if (channels.consistency)
        result["consistency_px"] = {{"points", channels.consistency->points},
                                    {"rms", channels.consistency->rms},
                                    {"max", channels.consistency->max}};
    return result;
}

/// The temperatures and pressures as they enter the law, and the law itself.
json conversion_json(const PreparedConversion& prepared) {
    const flowFeatures& flow = prepared.flow_in_paint_units;
    const PaintLaw& law = prepared.conversion.law;
    return {{"fa", prepared.conversion.wind_off_ratio},
            {"a", law.a},
            {"b", law.b},
            {"c", law.c},
            {"pressure_unit", flow.p_unit},
            {"temperature_unit", flow.t_unit},
            {"wind_off_p", flow.wind_off_p},
            {"static_p", flow.static_p},
            {"dynamic_p", flow.dynamic_p},
            {"wind_off_t", flow.wind_off_t},
            {"wind_on_t", flow.wind_on_t}};
}

json uncertainty_json(const UncertaintyBudget& budget) {
    json result{{"unit", budget.unit},          {"noise_source", noise_source_name(budget.noise)},
                {"median", budget.median},      {"quantile_95", budget.quantile_95},
                {"largest", budget.largest},    {"shot_noise_floor", budget.shot_noise_floor},
                {"valid_pixels", budget.valid}, {"too_noisy_pixels", budget.too_noisy},
                {"not_known", json::array()},   {"terms", json::object()}};
    if (!budget.registration_source.empty())
        result["registration"] = {{"source", budget.registration_source},
                                  {"typical_px", budget.registration_px}};
    for (const BudgetLine& line : budget.lines)
        if (line.known)
            result["terms"][sigma_term_name(line.term)] = {
                {"rms", line.rms}, {"share", line.share}, {"random", line.random}};
        else if (line.applies)
            result["not_known"].push_back(sigma_term_name(line.term));
    return result;
}

json temperature_json(const TemperatureReport& found) {
    json result{{"from", found.from},
                {"unit", found.span.unit},
                {"mean", found.span.mean},
                {"lowest", found.span.lowest},
                {"highest", found.span.highest}};
    if (found.alignment) result["alignment"] = to_json(*found.alignment);
    return result;
}

/// Most memory that the process has had in use so far.
std::int64_t peak_memory_bytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return std::int64_t{usage.ru_maxrss} * 1024;
}

const char* outcome_name(TaskOutcome outcome) {
    switch (outcome) {
        case TaskOutcome::idle:
            return "nothing to do";
        case TaskOutcome::done:
            return "done";
        case TaskOutcome::done_with_errors:
            return "done with errors";
        case TaskOutcome::failed:
            return "failed";
        case TaskOutcome::aborted:
            return "aborted";
    }
    return "";
}

}  // namespace

json to_json(const MarkerMatch& match) {
    json pairs = json::array();
    for (std::size_t i = 0; i < match.pairs.size(); ++i) {
        const MarkerPair& pair = match.pairs[i];
        json entry{{"id", pair.reference_id},
                   {"reference", {pair.reference.x, pair.reference.y}},
                   {"moved", {pair.moved.x, pair.moved.y}}};
        if (i < match.residuals.size())
            entry["residual"] = {match.residuals[i].x, match.residuals[i].y};
        pairs.push_back(std::move(entry));
    }
    json result{{"reference_markers", match.reference_count}, {"moved_markers", match.moved_count},
                {"pair_count", match.pairs.size()},           {"pairs", std::move(pairs)},
                {"underdetermined", match.underdetermined},   {"poor", match.poor}};
    json orders = json::array();
    for (const std::optional<double>& error : match.orders.leave_one_out)
        orders.push_back(error ? json(*error) : json());
    result["leave_one_out_px"] = std::move(orders);
    if (match.orders.suggested) result["suggested_order"] = *match.orders.suggested;
    if (!match.ok) {
        result["failure"] = match.failure;
        return result;
    }
    result["mean_square_error_px"] = match.mean_square_error;
    result["mean_absolute_error_px"] = match.mean_absolute_error;
    result["max_absolute_error_px"] = match.max_absolute_error;
    result["max_error_marker"] = match.max_error_marker;
    result["coefficients_per_axis"] = match.moved_from_reference.n;
    result["ax"] = match.moved_from_reference.ax;
    result["ay"] = match.moved_from_reference.ay;
    return result;
}

json to_json(const CorrelationReport& found) {
    const CorrelationStatistics& s = found.statistics;
    json result{{"cells", s.cells}, {"measured_cells", s.measured}};
    if (!found.failure.empty()) {
        result["failure"] = found.failure;
        return result;
    }
    result["no_texture_share"] = s.no_texture;
    result["median_displacement_px"] = s.median_displacement;
    result["largest_displacement_px"] = s.largest_displacement;
    result["change_by_iteration_px"] = s.changes;
    result["band_width_px"] = s.band_width;
    if (const auto& left = found.left_after_markers)
        result["left_after_markers_px"] = {
            {"rms", left->rms}, {"largest", left->largest}, {"at", {left->at.x, left->at.y}}};
    return result;
}

json to_json(const RunReport& report, const dataSetInterface& data, const imagesList& images,
             TaskOutcome outcome, const std::string& failure,
             const std::vector<StageTime>& stages) {
    json result = provenance(data, images);
    result["outcome"] = outcome_name(outcome);
    if (!failure.empty()) result["failure"] = for_report(failure, data, images);
    if (report.aligned) {
        result["aligned"] = unaligned_text(report).empty();
        result["poorly_aligned"] = poorly_aligned(report);
        result["aligned_by_copy"] = report.copied;
    }
    if (report.alignment) result["alignment"] = to_json(*report.alignment);
    if (report.correlation) result["correlation"] = to_json(*report.correlation);
    if (report.channels) result["channels"] = channels_json(*report.channels);
    if (report.light)
        result["light"] = {{"from", for_report(report.light->from, data, images)},
                           {"wind_on_over_wind_off", report.light->on_over_off},
                           {"relative_sigma", std::sqrt(report.light->variance)},
                           {"exposures", report.light->exposures}};
    if (report.temperature) {
        result["wind_on_temperature"] = temperature_json(*report.temperature);
        result["wind_on_temperature"]["from"] = for_report(report.temperature->from, data, images);
    }
    if (report.conversion) result["conversion"] = conversion_json(*report.conversion);
    if (report.uncertainty) result["uncertainty"] = uncertainty_json(*report.uncertainty);
    result["steps"] = report.steps;
    result["warnings"] = json::array();
    for (const Warning& warning : report.warnings)
        result["warnings"].push_back(for_report(warning.text, data, images));
    result["warning_kinds"] = json::array();
    for (const Warning& warning : report.warnings)
        result["warning_kinds"].push_back(name(warning.kind));

    json stage_list = json::array();
    double total = 0;
    for (const StageTime& stage : stages) {
        stage_list.push_back(
            {{"name", for_report(stage.name, data, images)}, {"seconds", stage.seconds}});
        total += stage.seconds;
    }
    result["stages"] = std::move(stage_list);
    result["seconds"] = total;
    result["peak_memory_bytes"] = peak_memory_bytes();

    json pictures = json::object();
    for (const auto& picture : images.all())
        pictures[picture->name] = image_json(*picture);
    result["images"] = std::move(pictures);
    if (!report.model.empty()) result.update(json::parse(report.model));
    return result;
}

}  // namespace vyn
