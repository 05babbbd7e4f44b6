#include "api/prepared_rows.h"

#include <algorithm>

#include "api/image_parts.h"
#include "api/isa.h"

namespace vyn {

VYN_CHOOSE_KERNELS(FilterKernels, filter_kernels)

namespace {

std::ptrdiff_t rounded_up(int n, int multiple) {
    return (std::ptrdiff_t{n} + multiple - 1) / multiple * multiple;
}

}  // namespace

const FilterKernels& active_kernels_of_filters() {
    return active_filter_kernels();
}

PaddedRows::PaddedRows(int count, int n, int margin) {
    const std::ptrdiff_t before = rounded_up(margin, 16);
    stride_ = before + rounded_up(n, 64) + before;
    const std::size_t elements = static_cast<std::size_t>(count * stride_);
    bytes_ = elements * sizeof(float);
    data_ = static_cast<float*>(plane_memory::allocate(bytes_));
    std::fill_n(data_, elements, 0.0F);
    first_ = data_ + before;
}

PaddedRows::~PaddedRows() {
    plane_memory::release(data_, bytes_);
}

PreparedRows::PreparedRows(const image& picture, RowLimits limits, int rows, int margin)
    : picture_(picture),
      limits_(limits),
      rows_(rows),
      values_(rows, picture.width(), margin),
      weights_(rows, picture.width(), margin),
      chunk_count_((picture.width() + chunk::pixels - 1) / chunk::pixels),
      chunks_(static_cast<std::size_t>(rows) * static_cast<std::size_t>(chunk_count_)) {}

void PreparedRows::advance(int first, int last) {
    const FilterKernels& kernels = active_filter_kernels();
    const auto source = [&](int y) -> ConstPixelRow {
        return {picture_.values().row(y), picture_.mask().row(y)};
    };
    for (next_ = std::max(next_, first); next_ <= last; ++next_)
        kernels.prepare(source(next_), source(std::min(next_ + 1, picture_.height() - 1)),
                        region_row(picture_, next_), limits_, picture_.width(),
                        values_.row(next_ % rows_), weights_.row(next_ % rows_),
                        chunks_.data() + next_ % rows_ * chunk_count_);
}

}  // namespace vyn
