#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "uncertainty/picture_noise.h"

namespace vyn {

/// What an uncertainty is made of, in the order of reports.
enum class SigmaTerm {
    noise,         ///< photons, read-out, dark pictures
    flat,          ///< the flat field's own error
    registration,  ///< where the pictures show a pixel
    lamp,          ///< light between the pictures, and what was entered as a further error
    temperature,   ///< at wind-on
    reference,     ///< wind-off pressure and temperature
    law,           ///< coefficients of the paint
    conditions,    ///< static and dynamic pressure
};
constexpr std::size_t sigma_term_count = 8;
/// "noise", "flat", ...: in names of images and reports.
const char* sigma_term_name(SigmaTerm term);

/// One line of a budget.
struct BudgetLine {
    SigmaTerm term = SigmaTerm::noise;
    bool known = false;
    bool applies = true;  ///< to this point; false where it has no such part or it cancels
    bool random = false;  ///< of single pixels; else common to an area
    double rms = 0;       ///< root mean variance over the valid pixels, unit of the field
    double share = 0;     ///< of the mean variance
};

/// What a map comes to.
struct UncertaintyBudget {
    std::array<BudgetLine, sigma_term_count> lines;
    std::string unit;
    double median = 0;  ///< of the total, over the valid pixels (of large images over a sample)
    double quantile_95 = 0;
    double largest = 0;
    double shot_noise_floor = 0;  ///< root mean variance that photons alone give; 0: not known
    std::int64_t valid = 0;
    std::int64_t too_noisy = 0;  ///< pixels with a picture's relative deviation above 0.1, where
                                 ///< the first order in it no longer tells
    NoiseSource noise = NoiseSource::unknown;
    double registration_px = 0;       ///< typical deviation of the signal's wind-on picture
    std::string registration_source;  ///< empty: not known
};

/// For log and console: the spread of the map, its largest terms and what would reduce the largest,
/// and what is not known.
std::vector<std::string> report_lines(const UncertaintyBudget& budget);
/// What would reduce a term, as half a sentence: "more frames, or more light".
const char* remedy_for(SigmaTerm term);

}  // namespace vyn
