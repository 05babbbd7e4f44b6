#include "tests/api/pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace vyn::test {

UsingIsa::UsingIsa(const char* name) {
    setenv("VYNLITE_ISA", name, 1);
}
UsingIsa::~UsingIsa() {
    unsetenv("VYNLITE_ISA");
}

image random_image(Size size, unsigned seed, Values kind) {
    std::mt19937 random(seed);
    image picture(size.width, size.height);
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const float odd_ones[] = {0, NAN, infinity, -infinity, 90};
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x) {
            const bool odd = kind == Values::special && random() % 7 == 0;
            picture.values()(x, y) =
                odd ? odd_ones[random() % 5] : static_cast<float>(random() % 24000) / 100 - 20;
            if (random() % 5 == 0) picture.mask()(x, y) = random() % 2 ? 1 : 7;
        }
    return picture;
}

image row_of(const std::vector<float>& values, const std::vector<std::uint8_t>& mask) {
    image picture(static_cast<int>(values.size()), 1);
    std::copy(values.begin(), values.end(), picture.values().row(0));
    std::copy(mask.begin(), mask.end(), picture.mask().row(0));
    return picture;
}

Bitmap<std::uint8_t> random_region(Size size, unsigned seed) {
    std::mt19937 random(seed);
    Bitmap<std::uint8_t> region(size.width, size.height);
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x)
            region(x, y) = static_cast<std::uint8_t>(random() % 2);
    return region;
}

std::vector<std::uint32_t> bits(const Bitmap<float>& plane) {
    std::vector<std::uint32_t> all;
    for (int y = 0; y < plane.height(); ++y)
        for (int x = 0; x < plane.width(); ++x) {
            const float value = std::isnan(plane(x, y)) ? NAN : plane(x, y);
            std::memcpy(&all.emplace_back(), &value, sizeof value);
        }
    return all;
}

std::vector<std::uint32_t> bits(const image& picture) {
    std::vector<std::uint32_t> all = bits(picture.values());
    const auto append = [&all](const Bitmap<std::uint8_t>& plane) {
        for (int y = 0; y < plane.height(); ++y)
            all.insert(all.end(), plane.row(y), plane.row(y) + plane.width());
    };
    append(picture.mask());
    if (picture.has_region()) append(picture.region());
    return all;
}

}  // namespace vyn::test
