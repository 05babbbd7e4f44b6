#pragma once

#include <string>
#include <vector>

#include "api/image.h"
#include "uncertainty/variance_line.h"

namespace vyn {

/// A camera's gain and read-out noise, measured.
struct PhotonTransfer {
    double gain = 0;        ///< electrons per count
    double gain_error = 0;  ///< standard error
    double read = 0;        ///< counts
    double read_error = 0;
    VarianceLine line;
    std::vector<VariancePoint> points;
};

/// From frames of still scenes of different brightness, two or more of each, next to one another:
/// half the variance of the difference of two frames, in classes of brightness, is a straight line
/// over the mean signal with the slope 1 / gain and the offset of the read-out noise (Janesick,
/// Photon Transfer, 2007). `dark` (may be null) or `dark_level` (counts) is what a frame without
/// light has. Excluded pixels are left out. Raises AlgoError, naming what is wrong, for fewer than
/// two frames or frames that give no line, IndexError for different sizes.
PhotonTransfer photon_transfer(const std::vector<image>& frames, const image* dark,
                               double dark_level);

/// Gain and read-out noise with their errors, and how well the line holds.
std::vector<std::string> report_lines(const PhotonTransfer& measured);

}  // namespace vyn
