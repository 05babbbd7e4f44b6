#include "process/report/run_report.h"

#include <algorithm>
#include <cstring>

#include "core/log.h"
#include "core/numbers.h"

namespace vyn {

namespace {

std::string pixels(double value) {
    return format_general(value, 3) + " px";
}

}  // namespace

std::vector<std::string> report_lines(const CorrelationReport& found) {
    const CorrelationStatistics& s = found.statistics;
    std::string changes;
    for (const double change : s.changes)
        changes += (changes.empty() ? "" : ", ") + format_general(change, 3);
    std::vector<std::string> lines{
        std::to_string(s.measured) + " of " + std::to_string(s.cells) +
            " cells measured, displacement median " + pixels(s.median_displacement) + ", largest " +
            pixels(s.largest_displacement),
        "changed by each iteration " + changes + " px, band width " + pixels(s.band_width) +
            ", no texture on " + format_fixed(100 * s.no_texture, 1) + " % of the model"};
    if (const auto& left = found.left_after_markers)
        lines.push_back("left after the markers " + pixels(left->rms) +
                        " root mean square, largest " + pixels(left->largest) + " at (" +
                        format_general(left->at.x, 6) + ", " + format_general(left->at.y, 6) + ")");
    return lines;
}

void warn(RunReport& report, WarningKind kind, const std::string& text) {
    get_log().write(LogLevel::information, text);
    report.warnings.push_back({kind, text});
}

bool poorly_aligned(const RunReport& report) {
    const auto poor = [](const std::optional<MarkerMatch>& match) {
        return match && match->ok && match->poor;
    };
    // What the markers left, the texture has corrected.
    const auto refined = [](const std::optional<CorrelationReport>& found) {
        return found && found->failure.empty();
    };
    const auto& channels = report.channels;
    return (poor(report.alignment) && !refined(report.correlation)) ||
           (channels && ((poor(channels->reference) && !refined(channels->correlation)) ||
                         poor(channels->cameras)));
}

std::string alignment_in_short(const RunReport& report) {
    if (report.correlation && report.correlation->failure.empty())
        return report_lines(*report.correlation).front();
    if (!report.alignment || !report.alignment->ok) return {};
    const MarkerMatch& match = *report.alignment;
    return std::to_string(match.pairs.size()) + " pairs, rms " + pixels(match.mean_square_error) +
           ", worst " + pixels(match.max_absolute_error) + " at " +
           std::to_string(match.max_error_marker);
}

std::string unaligned_text(const RunReport& report) {
    const bool failed = report.aligned == false;
    if (!failed && !poorly_aligned(report)) return {};
    std::string text = failed ? "the images could not be aligned" : "the images are poorly aligned";
    const auto reason = std::ranges::find_if(
        report.warnings.rbegin(), report.warnings.rend(), [](const Warning& warning) {
            return warning.kind == WarningKind::alignment || warning.kind == WarningKind::markers;
        });
    return reason == report.warnings.rend() ? text : text + ": " + reason->text;
}

void warn_if_empty(RunReport& report, const image& picture) {
    const auto width = static_cast<std::size_t>(picture.width());
    for (int y = 0; y < picture.height(); ++y)
        if (std::memchr(picture.mask().row(y), 0, width)) return;
    warn(report, WarningKind::empty_image,
         picture.name + " has no valid pixel: dark level, masks, flat field or limits exclude all");
}

std::string light_words(const LightReport& light) {
    std::string text;
    if (!light.from.empty())
        text = "The lamp's light is corrected by " + light.from + ": with wind " +
               format_general(100 * (light.on_over_off - 1), 3) + " %";
    if (light.exposures.empty()) return text;
    if (!text.empty()) text += ". ";
    return text + "Exposures are taken into account: " + light.exposures;
}

}  // namespace vyn
