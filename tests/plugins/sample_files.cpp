#include "tests/plugins/sample_files.h"

#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <stdexcept>

#include <gmock/gmock.h>
#include <tiffio.h>

#include "core/errors.h"
#include "tests/support/error_of.h"
#include "tests/support/picture_of.h"

namespace vyn::test {

namespace {

namespace fs = std::filesystem;

class Plugins final : public testing::Environment {
    void SetUp() override {
        ASSERT_EQ(setenv("VYNLITE_PLUGINS", PLUGINS, 1), 0);
        constexpr int image_formats = 13;
        ASSERT_EQ(register_plugins("*.2dio"), image_formats);
        ASSERT_EQ(register_plugins("*.3dio"), 8);
    }
};
const auto* const plugins = testing::AddGlobalTestEnvironment(new Plugins);

/// IEEE half precision of a value that it can hold exactly.
std::uint16_t to_half(double value) {
    if (std::isnan(value)) return 0x7E00;
    if (std::isinf(value)) return value > 0 ? 0x7C00 : 0xFC00;
    if (value == 0) return 0;
    int exponent = 0;
    const double mantissa = std::frexp(std::fabs(value), &exponent);
    return static_cast<std::uint16_t>((value < 0 ? 0x8000 : 0) | (exponent + 14) << 10 |
                                      (static_cast<int>(mantissa * 2048) & 0x3FF));
}

std::uint64_t bits_of(const TiffSpec& spec, double value) {
    if (spec.format != SAMPLEFORMAT_IEEEFP)
        return static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
    return spec.bits == 16   ? to_half(value)
           : spec.bits == 32 ? std::bit_cast<std::uint32_t>(static_cast<float>(value))
                             : std::bit_cast<std::uint64_t>(value);
}

/// A row as libtiff takes it: packed from the highest bit on, or whole bytes in this machine's
/// order, which is little-endian.
std::vector<unsigned char> encode(const TiffSpec& spec, const std::vector<double>& values) {
    const bool packed = spec.bits % 8 != 0;
    const auto bits = static_cast<std::size_t>(spec.bits);
    std::vector<unsigned char> row((values.size() * bits + 7) / 8);
    for (std::size_t i = 0; i < values.size() * bits; ++i) {
        const std::uint64_t sample = bits_of(spec, values[i / bits]);
        const std::uint64_t bit = sample >> (packed ? bits - 1 - i % bits : i % bits) & 1u;
        row[i / 8] |= static_cast<unsigned char>(bit << (packed ? 7 - i % 8 : i % 8));
    }
    return row;
}

std::vector<double> cut_row(const Numbers& numbers, int y, int x0, int width) {
    std::vector<double> row(static_cast<std::size_t>(width));
    for (int x = x0; x < x0 + width; ++x)
        if (x < numbers.width && y < numbers.height)
            row[static_cast<std::size_t>(x - x0)] = numbers.at(x, y);
    return row;
}

void write_tiles(TIFF* tiff, const TiffPageSpec& page) {
    const int side = page.spec.tile;
    for (int y0 = 0; y0 < page.numbers.height; y0 += side)
        for (int x0 = 0; x0 < page.numbers.width; x0 += side) {
            std::vector<unsigned char> tile;
            for (int y = y0; y < y0 + side; ++y) {
                const auto row = encode(page.spec, cut_row(page.numbers, y, x0, side));
                tile.insert(tile.end(), row.begin(), row.end());
            }
            TIFFWriteTile(tiff, tile.data(), static_cast<std::uint32_t>(x0),
                          static_cast<std::uint32_t>(y0), 0, 0);
        }
}

void write_page(TIFF* tiff, const TiffPageSpec& page) {
    const auto& [spec, numbers, subfile, more] = page;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, numbers.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, numbers.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, spec.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, spec.format);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, spec.photometric);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, spec.compression);
    TIFFSetField(tiff, TIFFTAG_FILLORDER, spec.fill_order);
    if (spec.predictor) TIFFSetField(tiff, TIFFTAG_PREDICTOR, spec.predictor);
    if (subfile) TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, subfile);
    if (more) more(tiff);
    if (spec.tile) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, spec.tile);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, spec.tile);
        write_tiles(tiff, page);
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 3);
        for (int y = 0; y < numbers.height; ++y) {
            auto row = encode(spec, cut_row(numbers, y, 0, numbers.width));
            TIFFWriteScanline(tiff, row.data(), static_cast<std::uint32_t>(y), 0);
        }
    }
    if (!TIFFWriteDirectory(tiff)) throw std::runtime_error("no TIFF directory");
}

}  // namespace

Numbers::Numbers(int columns, int rows, const std::function<double(int x, int y)>& value)
    : width(columns), height(rows) {
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < columns; ++x)
            values.push_back(value(x, y));
}

void make_tiff(const fs::path& file, const std::vector<TiffPageSpec>& pages) {
    TIFF* tiff = TIFFOpen(file.c_str(), pages.at(0).spec.mode);
    ASSERT_NE(tiff, nullptr);
    for (const auto& page : pages)
        write_page(tiff, page);
    TIFFClose(tiff);
}

void expect_picture(const image& picture, const Numbers& numbers) {
    ASSERT_EQ(picture.width(), numbers.width);
    ASSERT_EQ(picture.height(), numbers.height);
    int wrong = 0;
    for (int y = 0; y < numbers.height; ++y)
        for (int x = 0; x < numbers.width; ++x) {
            const auto value = static_cast<float>(numbers.at(x, y));
            const float got = picture.values()(x, y);
            const bool same = got == value || (std::isnan(got) && std::isnan(value));
            const bool out = picture.mask()(x, y) != 0;
            if ((same && out == !std::isfinite(value)) || ++wrong > 5) continue;
            ADD_FAILURE() << "pixel " << x << ", " << y << " is " << got << " (mask " << out
                          << ") instead of " << value;
        }
}

std::string refusal(const fs::path& file) {
    const auto error = error_of<FileError>([&] { read_image(file); }, "reading " + file.string());
    EXPECT_THAT(error.what(), testing::HasSubstr(file.string()));
    EXPECT_THAT(error.file, testing::StartsWith("plugins/"));
    return error.what();
}

image example_image() {
    image picture = picture_of(7, 5, [](int x, int y) { return 0.1 * x + 100 * y; });
    picture.name = "example";
    picture.mask()(0, 0) = 1;
    picture.mask()(6, 4) = 200;
    picture.mask()(3, 2) = 1;
    picture.values()(3, 2) = std::numeric_limits<float>::quiet_NaN();
    return picture;
}

}  // namespace vyn::test
