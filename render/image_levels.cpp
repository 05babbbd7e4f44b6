#include "render/image_levels.h"

#include <algorithm>

#include "api/isa.h"
#include "api/parallel.h"
#include "render/kernels/level_kernels.h"

namespace vyn {

VYN_CHOOSE_KERNELS(LevelKernels, level_kernels)

namespace {

/// Two rows of a plane, one below the other; the last row of an odd height stands for both.
template <class T>
struct RowPair {
    RowPair(const Bitmap<T>& plane, int y)
        : rows{plane.row(2 * y), plane.row(std::min(2 * y + 1, plane.height() - 1))} {}
    const T* rows[2];
};

/// Sums and counts over the columns of two rows; the last column of an odd width stands for two.
struct Columns {
    explicit Columns(int width)
        : n(width), sum(static_cast<std::size_t>(n) + 1), count(static_cast<std::size_t>(n) + 1) {}

    void repeat_last() {
        sum[static_cast<std::size_t>(n)] = sum[static_cast<std::size_t>(n) - 1];
        count[static_cast<std::size_t>(n)] = count[static_cast<std::size_t>(n) - 1];
    }

    int n;
    std::vector<float> sum;
    std::vector<float> count;
};

}  // namespace

ImageLevels::ImageLevels(std::shared_ptr<const image> picture) : picture_(std::move(picture)) {
    Progress progress;
    take_planes(nullptr, progress);
}

ImageLevels::ImageLevels(std::shared_ptr<const image> picture, const ImageLevels* earlier,
                         Progress& progress)
    : picture_(std::move(picture)) {
    take_planes(earlier, progress);
}

void ImageLevels::take_planes(const ImageLevels* earlier, Progress& progress) {
    picture_->check_planes();
    has_region_ = picture_->has_region() && picture_->region().same_size(picture_->values());
    if (earlier && earlier->picture_->shares_planes_with(*picture_)) {
        reduced_ = earlier->reduced_;
        return;
    }
    const auto reduced = std::make_shared<std::vector<Reduced>>();
    reduced_ = reduced;
    for (Level last = level(0); std::max(last.values->width(), last.values->height()) > 1;
         last = level(count() - 1))
        reduced->push_back(halved(last, progress));
}

ImageLevels::Level ImageLevels::level(int k) const {
    if (k == 0)
        return {&picture_->values(), &picture_->mask(),
                has_region_ ? &picture_->region() : nullptr};
    const Reduced& reduced = (*reduced_)[static_cast<std::size_t>(k) - 1];
    return {&reduced.values, &reduced.mask, has_region_ ? &reduced.region : nullptr};
}

int ImageLevels::level_for(double zoom) const {
    int k = 0;
    for (double scale = 2 * zoom; k + 1 < count() && !(scale > 1); scale *= 2)
        ++k;
    return k;
}

ImageLevels::Reduced ImageLevels::halved(const Level& level, Progress& progress) {
    const int source_width = level.values->width();
    const int width = (source_width + 1) / 2;
    const int height = (level.values->height() + 1) / 2;
    Reduced half{Bitmap<float>(width, height), Bitmap<std::uint8_t>(width, height), {}};
    if (level.region) half.region = Bitmap<std::uint8_t>(width, height);

    const LevelKernels& kernels = active_level_kernels();
    parallel_rows(height, 32, progress, [&](int y0, int y1) {
        Columns columns(source_width);
        float* const sum = columns.sum.data();
        float* const count = columns.count.data();
        for (int y = y0; y < y1; ++y) {
            const RowPair<float> values(*level.values, y);
            const RowPair<std::uint8_t> mask(*level.mask, y);
            kernels.sum_columns(values.rows, mask.rows, source_width, sum, count);
            columns.repeat_last();
            kernels.means(sum, count, width, half.values.row(y), half.mask.row(y));
            if (!level.region) continue;
            const RowPair<std::uint8_t> region(*level.region, y);
            kernels.count_columns(region.rows, source_width, count);
            columns.repeat_last();
            kernels.majority(count, width, half.region.row(y));
        }
    });
    return half;
}

}  // namespace vyn
