#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "api/image.h"
#include "api/resample.h"
#include "uncertainty/displacement_variance.h"
#include "uncertainty/law_variance.h"
#include "uncertainty/picture_noise.h"
#include "uncertainty/resampling_gain.h"
#include "uncertainty/uncertainty_budget.h"

namespace vyn {

/// One camera picture of a ratio.
struct UncertainPicture {
    const image* in_frame = nullptr;  ///< corrected, in the frame of the results
    RowMap camera;       ///< where the camera's picture shows a pixel; empty: as it lies
    RowMap undistorted;  ///< where the undistorted one shows it, when that was sampled; else empty
    NoiseLine noise;
    const image* flat = nullptr;  ///< that its picture was divided by; null: none
    bool filtered = false;        ///< `in_frame` by the filter of the ratio
};

/// Two pictures, one above and one below the fraction bar, taken by one camera: errors of a common
/// flat field or dark picture reach both.
struct SharedPictures {
    std::size_t a = 0;  ///< sampled once at most
    std::size_t b = 1;
    double flat_relative = 0;  ///< standard deviation of the flat field over its value; 0: none
    bool same_dark = false;
};

/// Pictures that a misalignment moves together; with their sign in the logarithm of the ratio.
struct MovedPictures {
    struct Part {
        std::size_t picture;  ///< of the point's
        int sign;
    };
    std::vector<Part> parts;
    DisplacementVariance variance;
};

/// The wind-on temperature where every pixel has its own.
struct UncertainTemperature {
    const image* values = nullptr;
    const image* sigma = nullptr;  ///< in the same unit
    LawOfMap map;
    /// By temperature, the temperature's own deviation being 1; see laws_over.
    LawsOverTemperature laws;
};

/// A point as its uncertainty depends on it; everything is in the frame of the results.
struct UncertainPoint {
    const image* ratio = nullptr;
    const image* field = nullptr;
    std::vector<UncertainPicture> pictures;
    std::vector<SharedPictures> shared;
    std::vector<MovedPictures> moved;
    int degree = 3;                       ///< of the interpolation
    std::optional<FilterOptions> filter;  ///< of the pictures of the ratio
    bool flat_cancels = false;            ///< all pictures see one flat field at one place
    double lamp = 0;                      ///< relative variance of the ratio by the lamp
    bool lamp_cancels = false;            ///< both channels see the same light
    double other = 0;                     ///< and by what else was entered
    FieldConversion conversion;
    LawVariance law;
    std::optional<UncertainTemperature> temperature;  ///< its laws instead of `law`
    ConditionSigmas conditions;
    bool keep_terms = false;
};

/// Standard deviations beside the field, with its mask.
struct UncertaintyMap {
    image total;
    image common;              ///< the same, or nearly, over an area
    image area;                ///< white-equivalent random part: what averages out
    std::vector<image> terms;  ///< in the order of SigmaTerm, when asked for
    UncertaintyBudget budget;
};

/// The standard deviation of every pixel of the field, in its unit; first order, independent
/// sources (Liu, Guille & Sullivan 2001). Noise goes through the flat field, the interpolation at
/// its phase and the filters; a misalignment through the squared slopes of ln I less what noise
/// adds to them; conditions and coefficients through the law. The same bits on any number of
/// threads. Raises IndexError when sizes differ, Aborted.
UncertaintyMap uncertainty_map(const UncertainPoint& point, Progress& progress);

}  // namespace vyn
