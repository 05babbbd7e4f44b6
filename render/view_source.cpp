#include "render/view_source.h"

#include <algorithm>
#include <cmath>

namespace vyn {

namespace {

ImageSize size_of_levels(const std::shared_ptr<const ImageLevels>& levels) {
    if (!levels) return {};
    return {levels->picture().width(), levels->picture().height()};
}

ProbedPixel probe_levels(const std::shared_ptr<const ImageLevels>& levels, int x, int y) {
    ProbedPixel pixel;
    pixel.x = x;
    pixel.y = y;
    if (!levels) return pixel;
    const ImageLevels::Level image_level = levels->level(0);
    if (!image_level.values->contains(x, y)) return pixel;
    pixel.value = (*image_level.values)(x, y);
    pixel.background = (*image_level.mask)(x, y) != 0 || std::isnan(pixel.value);
    pixel.in_roi = !image_level.region || (*image_level.region)(x, y) != 0;
    if (const std::optional<Vector2> vector = displacement_at(levels->picture(), x, y)) {
        pixel.has_vectors = true;
        pixel.u = vector->u;
        pixel.v = vector->v;
    }
    return pixel;
}

}  // namespace

ImageSize size_of(const ViewSource& source) {
    if (const auto* field = std::get_if<FieldSource>(&source)) return size_of_levels(field->levels);
    if (const auto* difference = std::get_if<DifferenceSource>(&source))
        return size_of_levels(difference->a);
    ImageSize size;
    for (const auto& channel : std::get<ColourSource>(source).channels) {
        const ImageSize other = size_of_levels(channel);
        size = {std::max(size.width, other.width), std::max(size.height, other.height)};
    }
    return size;
}

ProbedPixel probe(const ViewSource& source, int x, int y) {
    if (const auto* field = std::get_if<FieldSource>(&source))
        return probe_levels(field->levels, x, y);
    if (const auto* difference = std::get_if<DifferenceSource>(&source)) {
        ProbedPixel pixel = probe_levels(difference->a, x, y);
        const ProbedPixel other = probe_levels(difference->b, x, y);
        pixel.value -= other.value;
        pixel.background = pixel.background || other.background || std::isnan(pixel.value);
        pixel.has_vectors = false;
        return pixel;
    }
    return probe_levels(std::get<ColourSource>(source).channels[0], x, y);
}

}  // namespace vyn
