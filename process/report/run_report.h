#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "align/channel_maps.h"
#include "align/marker_alignment.h"
#include "api/image_list.h"
#include "calib/paint_law.h"
#include "core/data_set.h"
#include "core/task.h"

namespace vyn {

/// How the pictures of two channels were brought together, beside the signal channel's alignment.
struct ChannelAlignment {
    std::optional<MarkerMatch> reference;  ///< wind-on from wind-off picture, reference channel
    std::optional<MarkerMatch> cameras;    ///< reference from signal picture, both wind-off
    std::optional<MapConsistency> consistency;
};

/// What the tasks of one run found out beside their images; they fill it, the report shows it.
struct RunReport {
    std::optional<bool> aligned;               ///< nothing until an alignment was tried
    std::optional<MarkerMatch> alignment;      ///< of the markers, when pairing was reached
    std::optional<ChannelAlignment> channels;  ///< of a point with two channels
    std::optional<PreparedConversion> conversion;
    bool field = false;                 ///< the present field was computed
    std::vector<std::string> warnings;  ///< for the user: what may make the result wrong
};

/// What the user of two channels must know of their noise.
inline constexpr const char* ratio_of_ratios_noise =
    "The ratio of ratios carries the noise of four pictures: its variance is the sum of their four "
    "relative variances, twice that of one channel with equally bright pictures.";

/// Writes a warning to the log and into the report.
void warn(RunReport& report, const std::string& text);

/// Warns when no pixel of an image is valid.
void warn_if_empty(RunReport& report, const image& picture);

/// Pixels at the sensor's maximum.
std::int64_t saturated_count(const image& picture);

/// The program, the settings and the input files with their digests: what a result came from.
nlohmann::json provenance(const dataSetInterface& data, const imagesList& images);

/// The whole report of a run: provenance, outcome, stages, alignment, conversion, images, warnings.
nlohmann::json to_json(const RunReport& report, const dataSetInterface& data,
                       const imagesList& images, TaskOutcome outcome, const std::string& failure,
                       const std::vector<StageTime>& stages);

/// A JSON value as text, in one line unless an indent is given. Bytes that are no UTF-8, as names
/// of files may hold, become U+FFFD.
std::string json_text(const nlohmann::json& value, int indent = -1);

/// "done", "done with errors", ...
const char* outcome_name(TaskOutcome outcome);

}  // namespace vyn
