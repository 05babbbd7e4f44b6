#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "calib/in_situ_calibration.h"
#include "core/data_set.h"
#include "sample/synthetic_point.h"

namespace vyn::test {

/// What is wrong with the pictures and numbers of a draw, as standard deviations.
struct Disturbance {
    double gain = 0;  ///< electrons per count; 0: pictures without noise
    double read = 0;  ///< counts
    int dark_frames = 16;
    double flat = 0;         ///< relative
    double markers = 0;      ///< pixels; the computation is told a quarter more
    double temperature = 0;  ///< wind-on, of the test's unit
    double wind_off_p = 0;   ///< of the test's unit
    double static_p = 0;     ///< likewise
    double lamp = 0;         ///< relative, of the wind-on pictures
    double ports = 0;        ///< of the pressures at ports, pascal
    /// Each draw calibrates the paint at the ports in this way before its field is computed.
    std::optional<InSituOptions> in_situ = std::nullopt;
};

/// How well the map foretells the errors of part of the pixels.
struct Coverage {
    double ratio = 0;   ///< predicted over actual scatter, root mean squares
    double inside = 0;  ///< share of the errors within two deviations
    std::int64_t count = 0;
};

struct CoverageOfPoint {
    Coverage inside;  ///< 8 px and more from the model's rim, 7 px from dots
    Coverage rim;     ///< the rest, from 2 px off the rim and 7 px from dots
    Coverage means;   ///< of squares of 10 x 10 pixels inside
};

/// Computes a point many times with other errors (fixed seeds) and holds the errors of its field,
/// against the field without them, against what the map of each draw says. `settings` are those of
/// the computation beside the disturbance's own. The point's files go into `folder`.
CoverageOfPoint sigma_coverage(const SyntheticOptions& options, const Disturbance& disturbance,
                               const std::vector<std::pair<std::string, any>>& settings, int draws,
                               const std::filesystem::path& folder);

}  // namespace vyn::test
