// Pictures as text: a line "vynlite-text WIDTH HEIGHT", then the values row by row between white
// space. An excluded pixel is a "-".
#include <cstring>
#include <fstream>
#include <string>

#include "api/image_io.h"
#include "core/errors.h"
#include "core/numbers.h"

namespace {

constexpr const char* magic = "vynlite-text";
constexpr int longest_side = 4096;  // of a text that somebody reads

[[noreturn]] void refuse(const std::filesystem::path& file, const std::string& why) {
    throw vyn::FileError("Error reading file", file.string() + ": " + why);
}

std::string next_word(std::istream& text, const std::filesystem::path& file) {
    std::string word;
    if (!(text >> word)) refuse(file, "it ends too early");
    return word;
}

int next_side(std::istream& text, const std::filesystem::path& file) {
    const std::string word = next_word(text, file);
    const auto side = vyn::parse_int(word);
    if (!side || *side < 1 || *side > longest_side) refuse(file, word + " is no width or height");
    return *side;
}

class TextPicture final : public vyn::ImageFormat {
  public:
    const vyn::FormatInfo& info() const override { return info_; }

    bool recognises(std::span<const std::byte> head) const override {
        const std::size_t length = std::strlen(magic);
        return head.size() >= length && std::memcmp(head.data(), magic, length) == 0;
    }

    vyn::image read(const std::filesystem::path& file, const vyn::ImageReadOptions&,
                    vyn::Progress& progress) const override {
        std::ifstream text(file);
        if (next_word(text, file) != magic) refuse(file, "not a text picture");
        const int width = next_side(text, file);
        const int height = next_side(text, file);
        vyn::image picture(width, height);
        for (int y = 0; y < height; ++y) {
            vyn::report_row(progress, y, height);
            for (int x = 0; x < width; ++x) {
                const std::string word = next_word(text, file);
                const auto value = vyn::parse_double(word);
                if (!value && word != "-") refuse(file, word + " is no number");
                picture.values()(x, y) = static_cast<float>(value.value_or(0));
                picture.mask()(x, y) = value ? 0 : 1;
            }
        }
        return picture;
    }

    void write(const vyn::image& picture, const std::filesystem::path& file,
               const vyn::ImageWriteOptions& /*options*/, vyn::Progress& progress) const override {
        std::ofstream text(file);
        text << magic << ' ' << picture.width() << ' ' << picture.height() << '\n';
        for (int y = 0; y < picture.height(); ++y) {
            vyn::report_row(progress, y, picture.height());
            for (int x = 0; x < picture.width(); ++x)
                text << (picture.mask()(x, y) ? "-"
                                              : vyn::format_general(picture.values()(x, y), 9))
                     << (x + 1 < picture.width() ? ' ' : '\n');
        }
        text.close();
        if (!text) throw vyn::FileError("Error writing file", file.string());
    }

  private:
    vyn::FormatInfo info_{"text", "Text picture", {"vtext"}, true, true};
};

}  // namespace

VYN_IMAGE_PLUGIN(TextPicture)
