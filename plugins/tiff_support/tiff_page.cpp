#include "plugins/tiff_support/tiff_page.h"

#include <algorithm>
#include <array>
#include <bit>
#include <optional>
#include <vector>

#include "core/numbers.h"
#include "plugins/support/attributes.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

/// Beside the ratio: what a decoder may fill up with when a block is tiny.
constexpr std::uint64_t decoded_slack = 65536;

[[noreturn]] void refuse_page(const TiffFile& file, const std::string& reason,
                              ErrorPlace at = std::source_location::current()) {
    const std::string page =
        file.pages() > 1 ? "page " + std::to_string(TIFFCurrentDirectory(file.handle()) + 1) + ": "
                         : "";
    refuse(file.path(), page + reason, at);
}

template <class T>
T tag(const TiffFile& file, std::uint32_t number, T fallback) {
    T value = fallback;
    return TIFFGetFieldDefaulted(file.handle(), number, &value) ? value : fallback;
}

TiffSamples samples_of(const TiffFile& file) {
    TiffSamples samples;
    samples.bits = tag<std::uint16_t>(file, TIFFTAG_BITSPERSAMPLE, 1);
    switch (const auto format = tag<std::uint16_t>(file, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT)) {
        case SAMPLEFORMAT_UINT:
        case SAMPLEFORMAT_VOID:
            samples.kind = TiffSamples::Kind::unsigned_integer;
            break;
        case SAMPLEFORMAT_INT:
            samples.kind = TiffSamples::Kind::signed_integer;
            break;
        case SAMPLEFORMAT_IEEEFP:
            samples.kind = TiffSamples::Kind::floating;
            break;
        default:
            refuse_page(file, "sample format " + std::to_string(format) + " is not supported");
    }
    if (!is_readable(samples))
        refuse_page(file, "samples of " + std::to_string(samples.bits) + " bits are not supported");
    return samples;
}

/// Whether a second sample is the opacity; refuses more than that.
bool has_alpha(const TiffFile& file) {
    const int count = tag<std::uint16_t>(file, TIFFTAG_SAMPLESPERPIXEL, 1);
    if (count == 1) return false;
    std::uint16_t extra = 0;
    const std::uint16_t* kinds = nullptr;
    const bool alpha =
        count == 2 && TIFFGetField(file.handle(), TIFFTAG_EXTRASAMPLES, &extra, &kinds) &&
        extra == 1 && (kinds[0] == EXTRASAMPLE_ASSOCALPHA || kinds[0] == EXTRASAMPLE_UNASSALPHA);
    if (!alpha) refuse_page(file, "a colour picture; only one grey value per pixel is supported");
    if (tag<std::uint16_t>(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) != PLANARCONFIG_CONTIG)
        refuse_page(file, "grey and opacity in planes of their own are not supported");
    return true;
}

/// Whether black and white are exchanged; refuses everything that is not grey.
bool examine_colour(const TiffFile& file, TiffSamples samples) {
    const int photometric = tag<std::uint16_t>(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    if (photometric == PHOTOMETRIC_MINISBLACK) return false;
    if (photometric != PHOTOMETRIC_MINISWHITE)
        refuse_page(file, "a colour picture; only grey values are supported");
    if (samples.kind != TiffSamples::Kind::unsigned_integer)
        refuse_page(file, "white as zero is supported for unsigned integers only");
    return true;
}

/// The compressions whose decoders keep to the memory that the picture needs.
int examine_compression(const TiffFile& file) {
    constexpr std::array readable{COMPRESSION_NONE,    COMPRESSION_LZW,  COMPRESSION_ADOBE_DEFLATE,
                                  COMPRESSION_DEFLATE, COMPRESSION_JPEG, COMPRESSION_PACKBITS,
                                  COMPRESSION_ZSTD};
    const int compression = tag<std::uint16_t>(file, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    if (std::ranges::find(readable, compression) == readable.end() ||
        !TIFFIsCODECConfigured(static_cast<std::uint16_t>(compression)))
        refuse_page(file, "compression " + std::to_string(compression) + " is not supported");
    return compression;
}

/// Decoded bytes of one strip or tile; nothing when the library finds them absurd.
std::optional<std::uint64_t> decoded_bytes(const TiffFile& file, std::uint32_t block, int height) {
    TIFF* const handle = file.handle();
    tmsize_t bytes = 0;
    if (TIFFIsTiled(handle)) {
        bytes = TIFFTileSize(handle);
    } else {
        const auto full = static_cast<std::uint32_t>(height);
        const std::uint32_t rows =
            std::clamp(tag<std::uint32_t>(file, TIFFTAG_ROWSPERSTRIP, full), 1u, full);
        const std::uint64_t first_row = std::uint64_t{block} * rows;
        if (first_row >= full) return std::nullopt;
        bytes =
            TIFFVStripSize(handle, std::min(rows, full - static_cast<std::uint32_t>(first_row)));
    }
    if (bytes <= 0) return std::nullopt;
    return static_cast<std::uint64_t>(bytes);
}

std::uint64_t most_decoded(std::uint64_t stored, int compression) {
    if (compression == COMPRESSION_NONE) return stored;
    return stored * max_compression_ratio + decoded_slack;
}

/// Every strip or tile lies inside the file and can hold what it promises, alone and together.
void examine_blocks(const TiffFile& file, int height) {
    TIFF* const handle = file.handle();
    const int compression = examine_compression(file);
    const std::uint32_t blocks =
        TIFFIsTiled(handle) ? TIFFNumberOfTiles(handle) : TIFFNumberOfStrips(handle);
    std::uint64_t total = 0;
    for (std::uint32_t block = 0; block < blocks; ++block) {
        int failed = 0;
        const auto offset = TIFFGetStrileOffsetWithErr(handle, block, &failed);
        const auto stored = TIFFGetStrileByteCountWithErr(handle, block, &failed);
        if (failed || offset == 0 || stored == 0) refuse_page(file, "a block of pixels is missing");
        if (offset > file.size() || stored > file.size() - offset)
            refuse_page(file, "the file is cut off: pixels lie beyond its end");
        const auto decoded = decoded_bytes(file, block, height);
        if (!decoded || *decoded > most_decoded(stored, compression))
            refuse_page(file, "there are not enough bytes for the picture's size");
        total += *decoded;
        if (total > most_decoded(file.size(), compression))
            refuse_page(file, "the file is too small for the picture's size");
    }
    if (blocks == 0) refuse_page(file, "there are no pixels");
}

[[noreturn]] void refuse_data(const TiffFile& file) {
    refuse_page(file, "the pixels cannot be decoded: " + file.complaint());
}

void read_strips(const TiffFile& file, const TiffPage& page, Progress& progress,
                 const TiffRowSink& sink) {
    std::vector<std::byte> row(static_cast<std::size_t>(TIFFScanlineSize(file.handle())));
    for (int y = 0; y < page.height; ++y) {
        report_row(progress, y, page.height);
        if (TIFFReadScanline(file.handle(), row.data(), static_cast<std::uint32_t>(y)) != 1)
            refuse_data(file);
        sink(y, row.data());
    }
}

/// Row by row of tiles, through a band as wide as the tiles together.
void read_tiles(const TiffFile& file, const TiffPage& page, Progress& progress,
                const TiffRowSink& sink) {
    TIFF* const handle = file.handle();
    const auto tile_width = tag<std::uint32_t>(file, TIFFTAG_TILEWIDTH, 0);
    const auto tile_height = tag<std::uint32_t>(file, TIFFTAG_TILELENGTH, 0);
    if (tile_width == 0 || tile_height == 0) refuse_page(file, "its tiles have no size");
    const std::uint64_t pixel_bits =
        static_cast<std::uint64_t>(page.samples.bits) * (page.alpha ? 2 : 1);
    if (tile_width * pixel_bits % 8 != 0)
        refuse_page(file, "the rows of its tiles do not end at whole bytes");
    const auto width = static_cast<std::uint32_t>(page.width);
    const auto height = static_cast<std::uint32_t>(page.height);
    const auto across = (width - 1) / tile_width + 1;
    const auto tile_row = static_cast<std::size_t>(TIFFTileRowSize(handle));
    std::vector<std::byte> tile(static_cast<std::size_t>(TIFFTileSize(handle)));
    std::vector<std::byte> band(tile.size() * across);
    for (std::uint32_t y0 = 0; y0 < height; y0 += tile_height) {
        for (std::uint32_t column = 0; column < across; ++column) {
            throw_if_aborted(progress);
            if (TIFFReadTile(handle, tile.data(), column * tile_width, y0, 0, 0) < 0)
                refuse_data(file);
            for (std::size_t y = 0; y < tile_height; ++y)
                std::copy_n(&tile[y * tile_row], tile_row, &band[(y * across + column) * tile_row]);
        }
        const auto rows = std::min(tile_height, height - y0);
        for (std::uint32_t y = 0; y < rows; ++y) {
            report_row(progress, static_cast<int>(y0 + y), page.height);
            sink(static_cast<int>(y0 + y), &band[std::size_t{y} * across * tile_row]);
        }
    }
}

}  // namespace

bool is_full_page(const TiffFile& file) {
    const auto subfile = tag<std::uint32_t>(file, TIFFTAG_SUBFILETYPE, 0);
    return (subfile & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) == 0;
}

std::string description(const TiffFile& file) {
    const char* text = nullptr;
    if (!TIFFGetField(file.handle(), TIFFTAG_IMAGEDESCRIPTION, &text) || !text) return {};
    return text;
}

TiffMeaning meaning(const TiffFile& file, const TiffPage& page) {
    TiffMeaning found;
    found.orientation = tag<std::uint16_t>(file, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    // Some programs store the largest value of this picture there; a sensor's is all ones.
    std::uint16_t largest = 0;
    if (TIFFGetField(file.handle(), TIFFTAG_MAXSAMPLEVALUE, &largest) && largest > 0 &&
        page.samples.kind == TiffSamples::Kind::unsigned_integer &&
        largest < full_scale(page.samples) && std::has_single_bit(largest + 1u))
        found.full_scale = largest;
    constexpr std::uint32_t gdal_no_data = 42113;
    std::uint32_t length = 0;
    const char* text = nullptr;
    // The library knows the tag's type from the file alone.
    const TIFFField* field = TIFFFindField(file.handle(), gdal_no_data, TIFF_ASCII);
    if (field && TIFFFieldPassCount(field) &&
        TIFFGetField(file.handle(), gdal_no_data, &length, &text) && text) {
        std::string_view word(text, length);
        found.no_data = parse_double(word.substr(0, word.find('\0')));
    }
    return found;
}

TiffExposure exposure(TiffFile& file) {
    file.rewind();
    TiffExposure found;
    const auto text = [&file](std::uint32_t number) {
        const char* value = nullptr;
        TIFFGetField(file.handle(), number, &value);
        return parse_clock_time(value ? value : "");
    };
    found.taken = text(TIFFTAG_DATETIME);
    toff_t exif = 0;
    if (TIFFGetField(file.handle(), TIFFTAG_EXIFIFD, &exif) &&
        TIFFReadEXIFDirectory(file.handle(), exif)) {
        double seconds = 0;
        if (TIFFGetField(file.handle(), EXIFTAG_EXPOSURETIME, &seconds))
            found.exposure = sound_exposure(seconds);
        if (const auto taken = text(EXIFTAG_DATETIMEORIGINAL)) found.taken = taken;
    }
    file.rewind();
    return found;
}

TiffPage examine_page(const TiffFile& file) {
    TiffPage page;
    const auto width = tag<std::uint32_t>(file, TIFFTAG_IMAGEWIDTH, 0);
    const auto height = tag<std::uint32_t>(file, TIFFTAG_IMAGELENGTH, 0);
    check_sides(file.path(), width, height);
    page.width = static_cast<int>(width);
    page.height = static_cast<int>(height);
    page.samples = samples_of(file);
    page.alpha = has_alpha(file);
    page.min_is_white = examine_colour(file, page.samples);
    examine_blocks(file, page.height);
    return page;
}

void read_rows(const TiffFile& file, const TiffPage& page, Progress& progress,
               const TiffRowSink& sink) {
    if (TIFFIsTiled(file.handle()))
        read_tiles(file, page, progress, sink);
    else
        read_strips(file, page, progress, sink);
    progress.fraction(1);
}

}  // namespace vyn::plugins
