#include "view/image_levels.h"

#include <algorithm>
#include <cmath>

#include "api/parallel.h"

namespace vyn {

namespace {

/// Two rows of a plane, one below the other; the last row of an odd height stands for both.
template <class T>
struct RowPair {
    RowPair(const Bitmap<T>& plane, int y)
        : upper(plane.row(2 * y)), lower(plane.row(std::min(2 * y + 1, plane.height() - 1))) {}
    const T* upper;
    const T* lower;
};

struct Cell {
    float sum = 0;
    int valid = 0;

    void add(float value, std::uint8_t mask) {
        const bool counts = (mask == 0) & (value - value == 0);  // false for NaN and infinity
        sum += counts ? value : 0;
        valid += counts;
    }
};

}  // namespace

ImageLevels::ImageLevels(std::shared_ptr<const image> picture) : picture_(std::move(picture)) {
    Progress progress;
    build(progress);
}

ImageLevels::ImageLevels(std::shared_ptr<const image> picture, Progress& progress)
    : picture_(std::move(picture)) {
    build(progress);
}

void ImageLevels::build(Progress& progress) {
    picture_->check_planes();
    has_region_ = picture_->has_region() && picture_->region().same_size(picture_->values());
    for (Level last = level(0); std::max(last.values->width(), last.values->height()) > 1;
         last = level(count() - 1))
        reduced_.push_back(halved(last, progress));
}

ImageLevels::Level ImageLevels::level(int k) const {
    if (k == 0)
        return {&picture_->values(), &picture_->mask(),
                has_region_ ? &picture_->region() : nullptr};
    const Reduced& reduced = reduced_[static_cast<std::size_t>(k) - 1];
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

    parallel_rows(height, 32, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const RowPair<float> values(*level.values, y);
            const RowPair<std::uint8_t> mask(*level.mask, y);
            float* const out = half.values.row(y);
            std::uint8_t* const out_mask = half.mask.row(y);
            const auto reduce = [&](int x, int left, int right) {
                Cell cell;
                cell.add(values.upper[left], mask.upper[left]);
                cell.add(values.upper[right], mask.upper[right]);
                cell.add(values.lower[left], mask.lower[left]);
                cell.add(values.lower[right], mask.lower[right]);
                out[x] = cell.sum / static_cast<float>(std::max(cell.valid, 1));
                out_mask[x] = cell.valid < 2;
            };
            for (int x = 0; x < source_width / 2; ++x)
                reduce(x, 2 * x, 2 * x + 1);
            if (source_width % 2 != 0) reduce(width - 1, source_width - 1, source_width - 1);
            if (!level.region) continue;
            const RowPair<std::uint8_t> region(*level.region, y);
            for (int x = 0; x < width; ++x) {
                const int left = 2 * x;
                const int right = std::min(left + 1, source_width - 1);
                half.region.row(y)[x] = (region.upper[left] != 0) + (region.upper[right] != 0) +
                                            (region.lower[left] != 0) +
                                            (region.lower[right] != 0) >=
                                        2;
            }
        }
    });
    return half;
}

}  // namespace vyn
