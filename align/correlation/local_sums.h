#pragma once

#include "align/kernels/correlation_kernels.h"
#include "api/bitmap.h"
#include "core/progress.h"

namespace vyn {

/// Smooth local sums of the used pixels of a plane and of their number, whose quotient is the local
/// mean (normalised convolution; Knutsson & Westin 1993): sums over tiles of tile x tile pixels, a
/// Gaussian of two tiles over them, and straight lines between the tiles' centres.
class LocalSums {
  public:
    /// Only pixels with a byte other than 0 count; tile at least 1.
    LocalSums(const Bitmap<float>& values, const Bitmap<std::uint8_t>& used, int tile,
              Progress& progress);

    /// What belongs to row y: readable up to the next multiple of 16 columns. Both are 0 where less
    /// than a twentieth of the neighbourhood is used.
    LocalSumRows rows(int y) const;

  private:
    int tile_;
    Bitmap<float> sums_;  ///< one row per tile, one column per pixel
    Bitmap<float> weights_;
};

}  // namespace vyn
