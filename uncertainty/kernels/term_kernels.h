#pragma once

#include <cstddef>
#include <cstdint>

namespace vyn {

struct LawRow {
    float fa;
    float by_log_ratio[3];
    double temperature[5];
    double reference[5];
    double law[5];
    bool given;  ///< `law_at` has written the terms by the law, and the slope in the row of photons
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

/// Relative variances of a row's ratios.
struct RatioVarianceRow {
    const float* noise;
    const float* noise_white;
    const float* shot;  ///< of it by photons alone
    const float* flat;
    const float* flat_white;
    const float* registration;
    const float* largest;  ///< noise of a single picture
    float lamp;
};

/// Standard deviations.
struct SigmaRow {
    float* total;
    float* common;
    float* area;
};

/// The rows that a variance is written into, term by term.
enum class TermRow {
    noise,
    flat,
    registration,
    lamp,
    temperature,
    reference,
    law,
    conditions,
    photons,  ///< what they alone bring, of the noise
};
constexpr int sigma_rows = 9;

struct TermRows {
    float* first;
    std::ptrdiff_t stride;  ///< no power of two: the rows are written side by side
};

struct SigmaTally {
    float largest;  ///< of the total
    int valid;
    int too_noisy;
};

/// From this relative variance of a picture on the first order is too coarse.
constexpr float too_noisy_variance = 0.1F * 0.1F;

/// Rows of n pixels are readable and writable up to the next multiple of 16 pixels.
struct TermKernels {
    /// The first valid pixel's number, and that behind the last one, both in whole groups of 16
    /// pixels; 0 and 0 without any.
    void (*valid_span)(const std::uint8_t* mask, int n, int* first, int* end);
    /// The rows temperature, reference and law of `terms`, and into that of photons the squared
    /// slope by ln R, where each pixel has a temperature and a standard deviation of it.
    void (*law_at)(const LawRow& law, const LawOfTemperature& of_temperature, const float* ratio,
                   const float* temperature, const float* sigma, const std::uint8_t* mask, int n,
                   const TermRows& terms);
    /// Variances in the output unit squared into `terms`, and what they sum up to; 0 at excluded
    /// pixels. Adds to the tally.
    void (*combine)(const LawRow& law, const RatioVarianceRow& variances, const float* ratio,
                    const float* value, const std::uint8_t* mask, int n, const TermRows& terms,
                    const SigmaRow& out, SigmaTally* tally);
    /// Sums of the rows, added to those given; the same on every instruction set.
    void (*add_sums)(const TermRows& terms, int n, double* sums);
    void (*root)(const float* row, int n, float* out);
};

}  // namespace vyn
