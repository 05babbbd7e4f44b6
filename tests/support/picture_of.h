#pragma once

#include "api/image.h"

namespace vyn::test {

/// An image whose pixel (x, y) is value(x, y), none excluded.
template <class Value>
image picture_of(int width, int height, const Value& value) {
    image picture(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture.values()(x, y) = static_cast<float>(value(x, y));
    return picture;
}

}  // namespace vyn::test
