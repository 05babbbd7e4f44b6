#include "tests/plugins/camera_files.h"

#include <bit>
#include <cstdint>

namespace vyn::test {

namespace {

constexpr int width = 7;
constexpr int height = 5;

std::string number(std::uint64_t value, std::size_t bytes, bool big = false) {
    std::string text(bytes, '\0');
    for (std::size_t i = 0; i < bytes; ++i)
        text[big ? bytes - 1 - i : i] = static_cast<char>(value >> 8 * i & 0xff);
    return text;
}

std::string floating(float value, bool big = false) {
    return number(std::bit_cast<std::uint32_t>(value), 4, big);
}

/// All pixels, row by row, each by `encode(value)`.
template <class Encode>
std::string pixels(int add, const Encode& encode) {
    std::string bytes;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            bytes += encode(100 + x + 10 * y + add);
    return bytes;
}

std::string u16(int value) {
    return number(static_cast<std::uint64_t>(value), 2);
}
std::string u16_big(int value) {
    return number(static_cast<std::uint64_t>(value), 2, true);
}
std::string u8(int value) {
    return number(static_cast<std::uint64_t>(value), 1);
}

std::string columns_first() {
    std::string bytes;
    for (int x = 0; x < width; ++x)
        for (int y = 0; y < height; ++y)
            bytes += number(std::bit_cast<std::uint64_t>(100.0 + x + 10 * y), 8);
    return bytes;
}

/// Two frames about the picture; `gap` bytes behind each, then XML when there is any.
std::string spe(float version, std::uint64_t type, const std::string& gap, const std::string& xml,
                const std::string& first, const std::string& second) {
    std::string header(4100, '\0');
    const auto put = [&](std::size_t place, const std::string& bytes) {
        header.replace(place, bytes.size(), bytes);
    };
    put(10, floating(0.25F));
    put(42, number(width, 2));
    put(108, number(type, 2));
    put(656, number(height, 2));
    put(1446, number(2, 4));
    put(1992, floating(version));
    put(2996, number(0x01234567, 4));
    put(4098, number(0x5555, 2));
    const std::string frames = first + gap + second + gap;
    if (!xml.empty()) put(678, number(header.size() + frames.size(), 8));
    return header + frames + xml;
}

}  // namespace

std::string npy_header(const std::string& type, const std::string& order,
                       const std::string& shape) {
    std::string text =
        "{'descr': '" + type + "', 'fortran_order': " + order + ", 'shape': (" + shape + "), }";
    text.resize(117, ' ');
    return "\x93NUMPY" + number(1, 1) + number(0, 1) + number(text.size() + 1, 2) + text + "\n";
}

std::vector<std::tuple<std::string, std::string, std::string>> small_camera_files() {
    const auto f32_big = [](int value) { return floating(static_cast<float>(value), true); };
    const auto i32 = [](int value) { return number(static_cast<std::uint64_t>(value), 4); };
    const auto word = [](int value) { return std::to_string(value) + "\n"; };
    return {
        {"npy", "u16.npy", npy_header("<u2", "False", "5, 7") + pixels(0, u16)},
        {"npy", "burst.npy",
         npy_header(">f4", "False", "2, 5, 7") + pixels(-3, f32_big) + pixels(3, f32_big)},
        {"npy", "fortran.npy", npy_header("<f8", "True", "5, 7") + columns_first()},
        {"pgm", "u8.pgm", "P5\n# a comment\n7 5 # another\n255\n" + pixels(0, u8)},
        {"pgm", "u16.pgm", "P5 7 5 4095\n" + pixels(0, u16_big)},
        {"pgm", "text.pgm", "P2\n7 5\n4095\n" + pixels(0, word)},
        {"spe", "u16.spe", spe(2.5F, 3, "", "", pixels(-1, u16), pixels(1, u16))},
        {"spe", "i32.spe", spe(3, 1, "stamps", "<SpeFormat/>", pixels(-1, i32), pixels(1, i32))},
        {"b16", "short.b16",
         "PCO-" + number(24 + 70, 4) + number(24, 4) + number(7, 4) + number(5, 4) + number(0, 4) +
             pixels(0, u16)},
        {"b16", "long.b16",
         "PCO-" + number(1024 + 70, 4) + number(1024, 4) + number(7, 4) + number(5, 4) +
             number(0xffffffff, 4) + std::string(1000, '\0') + pixels(0, u16)},
    };
}

}  // namespace vyn::test
