#include "align/correlation/fourier_transform.h"

#include <algorithm>
#include <vector>

#include <unsupported/Eigen/FFT>

namespace vyn {

namespace {

enum class Direction { forward, inverse };

using Line = std::vector<std::complex<float>>;

void transform_line(Eigen::FFT<float>& fft, Line& line, Line& scratch, Direction direction) {
    if (direction == Direction::forward)
        fft.fwd(scratch, line);
    else
        fft.inv(scratch, line);
    line.swap(scratch);
}

void transform(Spectrum& plane, Direction direction) {
    Eigen::FFT<float> fft;
    Line scratch;
    Line line(static_cast<std::size_t>(plane.width()));
    for (int y = 0; y < plane.height(); ++y) {
        std::copy_n(plane.row(y), plane.width(), line.begin());
        transform_line(fft, line, scratch, direction);
        std::copy_n(line.begin(), plane.width(), plane.row(y));
    }
    line.resize(static_cast<std::size_t>(plane.height()));
    for (int x = 0; x < plane.width(); ++x) {
        for (int y = 0; y < plane.height(); ++y)
            line[static_cast<std::size_t>(y)] = plane(x, y);
        transform_line(fft, line, scratch, direction);
        for (int y = 0; y < plane.height(); ++y)
            plane(x, y) = line[static_cast<std::size_t>(y)];
    }
}

}  // namespace

Spectrum fourier_transform(const Bitmap<float>& plane, int width, int height) {
    Spectrum spectrum(width, height, {});
    for (int y = 0; y < plane.height(); ++y)
        std::copy_n(plane.row(y), plane.width(), spectrum.row(y));
    transform(spectrum, Direction::forward);
    return spectrum;
}

Bitmap<float> inverse_transform(Spectrum spectrum) {
    transform(spectrum, Direction::inverse);
    Bitmap<float> plane(spectrum.width(), spectrum.height());
    for (int y = 0; y < plane.height(); ++y)
        std::transform(spectrum.row(y), spectrum.row(y) + plane.width(), plane.row(y),
                       [](const std::complex<float>& value) { return value.real(); });
    return plane;
}

int transform_side(int n) {
    for (int side = std::max(n, 1);; ++side) {
        int rest = side;
        for (const int factor : {2, 3, 5})
            while (rest % factor == 0)
                rest /= factor;
        if (rest == 1) return side;
    }
}

}  // namespace vyn
