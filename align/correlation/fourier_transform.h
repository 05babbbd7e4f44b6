#pragma once

#include <complex>

#include "api/bitmap.h"

namespace vyn {

/// A plane of complex amplitudes.
using Spectrum = Bitmap<std::complex<float>>;

/// Discrete Fourier transform of a plane, continued with zeros to width x height.
Spectrum fourier_transform(const Bitmap<float>& plane, int width, int height);

/// Real part of the inverse transform.
Bitmap<float> inverse_transform(Spectrum spectrum);

/// The next side, at least n, whose only prime factors are 2, 3 and 5: fast to transform.
int transform_side(int n);

}  // namespace vyn
