#pragma once

#include <cstdint>

namespace vyn {

/// Rows are worked on in pieces of at most so many pixels, whose numbers stay in the fastest
/// memory.
constexpr int sigma_piece = 512;

/// Places of pixels along one axis, in 32nd parts of a pixel.
struct PlaceRow {
    const std::int32_t* camera;       ///< in the camera's picture
    const std::int32_t* undistorted;  ///< in the undistorted picture; null unless sampled twice
};

/// A plane whose nearest pixels are looked up.
struct SigmaPlane {
    const float* first;
    int stride;
    int width;
    int height;
};

/// What a row of a picture's noise is made of.
struct NoiseRow {
    const float* intensity;  ///< corrected, in the frame of the results
    const float* flat;       ///< the flat field at the camera's pixels
    float offset;            ///< of the variance over the signal, as in NoiseLine
    float slope;
    float relative2;
    float dark;
};

/// Sums of relative variances over the pictures, and the largest of them.
struct NoiseSums {
    float* noise;
    float* white;
    float* shot;
    float* largest;
};

/// Along one axis: how two pictures hang together, as in SharedWeights.
struct SharedAxis {
    const float* table;
    int b_phases;
    int b_seconds;
    int most_apart;
    const std::int32_t* camera_a;
    PlaceRow b;
};

/// A row of two pictures with a common flat field or dark picture.
struct SharedRow {
    SharedAxis x;
    SharedAxis y;
    const float* gain_a;
    const float* gain_b;
    const float* intensity_a;
    const float* intensity_b;
    const float* flat_a;
    const float* flat_b;
    float flat2;  ///< relative variance of the flat field
    float dark;   ///< variance of the dark picture; 0: each has its own
};

/// A row of a picture and those about it.
struct SlopeRow {
    const float* middle;     ///< readable three pixels beside the row
    const float* across[6];  ///< the rows one, two and three below it, then above it
};

/// What a median adds to a picture's variance behind the mean of its window.
struct MedianRow {
    SlopeRow picture;
    const float* gain;   ///< with the filter
    const float* plain;  ///< without
    const float* shown;  ///< relative variance of the picture that the slopes are of
    const float* table;  ///< of `median_variance`
    float before;        ///< gain of what was sampled before the filter
};

/// Variances of the places of a row's pixels, and the pictures that show them.
struct RegistrationRow {
    struct Part {
        SlopeRow picture;
        const float* shown;  ///< its noise, relative variance
        float sign;          ///< in the logarithm of the ratio
    };
    const Part* parts;
    int count;
    const float* var_x;
    const float* var_y;
};

/// Rows are readable and writable up to the next multiple of 16 pixels.
struct SigmaKernels {
    /// Positions in pixels become 32nd parts.
    void (*in_parts)(int n, double* positions);
    /// Whole parts nearest to those a share of the way from one row's to another's.
    void (*places)(const double* above, const double* below, double share, int n,
                   std::int32_t* parts);
    /// The product of both axes' tables at the phases of the places.
    void (*gain)(const float* table_x, const float* table_y, PlaceRow x, PlaceRow y, int n,
                 float* out);
    /// The plane's values at the nearest pixels, those outside folded onto its border.
    void (*nearest)(const SigmaPlane& plane, const std::int32_t* x, const std::int32_t* y, int n,
                    float* out);
    /// Adds a picture's relative variances; `own` is what it adds to the noise.
    void (*noise)(const NoiseRow& row, const float* gain, int n, const NoiseSums& sums, float* own);
    /// The same from measured variances, times the row's slope.
    void (*measured_noise)(const NoiseRow& row, const float* variance, const float* gain, int n,
                           const NoiseSums& sums, float* own);
    /// What a picture's own noise is without the filter: over its gain, times the plain one.
    void (*unfiltered)(const float* own, const float* gain, const float* plain, int n, float* out);
    /// Raises a picture's own noise by what a median adds at its slope, and the sums with it.
    void (*median)(const MedianRow& row, int n, const NoiseSums& sums, float* own);
    /// Adds what errors of a common flat field and dark picture make of the ratio.
    void (*shared)(const SharedRow& row, int n, const NoiseSums& sums, float* flat,
                   float* flat_white);
    /// Adds the variance that uncertain places give: the squared slopes of the sum of the parts'
    /// logarithms less what their own noise makes of them, not below 0, times the places'
    /// variances. The slope is that of a cubic spline, its weights (3/4)^(1/2) (1 - z^2) z^(k - 1)
    /// with z = 3^(1/2) - 2 (Unser, Aldroubi & Eden 1993) cut off after the third pixel, the last
    /// one so that straight lines keep theirs.
    void (*registration)(const RegistrationRow& row, int n, float* variance);
};

}  // namespace vyn
