#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

#include <zlib.h>

#include "fuzz/readers.h"

namespace vyn::fuzz {

namespace {

using Bytes = std::span<std::uint8_t>;

std::uint32_t big_endian(Bytes from) {
    return std::uint32_t{from[0]} << 24 | std::uint32_t{from[1]} << 16 |
           std::uint32_t{from[2]} << 8 | from[3];
}

std::uint32_t little_endian(Bytes from, std::size_t width) {
    std::uint32_t number = 0;
    for (std::size_t i = width; i-- > 0;)
        number = number << 8 | from[i];
    return number;
}

void store_big_endian(Bytes to, uLong number) {
    for (std::size_t i = 0; i < 4; ++i)
        to[i] = static_cast<std::uint8_t>(number >> (24 - 8 * i));
}

void store_little_endian(Bytes to, uLong number) {
    for (std::size_t i = 0; i < 4; ++i)
        to[i] = static_cast<std::uint8_t>(number >> (8 * i));
}

struct Inflated {
    std::vector<std::uint8_t> content;
    std::size_t used = 0;  ///< bytes of the packed stream
};

/// A raw deflate stream, up to a mebibyte; nothing when it is damaged.
std::optional<Inflated> inflated(Bytes packed) {
    Inflated result{std::vector<std::uint8_t>(std::size_t{1} << 20)};
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) return std::nullopt;
    stream.next_in = packed.data();
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = result.content.data();
    stream.avail_out = static_cast<uInt>(result.content.size());
    const int outcome = inflate(&stream, Z_FINISH);
    result.content.resize(stream.total_out);
    result.used = stream.total_in;
    inflateEnd(&stream);
    return outcome == Z_STREAM_END ? std::optional(result) : std::nullopt;
}

uLong crc_of(Bytes bytes) {
    return crc32(0, bytes.data(), static_cast<uInt>(bytes.size()));
}

/// The check of a zlib stream that stands whole in one chunk.
void repair_adler(Bytes stream) {
    if (stream.size() < 6) return;
    const auto pixels = inflated(stream.subspan(2));
    if (!pixels || stream.size() < 2 + pixels->used + 4) return;
    store_big_endian(stream.subspan(2 + pixels->used),
                     adler32(1, pixels->content.data(), static_cast<uInt>(pixels->content.size())));
}

/// Chunks: length, type, data, CRC of type and data.
void repair_png(Bytes file) {
    for (std::size_t at = 8; at + 12 <= file.size();) {
        const std::size_t length = big_endian(file.subspan(at));
        if (length > file.size() - at - 12) return;
        const Bytes data = file.subspan(at + 8, length);
        if (std::memcmp(&file[at + 4], "IDAT", 4) == 0) repair_adler(data);
        store_big_endian(file.subspan(at + 8 + length), crc_of(file.subspan(at + 4, length + 4)));
        at += length + 12;
    }
}

/// The entry of the central directory at the beginning of `entry`, and its local header.
void repair_entry(Bytes file, Bytes entry) {
    constexpr std::size_t local_header = 30;
    const std::size_t local_at = little_endian(entry.subspan(42), 4);
    if (file.size() < local_header || local_at > file.size() - local_header) return;
    const Bytes local = file.subspan(local_at);
    const std::size_t begin =
        local_header + little_endian(local.subspan(26), 2) + little_endian(local.subspan(28), 2);
    const std::size_t packed = little_endian(entry.subspan(20), 4);
    if (begin > local.size() || packed > local.size() - begin) return;
    const Bytes data = local.subspan(begin, packed);
    uLong crc = 0;
    if (little_endian(entry.subspan(10), 2) == 0) {
        crc = crc_of(data);
    } else {
        auto content = inflated(data);
        if (!content) return;
        crc = crc_of(content->content);
        for (const Bytes& size : {entry.subspan(24), local.subspan(22)})
            store_little_endian(size, static_cast<uLong>(content->content.size()));
    }
    store_little_endian(entry.subspan(16), crc);
    store_little_endian(local.subspan(14), crc);
}

void repair_zip(Bytes file) {
    constexpr std::size_t central_header = 46;
    for (std::size_t at = 0; at + central_header <= file.size(); ++at)
        if (std::memcmp(&file[at], "PK\1\2", 4) == 0) repair_entry(file, file.subspan(at));
}

}  // namespace

void repair_checksums(Checksums kind, std::uint8_t* bytes, std::size_t size) {
    switch (kind) {
        case Checksums::none:
            break;
        case Checksums::png:
            repair_png({bytes, size});
            break;
        case Checksums::zip:
            repair_zip({bytes, size});
            break;
    }
}

}  // namespace vyn::fuzz
