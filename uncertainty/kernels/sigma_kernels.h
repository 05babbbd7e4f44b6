#pragma once

#include <cstddef>
#include <cstdint>

namespace vyn {

/// Places of a row's pixels, in 32nd parts of a pixel.
struct PlaceRow {
    const std::int32_t* camera;       ///< in the camera's picture
    const std::int32_t* undistorted;  ///< in the undistorted picture; null unless sampled twice
};

/// What a row of a picture's noise is made of.
struct NoiseRow {
    const float* intensity;  ///< corrected, in the frame of the results
    const float* flat;       ///< the flat field at the camera's pixels
    float offset;            ///< of the variance over the signal, as in NoiseLine
    float slope;
    float relative2;
    float dark;
    float filter;  ///< variance of the filter beside its weights
};

/// Sums of relative variances over the pictures, and the largest of them.
struct NoiseSums {
    float* noise;
    float* white;
    float* shot;
    float* largest;
};

/// Sums of the squared slopes, and of the pixels that have them, of three rows.
struct SlopeSums {
    const float* x;
    const float* y;
    const float* count;
};

/// A row of two pictures with a common flat field or dark picture.
struct SharedRow {
    const float* gain_a;
    const float* gain_b;
    const float* intensity_a;
    const float* intensity_b;
    const float* flat_a;
    const float* flat_b;
    float flat2;  ///< relative variance of the flat field
    float dark;   ///< variance of the dark picture; 0: each has its own
};

struct LawRow {
    float fa;
    float by_log_ratio[3];
    double temperature[5];
    double reference[5];
    double law[5];
    bool given;       ///< `law_at` has written the terms by the law, and the slope in the last row
    float scale;      ///< output unit per unit of the law
    float shift2;     ///< variance that the same error of all values adds, output unit squared
    float of_value2;  ///< relative variance of the divisor
};

/// The law where each pixel has a temperature: coefficients of r^i u^j, u = -1 .. 1 over the map's
/// temperatures.
struct LawOfTemperature {
    double by_log_ratio[3][5];
    double temperature[5][5];
    double reference[5][5];
    double law[5][5];
    double factor;  ///< u = factor * value + offset
    double offset;
    double to_law;  ///< a difference in the law's unit per one of the map's
};

/// The same plane's rows y - 1, y and y + 1.
struct ThreeRows {
    const float* above;
    const float* middle;
    const float* below;
};

/// Relative variances of a row's ratios.
struct RatioVarianceRow {
    const float* noise;
    const float* noise_white;
    const float* shot;  ///< of it by photons alone
    const float* flat;
    const float* flat_white;
    const float* registration;
    float lamp;
};

constexpr int sigma_rows = 9;  ///< of variances that `combine` writes

struct TermRows {
    float* first;
    std::ptrdiff_t stride;  ///< no power of two: the rows are written side by side
};

struct SigmaKernels {
    /// Whole 32nd parts nearest to positions in pixels, a share of the way from one row's to
    /// another's.
    void (*places)(const double* above, const double* below, double share, int n,
                   std::int32_t* parts);
    /// Number of the phase in tables of `seconds` second phases each, the parts divided by 2^shift.
    void (*phase)(PlaceRow place, int seconds, int shift, int n, std::int32_t* phase);
    /// Whole pixel of the first sampling.
    void (*base)(PlaceRow place, int n, std::int32_t* base);
    /// The nearest pixels, folded onto the border of a plane, as places in it.
    void (*nearest)(int stride, int width, int height, const std::int32_t* x, const std::int32_t* y,
                    int n, std::int32_t* place);
    void (*gather)(const float* plane, const std::int32_t* place, int n, float* out);
    /// gain = table_x[phase_x] * table_y[phase_y]
    void (*gain)(const float* table_x, const float* table_y, const std::int32_t* phase_x,
                 const std::int32_t* phase_y, int n, float* out);
    /// Adds a picture's relative variances; `own` is what it adds to the noise.
    void (*noise)(const NoiseRow& row, const float* gain, int n, const NoiseSums& sums, float* own);
    /// The same from measured variances, times the row's slope.
    void (*measured_noise)(const NoiseRow& row, const float* variance, const float* gain, int n,
                           const NoiseSums& sums, float* own);
    /// Multiplies by the entry of one axis' table at the phases of a and b and the whole pixels
    /// between their bases, up to most_apart of them; 0 beyond.
    void (*shared)(const float* table, int b_phases, int most_apart, const std::int32_t* phase_a,
                   const std::int32_t* base_a, const std::int32_t* phase_b,
                   const std::int32_t* base_b, int n, float* correlation);
    /// Adds what errors of a common flat field and dark picture make of the ratio.
    void (*common)(const SharedRow& row, const float* correlation, int n, const NoiseSums& sums,
                   float* flat, float* flat_white);
    /// Adds `sign` times the logarithm's slopes; clears `valid` where a neighbour is excluded.
    void (*slope)(const float* above, const float* middle, const float* below,
                  const std::uint8_t* mask_above, const std::uint8_t* mask_middle,
                  const std::uint8_t* mask_below, float sign, int n, float* along_x, float* along_y,
                  float* valid);
    /// Squares the slopes; 0 where they are not valid.
    void (*squares)(int n, float* along_x, float* along_y, const float* valid);
    void (*column_sums)(ThreeRows rows, int n, float* out);
    /// Adds the variance that uncertain places give: the mean of the squared slopes over 3 x 3
    /// pixels less `of_difference`, not below 0, times the places' variances.
    void (*registration)(const SlopeSums& sums, const float* of_difference, const float* var_x,
                         const float* var_y, int n, float* variance);
    /// Over the row, the same on every instruction set.
    double (*sum)(const float* row, int n);
    /// Of values that are not negative; 0 for none.
    float (*largest)(const float* row, int n);
    void (*root)(const float* row, int n, float* out);
    /// Valid pixels, and those of them whose `largest` is above a limit.
    void (*tally)(const float* largest, const std::uint8_t* mask, int n, float limit, int* valid,
                  int* above);
    /// The rows temperature, reference and law of `terms`, and into the last one the squared slope
    /// by ln R, where each pixel has a temperature and a standard deviation of it.
    void (*law_at)(const LawRow& law, const LawOfTemperature& of_temperature, const float* ratio,
                   const float* temperature, const float* sigma, const std::uint8_t* mask, int n,
                   const TermRows& terms);
    /// Variances in the output unit squared into `terms`, sigma_rows rows of n: noise, flat,
    /// registration, lamp, temperature, reference, law, conditions, and photons alone; 0 at
    /// excluded pixels.
    void (*combine)(const LawRow& law, const RatioVarianceRow& variances, const float* ratio,
                    const float* value, const std::uint8_t* mask, int n, const TermRows& terms,
                    float* total, float* common, float* area);
};

}  // namespace vyn
