#include "plugins/support/orientation.h"

namespace vyn::plugins {

namespace {

struct Turn {
    bool rows_are_columns = false;
    bool from_right = false;
    bool from_bottom = false;
};

template <class T>
Bitmap<T> turned(const Bitmap<T>& stored, Turn turn) {
    const int width = turn.rows_are_columns ? stored.height() : stored.width();
    const int height = turn.rows_are_columns ? stored.width() : stored.height();
    Bitmap<T> result(width, height);
    for (int y = 0; y < height; ++y) {
        const int v = turn.from_bottom ? height - 1 - y : y;
        for (int x = 0; x < width; ++x) {
            const int u = turn.from_right ? width - 1 - x : x;
            result(x, y) = turn.rows_are_columns ? stored(v, u) : stored(u, v);
        }
    }
    return result;
}

}  // namespace

void orient(image& picture, int orientation) {
    if (orientation < 2 || orientation > 8) return;
    const Turn turn{
        .rows_are_columns = orientation >= 5,
        .from_right = orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7,
        .from_bottom =
            orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8};
    image result(turned(picture.values(), turn), turned(picture.mask(), turn));
    result.attributes() = picture.attributes();
    if (picture.saturated)
        result.saturated =
            std::make_shared<const Bitmap<std::uint8_t>>(turned(*picture.saturated, turn));
    if (picture.frames)
        result.frames = std::make_shared<const FrameStatistics>(
            FrameStatistics{picture.frames->frames, turned(picture.frames->variance, turn)});
    picture = std::move(result);
}

}  // namespace vyn::plugins
