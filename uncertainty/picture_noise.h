#pragma once

#include <memory>
#include <string>

#include "api/image.h"

namespace vyn {

/// Where the noise of pictures is known from.
enum class NoiseSource { unknown, burst, transfer, entered };

/// "not known", "burst", "photon transfer", "entered".
const char* noise_source_name(NoiseSource source);

/// What a camera's photon transfer tells, and how often it was read.
struct CameraNoise {
    double gain = 0;           ///< electrons per count; 0: not known
    double read = 0;           ///< read-out noise, counts
    int frames = 1;            ///< averaged in the picture
    int dark_frames = 0;       ///< averaged in its dark picture; 0: none is taken off
    bool whole_counts = true;  ///< the file holds whole numbers
    double relative = 0;       ///< entered: standard deviation over signal; 0: not known
};

/// The variance of a picture's pixel (counts squared) as a line over its signal s, the raw value
/// less the dark one (counts): offset + slope s + relative^2 s^2. The offset is without the dark
/// picture's own variance, which other pictures may share.
struct NoiseLine {
    double offset = 0;
    double slope = 0;
    double relative = 0;
    double dark = 0;  ///< variance of the dark picture, counts squared
    /// Where enough frames were averaged: the variance of single frames and their number, instead
    /// of offset and slope.
    std::shared_ptr<const FrameStatistics> frames;
    NoiseSource source = NoiseSource::unknown;
};

/// `wanted`: "auto" and "burst" (the frames of the picture, then transfer, then entered),
/// "transfer" or "entered". Photons and electrons follow a Poisson law, read-out adds its square
/// and whole counts 1/12 (Janesick, Photon Transfer, 2007). `picture` is the camera's, with what is
/// known of its frames, `dark` what is taken off it; either may be null. Raises AlgoError for
/// "transfer" without a gain, naming `gain_key`.
NoiseLine noise_line(const CameraNoise& camera, const std::string& wanted, const image* picture,
                     const image* dark, const std::string& gain_key);

/// From so many frames on a pixel's own scatter tells its noise better than that of equally bright
/// pixels.
inline constexpr int frames_that_tell = 16;

}  // namespace vyn
