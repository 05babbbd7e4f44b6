#include "plugins/plot3d/plot3d_layout.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

#include "plugins/mesh_support/mesh_bytes.h"

namespace vyn::plugins {

namespace {

constexpr std::int64_t most_grids = 100'000;
constexpr std::int64_t most_points = std::int64_t{1} << 40;

using Sizes = std::vector<std::array<std::int64_t, 3>>;

/// The sizes of the grids from a source of whole numbers; nothing when they make no sense in a
/// file of that length.
template <class NextNumber>
std::optional<Sizes> read_sizes(std::int64_t count, int dimensions, std::uint64_t length,
                                const NextNumber& next) {
    if (count < 1 || count > most_grids || static_cast<std::uint64_t>(count) > length)
        return std::nullopt;
    Sizes grids;
    std::int64_t points = 0;
    for (std::int64_t g = 0; g < count; ++g) {
        std::array<std::int64_t, 3> size{1, 1, 1};
        std::int64_t product = 1;
        for (int d = 0; d < dimensions; ++d) {
            const std::optional<std::int64_t> number = next();
            if (!number || *number < 1 || *number > most_points / product) return std::nullopt;
            size[static_cast<std::size_t>(d)] = *number;
            product *= *number;
        }
        points += product;
        if (static_cast<std::uint64_t>(points) > length) return std::nullopt;
        grids.push_back(size);
    }
    return grids;
}

std::uint64_t points_of(const std::array<std::int64_t, 3>& size) {
    return static_cast<std::uint64_t>(size[0] * size[1] * size[2]);
}

void add_binary(std::vector<Plot3dLayout>& found, std::string_view bytes, std::uint64_t length,
                const Plot3dLayout& start) {
    Plot3dLayout layout = start;
    std::size_t place = 0;
    const auto number = [&]() -> std::optional<std::int64_t> {
        if (place + 4 > bytes.size()) return std::nullopt;
        place += 4;
        return number_at<std::int32_t>(bytes.data() + place - 4, layout.order);
    };
    // A record mark holds the length of its record and stands at both of its ends.
    const auto mark = [&](std::uint64_t wanted) {
        const auto length_there = number();
        return length_there &&
               static_cast<std::uint32_t>(*length_there) == static_cast<std::uint32_t>(wanted);
    };
    std::int64_t count = 1;
    if (layout.many) {
        if (layout.records && !mark(4)) return;
        count = number().value_or(0);
        if (layout.records && !mark(4)) return;
    }
    const std::uint64_t size_bytes = static_cast<std::uint64_t>(count * layout.dimensions) * 4;
    if (layout.records && !mark(size_bytes)) return;
    auto grids = read_sizes(count, layout.dimensions, length, number);
    if (!grids || (layout.records && !mark(size_bytes))) return;
    layout.grids = std::move(*grids);
    layout.data = place;
    std::uint64_t wanted = place;
    for (const auto& size : layout.grids)
        wanted +=
            points_of(size) * static_cast<std::uint64_t>(layout.dimensions * layout.real_bytes +
                                                         (layout.blanking ? 4 : 0)) +
            (layout.records ? 8 : 0);
    if (wanted == length) found.push_back(std::move(layout));
}

std::vector<Plot3dLayout> binary_layouts(std::string_view bytes, std::uint64_t length) {
    std::vector<Plot3dLayout> found;
    for (const std::endian order : {std::endian::little, std::endian::big})
        for (const bool records : {false, true})
            for (const bool many : {false, true})
                for (const int dimensions : {3, 2})
                    for (const int real_bytes : {4, 8})
                        for (const bool blanking : {false, true})
                            add_binary(found, bytes, length,
                                       {.order = order,
                                        .records = records,
                                        .many = many,
                                        .real_bytes = real_bytes,
                                        .blanking = blanking,
                                        .dimensions = dimensions,
                                        .grids = {}});
    return found;
}

/// Whole numbers read as coordinates are absurdly small, halves of 8-byte numbers absurdly large.
bool sane(double coordinate) {
    const double size = std::abs(coordinate);
    return coordinate == 0 || (size > 1e-30 && size < 1e15);
}

bool makes_sense(const Plot3dLayout& layout, std::string_view bytes) {
    const char* at = bytes.data() + layout.data;
    const auto whole = [&] {
        at += 4;
        return number_at<std::int32_t>(at - 4, layout.order);
    };
    for (const auto& size : layout.grids) {
        const auto points = points_of(size);
        const std::int32_t mark = layout.records ? whole() : 0;
        for (std::uint64_t i = 0; i < points * static_cast<std::uint64_t>(layout.dimensions); ++i) {
            const double x = layout.real_bytes == 4 ? double{number_at<float>(at, layout.order)}
                                                    : number_at<double>(at, layout.order);
            if (!sane(x)) return false;
            at += layout.real_bytes;
        }
        constexpr std::int32_t most_grids_told = 1'000'000;  // negative: the neighbour's number
        if (layout.blanking)
            for (std::uint64_t i = 0; i < points; ++i)
                if (std::abs(std::int64_t{whole()}) > most_grids_told) return false;
        if (layout.records && whole() != mark) return false;
    }
    return true;
}

bool looks_like_text(std::string_view bytes) {
    return bytes.substr(0, 4096).find_first_not_of("0123456789+-.eEdD \t\r\n") == bytes.npos;
}

std::vector<Plot3dLayout> text_layouts(std::string_view bytes) {
    constexpr std::string_view blanks = " \t\r\n\v\f";
    std::uint64_t words = 0;
    for (auto at = bytes.find_first_not_of(blanks); at != bytes.npos; ++words)
        at = bytes.find_first_not_of(blanks, bytes.find_first_of(blanks, at));

    std::vector<Plot3dLayout> found;
    for (const bool many : {false, true})
        for (const int dimensions : {3, 2})
            for (const bool blanking : {false, true}) {
                std::size_t place = 0;
                const auto next = [&]() -> std::optional<std::int64_t> {
                    place = std::min(bytes.find_first_not_of(blanks, place), bytes.size());
                    std::int64_t number = 0;
                    const char* end = bytes.data() + bytes.size();
                    const auto read = std::from_chars(bytes.data() + place, end, number);
                    if (read.ec != std::errc()) return std::nullopt;
                    place = static_cast<std::size_t>(read.ptr - bytes.data());
                    if (place < bytes.size() && blanks.find(bytes[place]) == blanks.npos)
                        return std::nullopt;
                    return number;
                };
                const std::int64_t count = many ? next().value_or(0) : 1;
                auto grids = read_sizes(count, dimensions, bytes.size(), next);
                if (!grids) continue;
                std::uint64_t wanted = grids->size() * static_cast<std::size_t>(dimensions) + many;
                for (const auto& size : *grids)
                    wanted += points_of(size) *
                              static_cast<std::uint64_t>(dimensions + (blanking ? 1 : 0));
                if (wanted != words) continue;
                found.push_back({.text = true,
                                 .many = many,
                                 .real_bytes = 8,
                                 .blanking = blanking,
                                 .dimensions = dimensions,
                                 .grids = std::move(*grids),
                                 .data = place});
            }
    return found;
}

}  // namespace

std::string Plot3dLayout::words() const {
    std::string result = text                           ? "text"
                         : order == std::endian::little ? "little-endian"
                                                        : "big-endian";
    if (records) result += ", record marks";
    result += many ? ", " + std::to_string(grids.size()) + " grids" : ", one grid";
    if (!text) result += real_bytes == 4 ? ", 4-byte" : ", 8-byte";
    if (blanking) result += ", IBLANK";
    return result + (dimensions == 3 ? ", 3-D" : ", 2-D");
}

std::vector<Plot3dLayout> plot3d_layouts(std::string_view bytes) {
    if (looks_like_text(bytes)) return text_layouts(bytes);
    auto layouts = binary_layouts(bytes, bytes.size());
    std::erase_if(layouts, [&](const Plot3dLayout& l) { return !makes_sense(l, bytes); });
    return layouts;
}

bool may_be_plot3d(std::string_view head, std::uint64_t length) {
    return looks_like_text(head) || !binary_layouts(head, length).empty();
}

}  // namespace vyn::plugins
