#include <algorithm>
#include <charconv>
#include <string>

#include "plugins/support/orientation.h"
#include "plugins/support/pixels.h"
#include "plugins/support/read_only_format.h"

namespace vyn::plugins {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view magic = "\x93NUMPY";
constexpr std::size_t longest_header = 1 << 16;

/// The header: a Python dictionary as text, behind its length.
struct Header {
    std::string text;
    std::uint64_t pixels_at = 0;
};

Header header_of(const fs::path& file) {
    const auto bytes = first_bytes(file, longest_header);
    const auto version = header_number(bytes, 6, 1);
    if (version < 1 || version > 3)
        refuse(file, "version " + std::to_string(version) + " of the format is not supported");
    const std::size_t length_bytes = version == 1 ? 2 : 4;
    const std::size_t begin = 8 + length_bytes;
    const std::uint64_t length = header_number(bytes, 8, length_bytes);
    if (begin > bytes.size() || length > bytes.size() - begin)
        refuse(file, "the file is cut off in its header");
    const auto* const text = reinterpret_cast<const char*>(bytes.data()) + begin;
    return {std::string(text, length), begin + length};
}

/// What stands behind 'name': in the dictionary.
std::string_view entry(const fs::path& file, std::string_view text, std::string_view name) {
    const std::string quoted = "'" + std::string(name) + "':";
    const std::size_t place = text.find(quoted);
    if (place == text.npos) refuse(file, "its header has no '" + std::string(name) + "'");
    text.remove_prefix(place + quoted.size());
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text;
}

void read_type(const fs::path& file, std::string_view entry, PixelLayout& layout) {
    if (!entry.starts_with('\'')) refuse(file, "records of several members are not supported");
    const std::string_view word = entry.substr(1, entry.find('\'', 1) - 1);
    std::string name(word.substr(std::min<std::size_t>(word.size(), 1)));
    const std::optional<PixelType> type = [&]() -> std::optional<PixelType> {
        if (name == "b1") return PixelType::u8;
        if (name.size() != 2) return std::nullopt;
        return pixel_type(name.substr(0, 1) + std::to_string(8 * (name[1] - '0')));
    }();
    if (!type || word.find_first_of("<>|=") != 0)
        refuse(file,
               "elements of the type " + std::string(word.substr(0, 20)) + " are not supported");
    layout.type = *type;
    layout.order = word[0] == '>' ? std::endian::big : std::endian::little;
}

std::vector<std::int64_t> read_shape(const fs::path& file, std::string_view entry) {
    std::vector<std::int64_t> shape;
    constexpr std::size_t most = 8;
    const std::string_view list = entry.substr(0, entry.find(')'));
    const char* at = list.data();
    const char* const end = at + list.size();
    while (at != end && shape.size() < most) {
        std::int64_t side = 0;
        const auto [behind, error] = std::from_chars(at, end, side);
        if (error == std::errc()) shape.push_back(side);
        at = error == std::errc() ? behind : at + 1;
    }
    if (shape.size() != 2 && shape.size() != 3)
        refuse(file,
               "an array of " + std::to_string(shape.size()) + " axes; two or three are supported");
    return shape;
}

/// Arrays of NumPy: rows and columns; three axes are the frames of a burst, their rows and their
/// columns.
class NpyFormat final : public ReadOnlyFormat {
  public:
    NpyFormat() : ReadOnlyFormat({"npy", "NumPy array", {"npy"}, true, false}) {}
    bool recognises(std::span<const std::byte> head) const override {
        return starts_with(head, magic);
    }
    image read(const fs::path& file, const ImageReadOptions&, Progress& progress) const override {
        const Header header = header_of(file);
        PixelLayout layout;
        layout.offset = header.pixels_at;
        read_type(file, entry(file, header.text, "descr"), layout);
        std::vector<std::int64_t> shape = read_shape(file, entry(file, header.text, "shape"));
        const bool columns_first = entry(file, header.text, "fortran_order").starts_with("True");
        if (shape.size() == 3 && shape.back() <= 4)
            refuse(file, "its last axis looks like colours; only grey values are supported");
        if (shape.size() == 3 && columns_first)
            refuse(file, "three axes in Fortran order are not supported");
        layout.frames = shape.size() == 3 ? shape.front() : 1;
        layout.height = shape[shape.size() - 2];
        layout.width = shape.back();
        if (columns_first) std::swap(layout.width, layout.height);
        image picture = read_pixels(file, layout, progress);
        if (columns_first) orient(picture, transposed);
        return picture;
    }
};

}  // namespace

}  // namespace vyn::plugins

VYN_IMAGE_PLUGIN(vyn::plugins::NpyFormat)
