#include <map>
#include <string>

#include "core/atomic_file.h"
#include "core/numbers.h"
#include "plugins/support/pixels.h"
#include "plugins/support/read_only_format.h"

namespace vyn::plugins {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t longest_description = 4096;

/// The description beside a file.
fs::path beside(const fs::path& file) {
    return file.string() + ".layout";
}

using Words = std::map<std::string, std::string, std::less<>>;

/// The words NAME=VALUE of a text, separated by blanks, lines or commas; # starts a comment up to
/// the end of its line.
Words words_of(const std::string& text, const fs::path& file) {
    Words words;
    std::size_t at = 0;
    while ((at = text.find_first_not_of(" \t\r\n,", at)) != text.npos) {
        if (text[at] == '#') {
            at = std::min(text.find('\n', at), text.size());
            continue;
        }
        const std::size_t end = std::min(text.find_first_of(" \t\r\n,", at), text.size());
        const std::string word = text.substr(at, end - at);
        const std::size_t equals = word.find('=');
        if (equals == word.npos)
            refuse(file, "its layout has a word that is no NAME=VALUE: " + word);
        if (!words.emplace(word.substr(0, equals), word.substr(equals + 1)).second)
            refuse(file, "its layout says " + word.substr(0, equals) + " twice");
        at = end;
    }
    return words;
}

/// Takes words out of a layout; what is left at the end nobody knows.
class Layout {
  public:
    Layout(Words words, const fs::path& file) : words_(std::move(words)), file_(file) {}

    std::string word(std::string_view name, const std::string& fallback) {
        const auto found = words_.find(name);
        if (found == words_.end()) return fallback;
        std::string value = found->second;
        words_.erase(found);
        return value;
    }
    std::int64_t number(std::string_view name, const std::string& fallback) {
        const std::string value = word(name, fallback);
        constexpr std::size_t longest = 15;
        const bool digits = !value.empty() && value.size() <= longest &&
                            value.find_first_not_of("0123456789") == value.npos;
        if (!digits)
            refuse(file_, "its layout needs a whole number for " + std::string(name) +
                              (value.empty() ? "" : ", not " + value));
        return std::stoll(value);
    }
    /// The place of the word among those possible.
    template <std::size_t n>
    std::size_t choice(std::string_view name, const char* const (&possible)[n]) {
        const std::string value = word(name, possible[0]);
        for (std::size_t i = 0; i < n; ++i)
            if (value == possible[i]) return i;
        refuse(file_, "its layout cannot have " + std::string(name) + "=" + value);
    }
    void expect_no_more() const {
        if (!words_.empty())
            refuse(file_, "its layout has a name that nobody knows: " + words_.begin()->first);
    }

  private:
    Words words_;
    const fs::path& file_;
};

PixelLayout layout_of(const std::string& text, const fs::path& file) {
    Layout words(words_of(text, file), file);
    PixelLayout layout;
    layout.width = words.number("width", "");
    layout.height = words.number("height", "");
    const std::string type = words.word("type", "u16");
    if (const auto known = pixel_type(type))
        layout.type = *known;
    else
        refuse(file, "its layout cannot have type=" + type);
    layout.order =
        words.choice("order", {"little", "big"}) == 0 ? std::endian::little : std::endian::big;
    layout.first_row = words.choice("first_row", {"top", "bottom"}) == 0
                           ? PixelLayout::FirstRow::top
                           : PixelLayout::FirstRow::bottom;
    layout.offset = static_cast<std::uint64_t>(words.number("offset", "0"));
    layout.frame_gap = static_cast<std::uint64_t>(words.number("gap", "0"));
    layout.frames = words.number("frames", "1");
    if (const std::string largest = words.word("full_scale", ""); !largest.empty()) {
        layout.full_scale = parse_double(largest);
        if (!layout.full_scale || !(*layout.full_scale > 0))
            refuse(file, "its layout cannot have full_scale=" + largest);
    }
    words.expect_no_more();
    check_sides(file, layout.width, layout.height);
    return layout;
}

/// Pixels without a header. The layout is told by whoever reads, or by a text beside the file, of
/// its name and ".layout".
class RawFormat final : public ReadOnlyFormat {
  public:
    RawFormat()
        : ReadOnlyFormat({.id = "raw",
                          .label = "Pixels without a header",
                          .extensions = {"raw"},
                          .can_read = true,
                          .headerless = true}) {}
    bool recognises(std::span<const std::byte>) const override { return true; }
    Claim claim(const fs::path& file) const override {
        std::error_code ignored;
        return fs::is_regular_file(beside(file), ignored) ? Claim::certain : Claim::none;
    }
    image read(const fs::path& file, const ImageReadOptions& options,
               Progress& progress) const override {
        const std::string text = options.raw_layout.empty()
                                     ? read_file(beside(file), longest_description)
                                     : options.raw_layout;
        const PixelLayout layout = layout_of(text, file);
        // A layout that leaves pixels over is a wrong one, as likely as not.
        const std::uint64_t size = fs::file_size(file);
        const bool possible = layout.frames > 0 && layout.offset <= size &&
                              layout.frame_gap <= size &&
                              static_cast<std::uint64_t>(layout.frames) <= size;
        if (possible && layout.bytes() + layout.frame_gap < size - layout.offset)
            refuse(file, "it has " + std::to_string(size - layout.offset - layout.bytes()) +
                             " bytes more than its layout tells of");
        return read_pixels(file, layout, progress);
    }
};

}  // namespace

}  // namespace vyn::plugins

VYN_IMAGE_PLUGIN(vyn::plugins::RawFormat)
