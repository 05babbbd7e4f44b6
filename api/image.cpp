#include "api/image.h"

#include <algorithm>
#include <cstring>

#include "core/errors.h"

namespace vyn {

namespace {

void check_present(bool present, int line, const char* what, const image& picture) {
    if (!present)
        throw AlgoError("Algorithm error!", "the image '" + picture.name + "' has no " + what,
                        {"api/image", line});
}

std::string size_text(int width, int height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

}  // namespace

image::image(Bitmap<float> values, Bitmap<std::uint8_t> mask)
    : values_(SharedPlane(std::move(values))), mask_(SharedPlane(std::move(mask))) {
    check_planes();
}

Bitmap<float>& image::values() {
    check_present(has_values_, 335, "values", *this);
    return values_.edit();
}
const Bitmap<float>& image::values() const {
    check_present(has_values_, 335, "values", *this);
    return values_.get();
}

Bitmap<std::uint8_t>& image::mask() {
    check_present(has_mask_, 343, "mask", *this);
    return mask_.edit();
}
const Bitmap<std::uint8_t>& image::mask() const {
    check_present(has_mask_, 343, "mask", *this);
    return mask_.get();
}

Bitmap<std::uint8_t>& image::region() {
    check_present(has_region_, 351, "region plane", *this);
    return region_.edit();
}
const Bitmap<std::uint8_t>& image::region() const {
    check_present(has_region_, 351, "region plane", *this);
    return region_.get();
}

void image::set_values(Bitmap<float> values) {
    values_ = SharedPlane(std::move(values));
    has_values_ = true;
}

void image::set_mask(Bitmap<std::uint8_t> mask) {
    mask_ = SharedPlane(std::move(mask));
    has_mask_ = true;
}

void image::set_region(Bitmap<std::uint8_t> region) {
    region_ = SharedPlane(std::move(region));
    has_region_ = true;
}

void image::share_region(const image& other) {
    region_ = other.region_;
    has_region_ = other.has_region_;
}

bool image::shares_values_with(const image& other) const {
    return values_.shares_with(other.values_);
}
bool image::shares_planes_with(const image& other) const {
    return values_.shares_with(other.values_) && mask_.shares_with(other.mask_) &&
           region_.shares_with(other.region_);
}

void image::note_mask_saved() {
    saved_mask_ = mask_;
    saved_region_ = region_;
}

namespace {

using BytePlane = SharedPlane<std::uint8_t>;

bool same_bytes(const BytePlane& a, const BytePlane& b) {
    if (a.shares_with(b)) return true;
    if (!a.get().same_size(b.get())) return false;
    for (int y = 0; y < a.get().height(); ++y)
        if (!std::equal(a.get().row(y), a.get().row(y) + a.get().width(), b.get().row(y)))
            return false;
    return true;
}

/// No region plane means inside everywhere.
bool all_inside(const BytePlane& region) {
    for (int y = 0; y < region.get().height(); ++y)
        if (std::memchr(region.get().row(y), 0, static_cast<std::size_t>(region.get().width())))
            return false;
    return true;
}

}  // namespace

bool image::has_unsaved_mask() const {
    if (!saved_mask_) return false;
    if (!same_bytes(*saved_mask_, mask_)) return true;
    return !same_bytes(saved_region_, region_) &&
           !(all_inside(saved_region_) && all_inside(region_));
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
    if (has_region_ && region_.get().same_size(values_.get()))
        region_.edit().fill(value);
    else
        set_region(Bitmap<std::uint8_t>(width(), height(), value));
}

void image::check_planes() const {
    const auto& values = this->values();
    const auto& mask = this->mask();
    if (!values.same_size(mask))
        throw DimError("the image '" + name + "' has values of " +
                           size_text(values.width(), values.height()) + " and a mask of " +
                           size_text(mask.width(), mask.height()),
                       {"api/image", 96});
}

}  // namespace vyn
