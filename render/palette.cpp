#include "render/palette.h"

#include <algorithm>

#include "render/built_in_palettes.h"

namespace vyn {

namespace {

constexpr int rainbow_first = 10;
constexpr int rainbow_count = 128;
constexpr PaletteColour white{255, 255, 255, 0};

struct RedGreenBlue {
    std::uint8_t red, green, blue;
};
constexpr std::array<RedGreenBlue, rainbow_count> rainbow{{
#include "render/rainbow.def"
}};

}  // namespace

PaletteColour lightened(PaletteColour colour) {
    const auto lighter = [](std::uint8_t c) {
        return static_cast<std::uint8_t>(c + 2 * ((255 - c) / 3));
    };
    return {lighter(colour.blue), lighter(colour.green), lighter(colour.red), colour.fourth};
}

palette_array::palette_array() : file_name("rainbow.lut"), name("rainbow") {
    for (std::size_t i = 0; i < rainbow.size(); ++i)
        entries[rainbow_first + i] = {rainbow[i].blue, rainbow[i].green, rainbow[i].red, 0};
    entries[over] = white;
    build_pale_ramp();
}

palette_array::palette_array(const palette_array& other) : palette_array() {
    *this = other;
}

palette_array& palette_array::operator=(const palette_array& other) {
    if (this == &other) return *this;
    file_name = other.file_name;
    name = other.name;
    first = other.first;
    last = other.last;
    over = other.over;
    const int end = std::min(other.last + 1, 255);
    for (int i = other.first; i <= end; ++i)
        entries[static_cast<std::size_t>(i)] = other.entries[static_cast<std::size_t>(i)];
    own_pale_ramp = other.own_pale_ramp;
    if (own_pale_ramp) {
        pale_first = other.pale_first;
        pale_last = other.pale_last;
        pale_over = other.pale_over;
        std::copy(other.entries.begin() + pale_first, other.entries.begin() + pale_over + 1,
                  entries.begin() + pale_first);
    } else {
        build_pale_ramp();
    }
    return *this;
}

bool palette_array::build_pale_ramp() {
    // The last index of all is that of the pale background.
    if (last - first != rainbow_count - 1 || last + 66 > 255) return false;
    pale_first = static_cast<std::uint8_t>(last + 2);
    pale_last = static_cast<std::uint8_t>(last + 65);
    pale_over = static_cast<std::uint8_t>(last + 66);
    for (std::size_t k = 0; k < 64; ++k)
        entries[pale_first + k] = lightened(entries[rainbow_first + 2 * k]);
    entries[pale_over] = lightened(entries[over]);
    return true;
}

std::deque<palette_array>& get_palette_list() {
    static std::deque<palette_array> list = built_in_palettes();
    return list;
}

int get_palette_idx(const palette_array& palette) {
    const std::deque<palette_array>& list = get_palette_list();
    for (std::size_t i = 0; i < list.size(); ++i)
        if (&list[i] == &palette) return static_cast<int>(i);
    const auto found = std::find(list.begin(), list.end(), palette);
    return found == list.end() ? -1 : static_cast<int>(found - list.begin());
}

const palette_array* find_palette(const std::string& name) {
    const std::deque<palette_array>& list = get_palette_list();
    const auto found = std::find_if(list.begin(), list.end(), [&](const palette_array& palette) {
        return palette.name == name;
    });
    return found == list.end() ? nullptr : &*found;
}

}  // namespace vyn
