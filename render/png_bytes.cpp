#include <array>
#include <cstdlib>
#include <cstring>

#include <zlib.h>

#include "core/errors.h"
#include "render/picture.h"

/// PNG (ISO/IEC 15948) of 8-bit colour. The format is chunks of bytes around zlib's compression.
namespace vyn {

namespace {

constexpr int compression_level = 4;
constexpr std::size_t bytes_per_pixel = 3;

void append_number(std::string& to, std::uint32_t number) {
    for (const unsigned shift : {24U, 16U, 8U, 0U})
        to += static_cast<char>(number >> shift & 0xFFU);
}

void append_chunk(std::string& to, const char* type, const std::string& content) {
    append_number(to, static_cast<std::uint32_t>(content.size()));
    const std::string checked = type + content;
    to += checked;
    const uLong sum = crc32_z(0, reinterpret_cast<const Bytef*>(checked.data()), checked.size());
    append_number(to, static_cast<std::uint32_t>(sum));
}

std::string header(const RgbPicture& picture) {
    std::string content;
    append_number(content, static_cast<std::uint32_t>(picture.width));
    append_number(content, static_cast<std::uint32_t>(picture.height));
    // 8 bits, colour without alpha, the one compression, the one set of filters, not interlaced.
    return content.append({8, 2, 0, 0, 0});
}

std::uint8_t paeth(int left, int above, int corner) {
    const int estimate = left + above - corner;
    const int to_left = std::abs(estimate - left);
    const int to_above = std::abs(estimate - above);
    const int to_corner = std::abs(estimate - corner);
    if (to_left <= to_above && to_left <= to_corner) return static_cast<std::uint8_t>(left);
    return static_cast<std::uint8_t>(to_above <= to_corner ? above : corner);
}

/// Replaces a row by its differences to what is known before it, in the way that leaves the
/// smallest ones.
class RowFilter {
  public:
    explicit RowFilter(std::size_t bytes) : nothing_(bytes) {
        for (std::string& filtered : filtered_)
            filtered.resize(bytes + 1);
    }

    /// The filter's number and the filtered bytes. `above` may be null.
    const std::string& best(const std::uint8_t* row, const std::uint8_t* above) {
        if (!above) above = nothing_.data();
        for (std::size_t f = 0; f < filters.size(); ++f)
            filtered_[f][0] = static_cast<char>(filters[f]);
        std::array<std::uint64_t, filters.size()> sizes{};
        for (std::size_t i = 0; i < nothing_.size(); ++i) {
            const std::uint8_t left = i < bytes_per_pixel ? 0 : row[i - bytes_per_pixel];
            const std::uint8_t corner = i < bytes_per_pixel ? 0 : above[i - bytes_per_pixel];
            const std::array<int, filters.size()> known{0, left, above[i],
                                                        paeth(left, above[i], corner)};
            for (std::size_t f = 0; f < filters.size(); ++f) {
                const auto difference = static_cast<std::int8_t>(row[i] - known[f]);
                filtered_[f][i + 1] = static_cast<char>(difference);
                sizes[f] += static_cast<std::uint64_t>(std::abs(int{difference}));
            }
        }
        std::size_t smallest = 0;
        for (std::size_t f = 1; f < filters.size(); ++f)
            if (sizes[f] < sizes[smallest]) smallest = f;
        return filtered_[smallest];
    }

  private:
    static constexpr std::array<int, 4> filters{0, 1, 2, 4};  // none, left, above, Paeth's
    std::vector<std::uint8_t> nothing_;
    std::array<std::string, 4> filtered_;
};

std::string compressed(const std::string& bytes) {
    uLongf size = compressBound(bytes.size());
    std::string out(size, '\0');
    if (compress2(reinterpret_cast<Bytef*>(out.data()), &size,
                  reinterpret_cast<const Bytef*>(bytes.data()), bytes.size(),
                  compression_level) != Z_OK)
        throw AlgoError("Algorithm error!", "the picture cannot be compressed");
    out.resize(size);
    return out;
}

std::string encoded(const RgbPicture& picture, const PngTexts& texts) {
    const std::size_t row_bytes = bytes_per_pixel * static_cast<std::size_t>(picture.width);
    RowFilter filter(row_bytes);
    std::string rows;
    rows.reserve((row_bytes + 1) * static_cast<std::size_t>(picture.height));
    for (int y = 0; y < picture.height; ++y)
        rows += filter.best(picture.at(0, y), y == 0 ? nullptr : picture.at(0, y - 1));

    std::string file = "\x89PNG\r\n\x1a\n";
    append_chunk(file, "IHDR", header(picture));
    for (const auto& [keyword, text] : texts)
        append_chunk(file, "tEXt", std::string(keyword).append(1, '\0').append(text));
    append_chunk(file, "IDAT", compressed(rows));
    append_chunk(file, "IEND", {});
    return file;
}

}  // namespace

std::vector<std::byte> png_bytes(const RgbPicture& picture, const PngTexts& texts) {
    const std::string file = encoded(picture, texts);
    std::vector<std::byte> bytes(file.size());
    std::memcpy(bytes.data(), file.data(), file.size());
    return bytes;
}

void write_png(const RgbPicture& picture, const std::filesystem::path& file,
               const PngTexts& texts) {
    write_file(file, encoded(picture, texts));
}

}  // namespace vyn
