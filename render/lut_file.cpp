#include <cstdint>
#include <limits>

#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "render/palette.h"

namespace vyn {

namespace {

constexpr const char* unit = "palette";
constexpr std::size_t max_bytes = std::size_t{1} << 20;

/// White-space separated words of a text.
class Words {
  public:
    explicit Words(std::string_view text) : rest_(text) {}
    std::string_view next() {
        rest_ = trim(rest_);
        const std::string_view word = rest_.substr(0, rest_.find_first_of(" \t\r\n\v\f"));
        rest_.remove_prefix(word.size());
        return word;
    }

  private:
    std::string_view rest_;
};

[[noreturn]] void fail(const std::filesystem::path& file, const std::string& why,
                       std::source_location here = std::source_location::current()) {
    throw FileError("File error!", file.string() + ": " + why, {unit, here});
}

std::string text_of(const std::filesystem::path& file) {
    try {
        const UnloggedErrors told_below;
        return read_file(file, max_bytes, {unit});
    } catch (const FileError& e) {
        throw FileError("File error!", e.detail, {unit});
    }
}

}  // namespace

palette_array read_lut(const std::filesystem::path& file) {
    const std::string text = text_of(file);
    Words words(text);
    words.next();  // a title
    const std::optional<int> count = parse_int(words.next());
    if (!count) fail(file, "the number of colours is missing behind the title");

    palette_array read;
    // The count is taken in 8 bits and one colour more than read belongs to the ramp; both are part
    // of the format.
    read.last = static_cast<std::uint8_t>(read.first + static_cast<std::uint8_t>(*count));
    for (int i = read.first; i < read.last; ++i) {
        const auto component = [&] {
            // Written fractions may end a rounding error outside.
            constexpr double slack = 1e-6;
            const std::optional<double> fraction = parse_double(words.next());
            if (!fraction || !(*fraction >= -slack && *fraction <= 1 + slack))
                fail(file, "colour " + std::to_string(i - read.first + 1) + " of " +
                               std::to_string(*count) +
                               " is not three fractions from 0 to 1 (red, green, blue)");
            return static_cast<std::uint8_t>(std::min(std::max(*fraction, 0.0), 1.0) * 255.0);
        };
        PaletteColour colour;
        colour.red = component();
        colour.green = component();
        colour.blue = component();
        read.entries[static_cast<std::size_t>(i)] = colour;
    }
    read.file_name = file.string();
    read.name = file.filename().string();
    palette_array target;
    target = read;
    return target;
}

}  // namespace vyn
