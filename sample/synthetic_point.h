#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "api/field_conversion.h"
#include "api/image.h"
#include "calib/camera.h"
#include "calib/flow.h"
#include "calib/paint.h"
#include "core/data_set.h"
#include "core/progress.h"
#include "sample/synthetic_camera.h"

namespace vyn {

struct SyntheticOptions {
    enum class Noise { none, camera };
    enum class Channels { single, binary, lifetime };

    int width = 640;         ///< 64 to 16384 pixels
    int height = 480;        ///< 64 to 16384 pixels
    std::uint64_t seed = 1;  ///< of texture, marker places and noise
    int order = 2;           ///< of the model's motion, 0 to 3
    /// Pixels, 0 to 4, by which the model bends between its dots, beside that motion. Not 0: the
    /// paint has a fine texture, and there are fewer dots.
    double bending = 0;
    /// Number of the point in a run of points that share wind-off picture and field: each has its
    /// own motion and its own noise with wind.
    int point = 0;
    /// Radial distortion (see Distortion). Without a2: about 3 px in the corners.
    std::optional<double> a2 = std::nullopt;
    double a4 = 0;
    FieldQuantity quantity = FieldQuantity::pressure;
    /// `camera`: shot noise and read noise of the synthetic cameras, whole counts
    /// 0..65535.
    Noise noise = Noise::none;
    double noise_variance = 1;  ///< factor on the variance of that noise
    /// Of a binary or lifetime point the lamp moves between wind-off and wind-on.
    Channels channels = Channels::single;
    /// The pictures' ratio over the one that paint.clb says: a paint, or a light, that is not the
    /// laboratory's. 0.5 to 2.
    double ratio_gain = 1;
    /// By which the model is warmer with wind than the project says, degrees; -20 to 20.
    double warmer = 0;
    /// How many ports there are, those with the lowest pressures: the others' pressures lie beyond
    /// what they tell. 0: all 20.
    int ports = 0;
    double port_noise = 0;  ///< standard deviation of the ports' pressures, pascal
    /// Kelvin, -40 to 40, by which the model is warmer at its right end than at its left one with
    /// wind. Not 0: an infrared camera takes a picture of it.
    double temperature_ramp = 0;
    /// Relative, -0.5 to 0.5: light that the lamp has lost with wind. Not 0: a patch beside the
    /// model shows the lamp alone. Of a single channel.
    double lamp_drift = 0;
};

/// What is wrong with the options, for the user; empty when they are sound.
std::string problem_of(const SyntheticOptions& options);

/// The second channel of a point: the reference camera's pictures of binary paint, or gate 1 of the
/// signal camera, whose flat field and record those of the point are.
struct SyntheticReference : SyntheticPictures {
    cameraFeatures camera;
};

/// An infrared camera's picture of the model with wind: temperatures in the test's unit.
struct SyntheticInfrared {
    image picture;
    MarkerSet markers;  ///< the dots, its pixels
    cameraFeatures camera;
};

/// A complete test point whose right answer is known. Everything is evaluated from formulas at each
/// pixel; nothing is resampled.
///
/// The truth lives in the ideal (distortion-free) wind-off picture, which is the frame of the ratio
/// image. A camera pixel p shows the ideal position U(p) of the lens:
///     wind_off(p) = I(U(p)) flat(p) + wind_off_dark(p)
///     wind_on(p) = I(x) / R(x) flat(p) + wind_on_dark(p), x the model point that moved to U(p)
/// with R(x) the ratio at which the paint law gives the true pressure at x. With two channels I is
/// also proportional to the lamp's light at U(p), and the second channel has a light of its own
/// without R (binary) or with a first gate that R changes as a decay does (lifetime).
struct SyntheticPoint : SyntheticPictures {
    /// Gate 2 over gate 1 of a lifetime point without wind, everywhere.
    static constexpr double gate_ratio = 0.55;

    SyntheticOptions options;
    Distortion lens;
    ImageMap wind_on_from_wind_off;  ///< the model's motion, ideal positions
    double dark_level = 0;           ///< counts; between the ground and the model

    cameraFeatures camera;
    paintFeatures paint;
    flowFeatures flow;
    std::optional<SyntheticReference> reference;
    std::optional<SyntheticInfrared> infrared;

    /// The true field in the quantity of the options; excluded off the model.
    image truth;
    /// Of binary paint: what the signal channel alone gives, wrong by the lamp's motion.
    image single_channel;
    MarkerSet truth_markers;  ///< the dots in the frame of the truth
    MarkerSet ports;          ///< frame of the truth, true pressure in pascal
};

/// Raises AlgoError with `problem_of` the options, Aborted when told to stop. The result depends on
/// the options only.
SyntheticPoint make_synthetic_point(const SyntheticOptions& options, Progress& progress);

/// How the files of a point are named and what its project says besides.
struct PointFiles {
    std::string suffix;  ///< of every name before its extension: "_2" for the second of a folder
    std::function<void(dataSetInterface&)> settings;  ///< writes more of them; may be empty
};

/// Names of the files that `write_synthetic_point` makes of a point with these channels.
std::vector<std::string> synthetic_file_names(
    SyntheticOptions::Channels channels = SyntheticOptions::Channels::single,
    const std::string& suffix = {});
/// And of its infrared camera.
std::vector<std::string> infrared_file_names();

/// Writes images, markers, records and a project file ("project.xml", relative names) that asks for
/// the computation of the truth ("truth.tif"); makes the folder. The files are replaced one by one.
/// Raises FileError.
void write_synthetic_point(const SyntheticPoint& point, const std::filesystem::path& folder,
                           Progress& progress, const PointFiles& files = {});

}  // namespace vyn
