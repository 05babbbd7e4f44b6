#pragma once

#include <vector>

#include "api/image.h"
#include "api/kernels/filter_kernels.h"

namespace vyn {

/// Rows of n floats with `margin` more on both sides and up to the next multiple of 64, all 0 at
/// first.
class PaddedRows {
  public:
    PaddedRows(int count, int n, int margin);
    PaddedRows(const PaddedRows&) = delete;
    PaddedRows& operator=(const PaddedRows&) = delete;
    ~PaddedRows();
    float* row(int i) const { return first_ + i * stride_; }

  private:
    std::size_t bytes_;
    std::ptrdiff_t stride_;
    float* data_;
    float* first_;
};

/// Rows of an image prepared for sums (see FilterKernels), kept for a window that moves downwards.
class PreparedRows {
  public:
    /// Windows of up to `rows` rows. `picture` must outlive it.
    PreparedRows(const image& picture, RowLimits limits, int rows, int margin);

    /// Prepares the rows up to and including `last`; `first` is the first that is still needed.
    void advance(int first, int last);
    const float* value(int y) const { return values_.row(y % rows_); }
    const float* weight(int y) const { return weights_.row(y % rows_); }
    /// What is known of each 64 pixels; see chunk.
    const std::uint8_t* chunks(int y) const { return chunks_.data() + y % rows_ * chunk_count_; }
    int chunk_count() const { return chunk_count_; }

  private:
    const image& picture_;
    const RowLimits limits_;
    const int rows_;
    PaddedRows values_;
    PaddedRows weights_;
    const int chunk_count_;
    std::vector<std::uint8_t> chunks_;
    int next_ = 0;
};

/// The kernels for the active instruction set.
const FilterKernels& active_kernels_of_filters();

}  // namespace vyn
