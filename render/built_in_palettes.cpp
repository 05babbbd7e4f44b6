#include "render/built_in_palettes.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vyn {

namespace {

/// Red, green and blue from 0 to 1.
using Rgb = std::array<double, 3>;

Rgb grey(double t) {
    return {t, t, t};
}

template <std::size_t n>
double polynomial(const std::array<double, n>& coefficients, double t) {
    double sum = 0;
    for (std::size_t i = n; i-- > 0;)
        sum = sum * t + coefficients[i];
    return sum;
}

/// The colours of S. van der Walt and N. Smith (2015), by the polynomials that M. Zucker fitted.
Rgb viridis(double t) {
    using Sextic = std::array<double, 7>;
    static constexpr Sextic red{0.2777273272234177, 0.1050930431085774, -0.3308618287255563,
                                -4.634230498983486, 6.228269936347081,  4.776384997670288,
                                -5.435455855934631};
    static constexpr Sextic green{0.005407344544966578, 1.404613529898575, 0.214847559468213,
                                  -5.799100973351585,   14.17993336680509, -13.74514537774601,
                                  4.645852612178535};
    static constexpr Sextic blue{0.3340998053353061, 1.384590162594685, 0.09509516302823659,
                                 -19.33244095627987, 56.69055260068105, -65.35303263337234,
                                 26.3124352495832};
    return {polynomial(red, t), polynomial(green, t), polynomial(blue, t)};
}

/// The colours of J. Nunez, C. Anderton and R. Renslow (2018), by the polynomials of M. Bostock, in
/// units of 1/255.
Rgb cividis(double t) {
    using Quintic = std::array<double, 6>;
    static constexpr Quintic red{-4.54, -35.34, 2381.73, -6402.7, 7024.72, -2710.57};
    static constexpr Quintic green{32.49, 170.73, 52.82, -131.46, 176.58, -67.37};
    static constexpr Quintic blue{81.24, 442.36, -2482.43, 6167.24, -6614.94, 2475.67};
    return {polynomial(red, t) / 255, polynomial(green, t) / 255, polynomial(blue, t) / 255};
}

/// The scheme "RdBu" of 11 classes of C. Brewer's ColorBrewer (2003), from blue to red.
Rgb diverging(double t) {
    static constexpr std::array<std::array<int, 3>, 11> classes{{{5, 48, 97},
                                                                 {33, 102, 172},
                                                                 {67, 147, 195},
                                                                 {146, 197, 222},
                                                                 {209, 229, 240},
                                                                 {247, 247, 247},
                                                                 {253, 219, 199},
                                                                 {244, 165, 130},
                                                                 {214, 96, 77},
                                                                 {178, 24, 43},
                                                                 {103, 0, 31}}};
    const double position = t * (classes.size() - 1);
    const auto below = std::min(static_cast<std::size_t>(position), classes.size() - 2);
    const double share = position - static_cast<double>(below);
    Rgb colour{};
    for (std::size_t c = 0; c < 3; ++c)
        colour[c] = ((1 - share) * classes[below][c] + share * classes[below + 1][c]) / 255;
    return colour;
}

PaletteColour to_colour(const Rgb& rgb) {
    const auto byte = [](double fraction) {
        return static_cast<std::uint8_t>(std::lround(255 * std::clamp(fraction, 0.0, 1.0)));
    };
    return {byte(rgb[2]), byte(rgb[1]), byte(rgb[0]), 0};
}

/// A palette that fills all 256 entries: twice as many colours in the main ramp as in the pale one.
palette_array full_range(const char* name, Rgb (*colour_at)(double), const Rgb& background) {
    palette_array palette;
    palette.file_name.clear();
    palette.name = name;
    palette.first = 0;
    palette.last = 169;
    palette.over = 170;
    palette.pale_first = 171;
    palette.pale_last = 254;
    palette.pale_over = 255;
    palette.own_pale_ramp = true;
    const auto fill = [&](int first, int last, bool pale) {
        for (int i = first; i <= last; ++i) {
            const double t = static_cast<double>(i - first) / (last - first);
            const PaletteColour colour = to_colour(colour_at(t));
            palette.entries[static_cast<std::size_t>(i)] = pale ? lightened(colour) : colour;
        }
    };
    fill(palette.first, palette.last, false);
    fill(palette.pale_first, palette.pale_last, true);
    palette.entries[palette.over] = to_colour(background);
    palette.entries[palette.pale_over] = lightened(to_colour(background));
    return palette;
}

}  // namespace

std::deque<palette_array> built_in_palettes() {
    // Background that no value of the ramp can be taken for.
    constexpr Rgb white{1, 1, 1};
    constexpr Rgb light_blue{0.72, 0.82, 0.95};
    constexpr Rgb mid_grey{0.72, 0.72, 0.72};
    std::deque<palette_array> list;
    list.emplace_back();
    list.push_back(full_range("grey", grey, light_blue));
    list.push_back(full_range("viridis", viridis, white));
    list.push_back(full_range("cividis", cividis, white));
    list.push_back(full_range("Cp", diverging, mid_grey));
    return list;
}

}  // namespace vyn
