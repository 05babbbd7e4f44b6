#include "align/correlation/global_shift.h"

#include <algorithm>
#include <cmath>

#include "align/correlation/cell_search.h"
#include "align/correlation/fourier_transform.h"

namespace vyn {

namespace {

constexpr float least_overlap = 0.3F;  ///< of the largest
/// Heights of the highest peak of noise over its standard deviation stay below 5 for some 100 000
/// independent shifts.
constexpr double significance = 6;

Bitmap<float> as_floats(const Bitmap<std::uint8_t>& bytes) {
    Bitmap<float> plane(bytes.width(), bytes.height());
    for (int y = 0; y < bytes.height(); ++y)
        std::copy_n(bytes.row(y), bytes.width(), plane.row(y));
    return plane;
}

Bitmap<float> squares(const Bitmap<float>& plane) {
    Bitmap<float> result(plane.width(), plane.height());
    for (int y = 0; y < plane.height(); ++y)
        std::transform(plane.row(y), plane.row(y) + plane.width(), result.row(y),
                       [](float value) { return value * value; });
    return result;
}

/// What the transforms of one picture are needed for: its mask, values and squares.
struct Spectra {
    Spectra(const MaskedPlane& plane, int cell, int width, int height, Progress& progress)
        : mask(fourier_transform(as_floats(plane.valid), width, height)) {
        const Bitmap<float> contrast = contrast_plane(plane, cell, 0, progress);
        values = fourier_transform(contrast, width, height);
        throw_if_aborted(progress);
        squared = fourier_transform(squares(contrast), width, height);
        throw_if_aborted(progress);
    }
    Spectrum mask;
    Spectrum values;
    Spectrum squared;
};

/// Sums over x of a(x) b(x + d) for every shift d, modulo the size.
Bitmap<float> correlated(const Spectrum& a, const Spectrum& b, const Progress& progress) {
    throw_if_aborted(progress);
    Spectrum product(a.width(), a.height());
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            product(x, y) = std::conj(a(x, y)) * b(x, y);
    return inverse_transform(std::move(product));
}

}  // namespace

std::optional<Point> global_shift(const MaskedPlane& off, const MaskedPlane& on, int cell,
                                  Progress& progress) {
    const int width = transform_side(2 * off.width() - 1);
    const int height = transform_side(2 * off.height() - 1);
    const Spectra a(off, cell, width, height, progress);
    const Spectra b(on, cell, width, height, progress);
    const Bitmap<float> overlap = correlated(a.mask, b.mask, progress);
    const Bitmap<float> sum_a = correlated(a.values, b.mask, progress);
    const Bitmap<float> sum_b = correlated(a.mask, b.values, progress);
    const Bitmap<float> product = correlated(a.values, b.values, progress);
    const Bitmap<float> square_a = correlated(a.squared, b.mask, progress);
    const Bitmap<float> square_b = correlated(a.mask, b.squared, progress);

    float largest = 0;
    for (int y = 0; y < height; ++y)
        largest = std::max(largest, *std::max_element(overlap.row(y), overlap.row(y) + width));
    if (!(largest > 0.5F)) return std::nullopt;
    double best = -1;
    Point shift;
    double squares_sum = 0;
    double count = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const double n = static_cast<double>(overlap(x, y));
            if (n < static_cast<double>(least_overlap * largest)) continue;
            const double sa = static_cast<double>(sum_a(x, y));
            const double sb = static_cast<double>(sum_b(x, y));
            const double scatter = (static_cast<double>(square_a(x, y)) - sa * sa / n) *
                                   (static_cast<double>(square_b(x, y)) - sb * sb / n);
            if (!(scatter > 0)) continue;
            const double correlation =
                (static_cast<double>(product(x, y)) - sa * sb / n) / std::sqrt(scatter);
            squares_sum += correlation * correlation;
            ++count;
            if (correlation > best) {
                best = correlation;
                shift = {static_cast<double>(x <= width / 2 ? x : x - width),
                         static_cast<double>(y <= height / 2 ? y : y - height)};
            }
        }
    if (count == 0 || best * best * count < significance * significance * squares_sum)
        return std::nullopt;
    return shift;
}

}  // namespace vyn
