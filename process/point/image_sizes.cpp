#include "process/point/image_sizes.h"

#include "core/errors.h"

namespace vyn {

namespace {

std::string size_text(const image& picture) {
    return picture.name + " (" + picture.file_name + ") is " + std::to_string(picture.width()) +
           " x " + std::to_string(picture.height());
}

}  // namespace

void require_same_size(const image& a, const image& b) {
    if (!a.values().same_size(b.values())) throw IndexError(size_text(a) + ", but " + size_text(b));
}

}  // namespace vyn
