#include "plugins/fits/fits_headers.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

#include "core/numbers.h"

namespace vyn::plugins {

namespace {

constexpr std::size_t record = 2880;  // bytes
constexpr std::size_t card = 80;
constexpr int most_headers = 4096;
constexpr int most_records = 4096;  // of one header

/// What a header says of its data and of a compressed picture in them.
struct Header {
    std::uint64_t records = 0;
    std::int64_t bits = 0;
    std::int64_t groups = 1;
    std::int64_t heap = 0;
    std::int64_t axes = 0;
    std::array<std::int64_t, 999> sides{};
    bool rice = false;
    bool block_of_none = false;
    bool tile_of_none = false;
};

std::int64_t whole_number(std::string_view value) {
    value = trim(value.substr(0, value.find('/')));
    std::int64_t number = 0;
    std::from_chars(value.data(), value.data() + value.size(), number);
    return number;
}

/// False at the end of the header.
bool take_card(std::string_view text, Header& header) {
    const std::string_view name = trim(text.substr(0, 8));
    if (name == "END") return false;
    if (text[8] != '=') return true;
    const std::string_view value = text.substr(9);
    if (name == "BITPIX") header.bits = whole_number(value);
    if (name == "PCOUNT") header.heap = whole_number(value);
    if (name == "GCOUNT") header.groups = whole_number(value);
    if (name == "ZCMPTYPE") header.rice = value.find("RICE") != value.npos;
    if (name == "ZVAL1") header.block_of_none = whole_number(value) < 1;
    if (name.starts_with("ZTILE") && whole_number(value) < 1) header.tile_of_none = true;
    if (name == "NAXIS") {
        header.axes = whole_number(value);
    } else if (name.starts_with("NAXIS")) {
        const std::int64_t axis = whole_number(name.substr(5));
        if (axis >= 1 && axis <= static_cast<std::int64_t>(header.sides.size()))
            header.sides[static_cast<std::size_t>(axis - 1)] = whole_number(value);
    }
    return true;
}

/// False when the file ends before the header does.
bool read_header(const BytesAt& file, std::uint64_t offset, Header& header) {
    std::array<char, record> bytes;
    while (header.records < most_records &&
           file(offset + header.records * record, bytes.data(), record)) {
        ++header.records;
        for (std::size_t at = 0; at < record; at += card)
            if (!take_card({&bytes[at], card}, header)) return true;
    }
    return false;
}

/// Bytes of the data, in whole records; a double, since a hostile header multiplies without end.
double data_bytes(const Header& header) {
    if (header.axes < 1 || header.axes > static_cast<std::int64_t>(header.sides.size())) return 0;
    double pixels = 1;
    for (std::size_t i = 0; i < static_cast<std::size_t>(header.axes); ++i)
        pixels *= static_cast<double>(header.sides[i]);
    return std::abs(static_cast<double>(header.bits) / 8) * static_cast<double>(header.groups) *
           (static_cast<double>(header.heap) + pixels);
}

}  // namespace

std::string fault_of_headers(const BytesAt& file) {
    std::uint64_t offset = 0;
    for (int count = 0; count < most_headers; ++count) {
        Header header;
        if (!read_header(file, offset, header)) return {};
        if (header.tile_of_none || (header.rice && header.block_of_none))
            return "its compressed blocks hold no pixels";
        const double bytes = data_bytes(header);
        constexpr double most = 1e15;
        if (!(bytes >= 0 && bytes < most)) return {};
        const auto data = static_cast<std::uint64_t>(bytes);
        offset += (header.records + (data + record - 1) / record) * record;
    }
    return {};
}

}  // namespace vyn::plugins
