#include "api/image.h"

#include "core/errors.h"

namespace vyn {

namespace {

/// The plane, const or not, after the check that it exists.
template <class Plane>
Plane& existing(Plane& plane, bool present, int line, const char* what, const image& picture) {
    if (!present)
        throw AlgoError("api/image", line, "Algorithm error!",
                        "the image '" + picture.name + "' has no " + what);
    return plane;
}

std::string size_text(int width, int height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

}  // namespace

image::image(Bitmap<float> values, Bitmap<std::uint8_t> mask)
    : values_(std::move(values)), mask_(std::move(mask)) {
    check_planes();
}

Bitmap<float>& image::values() {
    return existing(values_, has_values_, 335, "values", *this);
}
const Bitmap<float>& image::values() const {
    return existing(values_, has_values_, 335, "values", *this);
}

Bitmap<std::uint8_t>& image::mask() {
    return existing(mask_, has_mask_, 343, "mask", *this);
}
const Bitmap<std::uint8_t>& image::mask() const {
    return existing(mask_, has_mask_, 343, "mask", *this);
}

Bitmap<std::uint8_t>& image::region() {
    return existing(region_, has_region_, 351, "region plane", *this);
}
const Bitmap<std::uint8_t>& image::region() const {
    return existing(region_, has_region_, 351, "region plane", *this);
}

void image::set_values(Bitmap<float> values) {
    values_ = std::move(values);
    has_values_ = true;
}

void image::set_mask(Bitmap<std::uint8_t> mask) {
    mask_ = std::move(mask);
    has_mask_ = true;
}

void image::set_region(Bitmap<std::uint8_t> region) {
    region_ = std::move(region);
    has_region_ = true;
}

void image::drop_values() {
    values_ = {};
    has_values_ = false;
}

void image::drop_mask() {
    mask_ = {};
    has_mask_ = false;
}

void image::drop_region() {
    region_ = {};
    has_region_ = false;
}

void image::fill_region(std::uint8_t value) {
    if (has_region_ && region_.same_size(values_))
        region_.fill(value);
    else
        set_region(Bitmap<std::uint8_t>(width(), height(), value));
}

void image::check_planes() const {
    const auto& values = this->values();
    const auto& mask = this->mask();
    if (!values.same_size(mask))
        throw DimError("api/image", 96,
                       "the image '" + name + "' has values of " +
                           size_text(values.width(), values.height()) + " and a mask of " +
                           size_text(mask.width(), mask.height()));
}

}  // namespace vyn
