#include "api/image_parts.h"

namespace vyn {

namespace {

std::string size_text(int width, int height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

}  // namespace

image with_planes(const image& source, Bitmap<float> values, Bitmap<std::uint8_t> mask,
                  PixelFrame frame) {
    image result(std::move(values), std::move(mask));
    result.attributes() = source.attributes();
    result.file_sha256.clear();
    result.origin.clear();
    result.frames.reset();
    result.exposure.reset();
    result.taken.reset();
    if (frame == PixelFrame::other) {
        result.displacement.reset();
        result.saturated.reset();
    }
    return result;
}

void check_all_planes(const image& picture) {
    picture.check_planes();
    if (picture.has_region() && !picture.region().same_size(picture.values()))
        throw DimError("the image '" + picture.name + "' has values of " +
                           size_text(picture.width(), picture.height()) + " and a region of " +
                           size_text(picture.region().width(), picture.region().height()),
                       {"api/image", 117});
}

void check_same_size(const image& a, const image& b) {
    if (!a.values().same_size(b.values()))
        throw IndexError("the image '" + a.name + "' has " + size_text(a.width(), a.height()) +
                             " pixels and '" + b.name + "' " + size_text(b.width(), b.height()),
                         {"api/bitmap_new", 60});
}

}  // namespace vyn
