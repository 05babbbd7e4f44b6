#pragma once

#include <optional>
#include <string>
#include <vector>

#include "align/channel_maps.h"
#include "align/correlation/correlation_images.h"
#include "align/marker_alignment.h"
#include "api/image.h"
#include "calib/paint_law.h"
#include "process/report/warning.h"
#include "uncertainty/uncertainty_budget.h"

namespace vyn {

/// How a wind-on picture was aligned by the texture of the paint.
struct CorrelationReport {
    CorrelationStatistics statistics;
    std::optional<DisplacementLeft> left_after_markers;
    std::string failure;  ///< why it was not; empty when it was
};

/// For log and console.
std::vector<std::string> report_lines(const CorrelationReport& found);

/// How the pictures of two channels were brought together, beside the signal channel's alignment.
struct ChannelAlignment {
    std::optional<MarkerMatch> reference;  ///< wind-on from wind-off picture, reference channel
    std::optional<MarkerMatch> cameras;    ///< reference from signal picture, both wind-off
    std::optional<MapConsistency> consistency;
    std::optional<CorrelationReport> correlation;  ///< of the reference channel
};

/// The wind-on temperature of a point that takes it pixel by pixel.
struct TemperatureReport {
    std::string from;  ///< in words: a map and its file, or what it was computed from
    TemperatureSpan span;
    std::optional<MarkerMatch> alignment;  ///< of a map with markers
};

/// How the pictures were brought under one light.
struct LightReport {
    std::string from;        ///< of the lamp, in words; empty: it was not looked at
    double on_over_off = 1;  ///< its light
    double variance = 0;     ///< relative, of that; 0: not known
    std::string exposures;   ///< that differ, in words; empty: none
};
/// In a sentence or two.
std::string light_words(const LightReport& light);

/// What the tasks of one run found out beside their images; they fill it, the report shows it.
struct RunReport {
    std::optional<bool> aligned;  ///< nothing until an alignment was tried
    bool copied = false;          ///< pictures without pairs taken as they are, as answered
    std::optional<MarkerMatch> alignment;          ///< of the markers, when pairing was reached
    std::optional<CorrelationReport> correlation;  ///< of the signal channel, when asked for
    std::optional<ChannelAlignment> channels;      ///< of a point with two channels
    std::optional<LightReport> light;
    std::optional<TemperatureReport> temperature;
    std::optional<PreparedConversion> conversion;
    bool field = false;  ///< the present field was computed
    std::optional<UncertaintyBudget> uncertainty;
    std::string model;               ///< poses and projection on the mesh (JSON); empty: not tried
    std::vector<std::string> steps;  ///< that were run, by their names in the step table
    std::vector<Warning> warnings;
};

/// What the user of two channels must know of their noise.
inline constexpr const char* ratio_of_ratios_noise =
    "The ratio of ratios carries the noise of four pictures: its variance is the sum of their four "
    "relative variances, twice that of one channel with equally bright pictures.";

/// Writes a warning to the log and into the report.
void warn(RunReport& report, WarningKind kind, const std::string& text);

/// True when an alignment was made that is not to be trusted.
bool poorly_aligned(const RunReport& report);

/// What the run found out of the alignment, for a line: "30 pairs, rms 0.003 px, worst 0.01 px at
/// 11"; empty when nothing was aligned.
std::string alignment_in_short(const RunReport& report);

/// Why the results must not be used as they are; empty when nothing is known against it.
std::string unaligned_text(const RunReport& report);

/// Warns when no pixel of an image is valid.
void warn_if_empty(RunReport& report, const image& picture);

}  // namespace vyn
