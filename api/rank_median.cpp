#include "api/rank_median.h"

#include <array>
#include <cstring>

#include "api/kernels/median_kernels.h"

namespace vyn {

namespace {

struct Entry {
    std::uint32_t key;
    std::uint16_t x;
    std::uint16_t y;
};
static_assert(max_bitmap_side <= 65536);

/// Numbers in the order of the values, NaN the largest.
std::uint32_t key_of(float value) {
    if (value != value) return 0xffffffff;
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    constexpr std::uint32_t sign = 0x80000000;
    return (bits & sign) != 0 ? ~bits : bits | sign;
}

/// Counting sort by eleven bits of the key; keeps the order of equal ones.
void sort_by_digit(const std::vector<Entry>& from, int shift, std::vector<Entry>& to) {
    constexpr std::uint32_t digits = 1 << 11;
    const auto digit = [shift](const Entry& entry) { return (entry.key >> shift) % digits; };
    std::array<std::uint32_t, digits> place{};
    for (const Entry& entry : from)
        ++place[digit(entry)];
    std::uint32_t start = 0;
    for (std::uint32_t& at : place) {
        const std::uint32_t count = at;
        at = start;
        start += count;
    }
    for (const Entry& entry : from)
        to[place[digit(entry)]++] = entry;
}

}  // namespace

ValueRanks::ValueRanks(const image& picture) : ranks(picture.width(), picture.height(), no_rank) {
    std::vector<Entry> entries;
    entries.reserve(picture.values().count());
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            if (picture.mask()(x, y) == 0)
                entries.push_back({key_of(picture.values()(x, y)), static_cast<std::uint16_t>(x),
                                   static_cast<std::uint16_t>(y)});
    std::vector<Entry> other(entries.size());
    for (const int shift : {0, 11, 22}) {
        sort_by_digit(entries, shift, other);
        entries.swap(other);
    }
    values.resize(entries.size());
    std::uint32_t rank = 0;
    for (const Entry& entry : entries) {
        ranks(entry.x, entry.y) = rank;
        values[rank++] = picture.values()(entry.x, entry.y);
    }
}

}  // namespace vyn
