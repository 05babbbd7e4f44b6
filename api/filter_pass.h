#pragma once

#include <cstdint>
#include <vector>

#include "api/image.h"
#include "api/prepared_rows.h"
#include "core/progress.h"

namespace vyn {

/// One direction of a window: its nominal half size, and how far it reaches in an image.
struct WindowSide {
    WindowSide(int request, int image_side)
        : half(request / 2), reach(half < image_side ? half : image_side - 1) {}
    int half;
    int reach;
};

/// One pass of a filter over an image with at least one pixel, whose planes were checked.
struct FilterPass {
    const image& picture;
    RowLimits limits;
    WindowSide columns;
    WindowSide rows;
    FilterRule rule;
    Progress& progress;

    /// Rows of the window around row y that the image has.
    int first_row(int y) const { return y > rows.reach ? y - rows.reach : 0; }
    int last_row(int y) const {
        return rows.reach < picture.height() - y ? y + rows.reach : picture.height() - 1;
    }
    FilterRow row(int y, image& out) const;
    /// The image with the limits applied.
    image limited() const;
};

/// Blocks of rows that are filtered together; every block prepares the rows around it anew.
inline constexpr int filter_block = 64;

/// How a mean weights the pixels of its window: alike, or by exp(-(u^2 + v^2)).
enum class MeanWeights { equal, gauss };

/// The passes by type, from the picture into `out`, which has its size; every pixel is written.
void mean_pass(const FilterPass& pass, MeanWeights weights, image& out);
void range_mean_pass(const FilterPass& pass, double range_fraction, image& out);
void median_pass(const FilterPass& pass, image& out);

}  // namespace vyn
