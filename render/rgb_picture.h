#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vyn {

/// Rows of red, green and blue bytes without gaps.
struct RgbPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgb;

    std::uint8_t* at(int x, int y) {
        return rgb.data() +
               3 * (std::size_t{static_cast<unsigned>(y)} * static_cast<unsigned>(width) +
                    static_cast<unsigned>(x));
    }
    const std::uint8_t* at(int x, int y) const { return const_cast<RgbPicture*>(this)->at(x, y); }
};

/// A white one.
inline RgbPicture paper(int width, int height) {
    return {width, height,
            std::vector<std::uint8_t>(
                3 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 255)};
}

}  // namespace vyn
