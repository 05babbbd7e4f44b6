#include "app/pages/thumbnail.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "render/colour_map.h"

namespace vyn {

namespace {

/// Which pixels of the image the thumbnail shows.
struct Raster {
    int step;
    int width;
    int height;

    Raster(const image& picture, QSize most)
        : step(std::max({1, (picture.width() + most.width() - 1) / most.width(),
                         (picture.height() + most.height() - 1) / most.height()})),
          width((picture.width() + step - 1) / step),
          height((picture.height() + step - 1) / step) {}

    int source(int at, int limit) const { return std::min(at * step + step / 2, limit - 1); }
};

bool shown(const image& picture, int x, int y) {
    return picture.mask()(x, y) == 0 && std::isfinite(picture.values()(x, y));
}

colour_map colours_of(const image& picture, const Raster& raster, const palette_array& palette) {
    std::vector<float> values;
    for (int j = 0; j < raster.height; ++j)
        for (int i = 0; i < raster.width; ++i) {
            const int x = raster.source(i, picture.width());
            const int y = raster.source(j, picture.height());
            if (shown(picture, x, y)) values.push_back(picture.values()(x, y));
        }
    if (values.empty()) return {0, 1, palette};
    std::ranges::sort(values);
    const std::size_t last = values.size() - 1;
    return {values[last / 100], values[last - last / 100], palette};
}

}  // namespace

Thumbnail thumbnail(const image& picture, QSize most, const palette_array& palette) {
    if (picture.width() == 0 || picture.height() == 0) return {};
    const Raster raster(picture, most);
    const colour_map colours = colours_of(picture, raster, palette);
    QImage small(raster.width, raster.height, QImage::Format_ARGB32);
    for (int j = 0; j < raster.height; ++j) {
        auto* line = reinterpret_cast<QRgb*>(small.scanLine(j));
        const int y = raster.source(j, picture.height());
        for (int i = 0; i < raster.width; ++i) {
            const int x = raster.source(i, picture.width());
            line[i] = shown(picture, x, y)
                          ? colours.colour(picture.values()(x, y), /*background=*/false, true)
                          : qRgba(0, 0, 0, 0);
        }
    }
    return {small, colours.minimum(), colours.maximum(),
            QString::fromStdString(field_label(picture).text())};
}

}  // namespace vyn
