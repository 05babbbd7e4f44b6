#include <fstream>
#include <string>

#include "core/numbers.h"
#include "plugins/support/burst.h"
#include "plugins/support/pixels.h"
#include "plugins/support/read_only_format.h"

namespace vyn::plugins {

namespace {

namespace fs = std::filesystem;

bool is_space(int c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// The next number of the text; a # starts a comment up to the end of its line.
std::int64_t next_number(std::istream& text, const fs::path& file) {
    constexpr std::size_t longest = 10;
    int c = text.get();
    while (is_space(c) || c == '#') {
        if (c == '#')
            while (text && c != '\n')
                c = text.get();
        c = text.get();
    }
    std::string word;
    for (; c >= '0' && c <= '9' && word.size() < longest; c = text.get())
        word += static_cast<char>(c);
    if (word.empty() || (text && !is_space(c)))
        refuse(file, text ? "a number is expected where none stands" : "the file is cut off");
    return std::stoll(word);
}

struct Header {
    bool text = false;
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::int64_t largest = 0;
};

Header read_header(std::istream& stream, const fs::path& file) {
    char letters[2] = {};
    stream.read(letters, 2);
    if (letters[1] == '3' || letters[1] == '6')
        refuse(file, "a colour picture; only grey values are supported");
    if (letters[1] == '1' || letters[1] == '4')
        refuse(file, "a picture of black and white; only grey values are supported");
    Header header{.text = letters[1] == '2'};
    header.width = next_number(stream, file);
    header.height = next_number(stream, file);
    header.largest = next_number(stream, file);
    check_sides(file, header.width, header.height);
    if (header.largest < 1 || header.largest > 65535)
        refuse(file, "its largest value is " + std::to_string(header.largest) +
                         "; 1 to 65535 are possible");
    return header;
}

/// Values as words; each takes two bytes at least, which bounds the sizes by the file's.
image read_words(std::istream& stream, const fs::path& file, const Header& header,
                 Progress& progress) {
    const auto count = static_cast<std::uint64_t>(header.width * header.height);
    if (2 * count - 1 > fs::file_size(file))
        refuse(file, "the file is too small for the picture's size");
    const int height = static_cast<int>(header.height);
    Burst picture(static_cast<int>(header.width), height, 1, static_cast<double>(header.largest));
    std::vector<double> row(static_cast<std::size_t>(header.width));
    for (int y = 0; y < height; ++y) {
        report_row(progress, y, height);
        for (double& value : row) {
            const std::int64_t number = next_number(stream, file);
            if (number > header.largest)
                refuse(file, "a value is larger than the largest that its header states");
            value = static_cast<double>(number);
        }
        picture.add_row(y, row.data());
    }
    return picture.take(file);
}

/// Portable grey maps, as text (P2) or binary (P5; 16-bit values with the high byte first).
class PgmFormat final : public ReadOnlyFormat {
  public:
    PgmFormat() : ReadOnlyFormat({"pgm", "Portable grey map", {"pgm", "pnm"}, true, false}) {}
    bool recognises(std::span<const std::byte> head) const override {
        return head.size() > 3 && starts_with(head, "P") && head[1] >= std::byte{'1'} &&
               head[1] <= std::byte{'6'} &&
               (is_space(std::to_integer<int>(head[2])) || head[2] == std::byte{'#'});
    }
    image read(const fs::path& file, const ImageReadOptions&, Progress& progress) const override {
        std::ifstream stream(file, std::ios::binary);
        const Header header = read_header(stream, file);
        if (header.text) return read_words(stream, file, header, progress);
        PixelLayout layout{.width = header.width, .height = header.height};
        layout.type = header.largest > 255 ? PixelType::u16 : PixelType::u8;
        layout.order = std::endian::big;
        layout.offset = static_cast<std::uint64_t>(stream.tellg());
        layout.full_scale = static_cast<double>(header.largest);
        if (fs::file_size(file) >= layout.offset + layout.bytes() + 2) {
            stream.seekg(static_cast<std::streamoff>(layout.offset + layout.bytes()));
            if (stream.get() == 'P' && stream.get() == '5')
                refuse(file, "several pictures in one file; one is supported");
        }
        return read_pixels(file, layout, progress);
    }
};

}  // namespace

}  // namespace vyn::plugins

VYN_IMAGE_PLUGIN(vyn::plugins::PgmFormat)
