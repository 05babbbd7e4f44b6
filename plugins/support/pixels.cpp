#include "plugins/support/pixels.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <limits>
#include <string>

#include "plugins/support/burst.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

struct TypeInfo {
    std::string_view word;
    std::size_t bytes;
    double full_scale;
};

template <class T>
constexpr TypeInfo integer(std::string_view word) {
    return {word, sizeof(T), static_cast<double>(std::numeric_limits<T>::max())};
}

/// In the order of PixelType.
constexpr std::array types{integer<std::uint8_t>("u8"),   integer<std::int8_t>("i8"),
                           integer<std::uint16_t>("u16"), integer<std::int16_t>("i16"),
                           integer<std::uint32_t>("u32"), integer<std::int32_t>("i32"),
                           integer<std::uint64_t>("u64"), integer<std::int64_t>("i64"),
                           TypeInfo{"f32", 4, 0},         TypeInfo{"f64", 8, 0}};

const TypeInfo& info_of(PixelType type) {
    return types[static_cast<std::size_t>(type)];
}

template <class T>
void decode(const std::byte* packed, std::endian order, std::span<double> values) {
    std::array<std::byte, sizeof(T)> bytes;
    for (double& value : values) {
        std::copy_n(packed, sizeof(T), bytes.begin());
        if (order != std::endian::native) std::reverse(bytes.begin(), bytes.end());
        value = static_cast<double>(std::bit_cast<T>(bytes));
        packed += sizeof(T);
    }
}

/// Sides that can be, and as many bytes as they need.
void check_backing(const std::filesystem::path& file, const PixelLayout& layout) {
    check_sides(file, layout.width, layout.height);
    if (layout.frames < 1 || layout.frames > std::numeric_limits<int>::max())
        refuse(file, "a burst of " + std::to_string(layout.frames) + " frames");
    const std::uint64_t size = std::filesystem::file_size(file);
    const auto row = static_cast<std::uint64_t>(layout.width) * bytes_of(layout.type);
    const std::uint64_t frame = row * static_cast<std::uint64_t>(layout.height);
    const std::string cut_off = "the file is cut off: pixels lie beyond its end";
    if (layout.offset > size || frame > size - layout.offset) refuse(file, cut_off);
    // Each further frame takes its bytes and those of the gap before it.
    const std::uint64_t rest = size - layout.offset - frame;
    if (layout.frame_gap > size ||
        rest / (frame + layout.frame_gap) < static_cast<std::uint64_t>(layout.frames) - 1)
        refuse(file, cut_off);
}

}  // namespace

std::size_t bytes_of(PixelType type) {
    return info_of(type).bytes;
}

double full_scale(PixelType type) {
    return info_of(type).full_scale;
}

std::optional<PixelType> pixel_type(std::string_view word) {
    for (std::size_t i = 0; i < types.size(); ++i)
        if (types[i].word == word) return static_cast<PixelType>(i);
    return std::nullopt;
}

void decode_pixels(PixelType type, std::endian order, const std::byte* stored,
                   std::span<double> values) {
    switch (type) {
        case PixelType::u8:
            return decode<std::uint8_t>(stored, order, values);
        case PixelType::i8:
            return decode<std::int8_t>(stored, order, values);
        case PixelType::u16:
            return decode<std::uint16_t>(stored, order, values);
        case PixelType::i16:
            return decode<std::int16_t>(stored, order, values);
        case PixelType::u32:
            return decode<std::uint32_t>(stored, order, values);
        case PixelType::i32:
            return decode<std::int32_t>(stored, order, values);
        case PixelType::u64:
            return decode<std::uint64_t>(stored, order, values);
        case PixelType::i64:
            return decode<std::int64_t>(stored, order, values);
        case PixelType::f32:
            return decode<float>(stored, order, values);
        case PixelType::f64:
            return decode<double>(stored, order, values);
    }
}

std::uint64_t PixelLayout::bytes() const {
    const std::uint64_t frame =
        static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) * bytes_of(type);
    return frame + (frame + frame_gap) * (static_cast<std::uint64_t>(frames) - 1);
}

image read_pixels(const std::filesystem::path& file, const PixelLayout& layout, Progress& progress,
                  const RowChange& change) {
    check_backing(file, layout);
    std::ifstream stream(file, std::ios::binary);
    stream.seekg(static_cast<std::streamoff>(layout.offset));
    const int height = static_cast<int>(layout.height);
    const int frames = static_cast<int>(layout.frames);
    Burst burst(static_cast<int>(layout.width), height, frames,
                layout.full_scale.value_or(full_scale(layout.type)));
    std::vector<double> values(static_cast<std::size_t>(layout.width));
    std::vector<std::byte> packed(values.size() * bytes_of(layout.type));
    for (int frame = 0; frame < frames; ++frame) {
        SubProgress part(progress, static_cast<double>(frame) / frames, (frame + 1.0) / frames);
        if (frame > 0) stream.seekg(static_cast<std::streamoff>(layout.frame_gap), std::ios::cur);
        for (int row = 0; row < height; ++row) {
            report_row(part, row, height);
            stream.read(reinterpret_cast<char*>(packed.data()),
                        static_cast<std::streamsize>(packed.size()));
            if (!stream) refuse(file, "the file changed while it was read");
            decode_pixels(layout.type, layout.order, packed.data(), values);
            if (change) change(values);
            const bool turned = layout.first_row == PixelLayout::FirstRow::bottom;
            burst.add_row(turned ? height - 1 - row : row, values.data());
        }
    }
    progress.fraction(1);
    return burst.take(file);
}

std::uint64_t header_number(std::span<const std::byte> head, std::size_t offset, std::size_t bytes,
                            std::endian order) {
    if (offset > head.size() || bytes > head.size() - offset) return 0;
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        const std::size_t place = order == std::endian::big ? i : bytes - 1 - i;
        value = value << 8 | std::to_integer<std::uint64_t>(head[offset + place]);
    }
    return value;
}

std::vector<std::byte> first_bytes(const std::filesystem::path& file, std::size_t most) {
    std::vector<std::byte> head(most);
    std::ifstream stream(file, std::ios::binary);
    stream.read(reinterpret_cast<char*>(head.data()), static_cast<std::streamsize>(most));
    head.resize(static_cast<std::size_t>(std::max<std::streamsize>(stream.gcount(), 0)));
    return head;
}

}  // namespace vyn::plugins
