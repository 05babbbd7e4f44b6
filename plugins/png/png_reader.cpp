#include "plugins/png/png_reader.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "plugins/png/png_comment.h"
#include "plugins/png/png_session.h"
#include "plugins/support/attributes.h"
#include "plugins/support/burst.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

namespace fs = std::filesystem;

struct Header {
    png_uint_32 width = 0;
    png_uint_32 height = 0;
    int depth = 0;
    int colour = 0;
    int passes = 1;
    bool alpha = false;
    std::size_t row_bytes = 0;
};

[[noreturn]] void refuse_damaged(const fs::path& file, const PngSession& session) {
    refuse(file, std::string("damaged or cut off: ") + session.complaint());
}

/// The size and type as the file states them.
Header read_header(const fs::path& file, PngSession& session) {
    const png_structp png = session.png();
    const png_infop info = session.info();
    Header header;
    const bool good = session.guarded([png, info, &header] {
        // The limits of the library come before ours, whose message is the better one.
        png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        // Texts, profiles and the like are skipped: the library would believe their lengths.
        constexpr int all_ancillary = -1;
        png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, all_ancillary);
        png_read_info(png, info);
        png_get_IHDR(png, info, &header.width, &header.height, &header.depth, &header.colour,
                     nullptr, nullptr, nullptr);
    });
    if (!good) refuse_damaged(file, session);
    return header;
}

void examine(const fs::path& file, const Header& header) {
    if (header.colour != PNG_COLOR_TYPE_GRAY && header.colour != PNG_COLOR_TYPE_GRAY_ALPHA)
        refuse(file, "a colour picture; only grey values are supported");
    check_sides(file, header.width, header.height);
    const std::uint64_t samples = header.colour == PNG_COLOR_TYPE_GRAY_ALPHA ? 2 : 1;
    const auto bits = std::uint64_t{header.width} * header.height * samples *
                      static_cast<std::uint64_t>(header.depth);
    if (bits / 8 > fs::file_size(file) * max_compression_ratio)
        refuse(file, "the file is too small for the picture's size");
}

/// Asks for 8 or 16 bits in this machine's byte order, and for alpha where there is transparency.
void choose_rows(const fs::path& file, PngSession& session, Header& header) {
    const png_structp png = session.png();
    const png_infop info = session.info();
    const bool good = session.guarded([png, info, &header] {
        if (header.depth < 8) png_set_expand_gray_1_2_4_to_8(png);
        if (png_get_valid(png, info, PNG_INFO_tRNS)) png_set_tRNS_to_alpha(png);
        if (header.depth == 16) png_set_swap(png);
        header.passes = png_set_interlace_handling(png);
        png_read_update_info(png, info);
        header.alpha = png_get_channels(png, info) == 2;
        header.row_bytes = png_get_rowbytes(png, info);
    });
    if (!good) refuse_damaged(file, session);
}

std::vector<png_byte> read_pixels(const fs::path& file, PngSession& session, const Header& header,
                                  Progress& progress) {
    const png_structp png = session.png();
    std::vector<png_byte> pixels(header.row_bytes * header.height);
    for (int pass = 0; pass < header.passes; ++pass)
        for (png_uint_32 y = 0; y < header.height; ++y) {
            if (y % 64 == 0) throw_if_aborted(progress);
            const png_bytep row = &pixels[y * header.row_bytes];
            if (!session.guarded([png, row] { png_read_row(png, row, nullptr); }))
                refuse_damaged(file, session);
        }
    if (!session.guarded([png] { png_read_end(png, nullptr); })) refuse_damaged(file, session);
    return pixels;
}

template <class Sample>
image convert(const fs::path& file, const Header& header, const png_byte* pixels) {
    const int width = static_cast<int>(header.width);
    const int height = static_cast<int>(header.height);
    const int channels = header.alpha ? 2 : 1;
    const auto samples_of_row = [&](int y) {
        const auto* bytes = pixels + static_cast<std::size_t>(y) * header.row_bytes;
        return reinterpret_cast<const Sample*>(bytes);
    };
    Burst picture(width, height, 1, std::numeric_limits<Sample>::max());
    std::vector<double> values(header.width);
    for (int y = 0; y < height; ++y) {
        const Sample* samples = samples_of_row(y);
        for (int x = 0; x < width; ++x)
            values[static_cast<std::size_t>(x)] = samples[x * channels];
        picture.add_row(y, values.data());
    }
    image result = picture.take(file);
    for (int y = 0; header.alpha && y < height; ++y) {
        const Sample* samples = samples_of_row(y);
        std::uint8_t* mask = result.mask().row(y);
        for (int x = 0; x < width; ++x)
            mask[x] = samples[2 * x + 1] == 0;
    }
    return result;
}

}  // namespace

image read_png(const fs::path& file, Progress& progress) {
    PngSession session(file);
    if (!session.is_open()) refuse(file, "the file cannot be opened");
    Header header = read_header(file, session);
    examine(file, header);
    choose_rows(file, session, header);
    const auto pixels = read_pixels(file, session, header, progress);
    progress.fraction(1);
    image picture = header.depth == 16 ? convert<std::uint16_t>(file, header, pixels.data())
                                       : convert<png_byte>(file, header, pixels.data());
    take_description(png_comment(file), picture);
    return picture;
}

}  // namespace vyn::plugins
