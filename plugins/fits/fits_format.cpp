#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "api/image_io.h"
#include "core/log.h"
#include "plugins/fits/fits_file.h"
#include "plugins/support/attributes.h"
#include "plugins/support/burst.h"
#include "plugins/support/provenance.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

namespace fs = std::filesystem;

constexpr int rows_per_poll = 64;
constexpr std::string_view start = "SIMPLE  =";
constexpr const char* unit_keyword = "BUNIT";
constexpr const char* row_keyword = "ROWORDER";
constexpr const char* top_down = "TOP-DOWN";
constexpr const char* bottom_up = "BOTTOM-UP";
constexpr const char* quantity_keyword = "QUANTITY";

/// FITS images, packed by gzip or not; a third axis counts the frames of a burst. Where the first
/// row belongs in the picture says ROWORDER, or else whoever reads.
class FitsFormat final : public ImageFormat {
  public:
    const FormatInfo& info() const override { return info_; }
    bool recognises(std::span<const std::byte> head) const override {
        constexpr std::string_view gzip = "\x1f\x8b";
        const auto begins = [&](std::string_view with) {
            return head.size() >= with.size() &&
                   std::memcmp(head.data(), with.data(), with.size()) == 0;
        };
        return begins(start) || begins(gzip);
    }
    Claim claim(const fs::path& file) const override {
        const std::string packed = gzip_beginning(file, start.size());
        return packed.empty() || packed == start ? Claim::likely : Claim::none;
    }
    image read(const fs::path& file, const ImageReadOptions& options,
               Progress& progress) const override;
    void write(const image& picture, const fs::path& file, const ImageWriteOptions& options,
               Progress& progress) const override;

  private:
    FormatInfo info_{"fits", "FITS image", {"fits", "fit", "fts"}, true, true};
};

/// What the header says of the picture.
struct FitsPicture {
    int type = 0;  ///< BITPIX
    int width = 0;
    int height = 0;
    LONGLONG frames = 1;
    bool compressed = false;
};

[[noreturn]] void refuse_library(const fs::path& path, const FitsFile& file) {
    refuse(path, "damaged or cut off: " + file.complaint());
}

/// Moves to the first image that has axes; gives their number.
int find_picture(const fs::path& path, FitsFile& file) {
    for (;;) {
        int kind = ANY_HDU;
        int axes = 0;
        fits_get_hdu_type(file.handle(), &kind, file.status());
        if (kind == IMAGE_HDU) fits_get_img_dim(file.handle(), &axes, file.status());
        if (!file.good()) refuse_library(path, file);
        if (axes > 0) return axes;
        fits_movrel_hdu(file.handle(), 1, nullptr, file.status());
        if (*file.status() == END_OF_FILE) refuse(path, "it holds no picture");
        if (!file.good()) refuse_library(path, file);
    }
}

/// Tile compression: methods whose decoders bound what they write, and tiles inside the picture.
void check_tiles(const fs::path& path, FitsFile& file, const FitsPicture& picture) {
    char method[FLEN_VALUE] = "";
    std::array<long, 3> tile{1, 1, 1};
    int ignored = 0;
    fits_read_key(file.handle(), TSTRING, "ZCMPTYPE", method, nullptr, file.status());
    if (!file.good()) refuse_library(path, file);
    constexpr std::array<std::string_view, 4> known{"RICE_1", "RICE_ONE", "GZIP_1", "GZIP_2"};
    if (std::ranges::find(known, std::string_view(method)) == known.end())
        refuse(path, "pictures compressed by " + std::string(method) + " are not supported");
    const std::array<LONGLONG, 3> sides{picture.width, picture.height, picture.frames};
    for (std::size_t i = 0; i < tile.size(); ++i) {
        const std::string name = "ZTILE" + std::to_string(i + 1);
        ignored = 0;
        fits_read_key(file.handle(), TLONG, name.c_str(), &tile[i], nullptr, &ignored);
        if (ignored == 0 && (tile[i] < 1 || tile[i] > sides[i]))
            refuse(path, "its tiles are larger than the picture");
    }
    const LONGLONG pixels = LONGLONG{picture.width} * picture.height * picture.frames;
    if (static_cast<std::uint64_t>(pixels) * 4 > file.size() * max_compression_ratio)
        refuse(path, "the file is too small for the picture's size");
}

/// All pixels that the header promises lie inside the file.
void check_backing(const fs::path& path, FitsFile& file, const FitsPicture& picture) {
    LONGLONG data = 0;
    fits_get_hduaddrll(file.handle(), nullptr, &data, nullptr, file.status());
    if (!file.good()) refuse_library(path, file);
    const auto size = static_cast<LONGLONG>(file.size());
    const LONGLONG frame = LONGLONG{picture.width} * picture.height * (std::abs(picture.type) / 8);
    if (data > size || picture.frames > (size - data) / frame)
        refuse(path, "the file is cut off: pixels lie beyond its end");
}

FitsPicture examine(const fs::path& path, FitsFile& file) {
    const int axes = find_picture(path, file);
    if (axes != 2 && axes != 3)
        refuse(path, "a picture of " + std::to_string(axes) + " axes; two or three are supported");
    std::array<LONGLONG, 3> sides{0, 0, 1};
    FitsPicture picture;
    int count = 0;
    fits_get_img_paramll(file.handle(), static_cast<int>(sides.size()), &picture.type, &count,
                         sides.data(), file.status());
    if (!file.good()) refuse_library(path, file);
    check_sides(path, sides[0], sides[1]);
    if (sides[2] < 1 || sides[2] > std::numeric_limits<int>::max())
        refuse(path, "a burst of " + std::to_string(sides[2]) + " frames");
    picture.width = static_cast<int>(sides[0]);
    picture.height = static_cast<int>(sides[1]);
    picture.frames = sides[2];
    picture.compressed = fits_is_compressed_image(file.handle(), file.status()) != 0;
    if (picture.compressed)
        check_tiles(path, file, picture);
    else
        check_backing(path, file, picture);
    return picture;
}

double number_keyword(FitsFile& file, const char* name, double fallback) {
    int missing = 0;
    double value = fallback;
    fits_read_key(file.handle(), TDOUBLE, name, &value, nullptr, &missing);
    return missing == 0 ? value : fallback;
}

/// Largest value of an integer type after its offset, such as 65535 for the unsigned convention; 0
/// for floating point, and for scaled integers, whose range was fitted to the picture.
double full_scale(FitsFile& file, int type) {
    if (type < 0) return 0;
    if (number_keyword(file, "BSCALE", 1) != 1) return 0;
    const double greatest = type == BYTE_IMG ? 255 : std::ldexp(1.0, type - 1) - 1;
    return greatest + number_keyword(file, "BZERO", 0);
}

/// Empty when it is missing or no text.
std::string text_keyword(FitsFile& file, const char* name) {
    int missing = 0;
    char value[FLEN_VALUE] = "";
    fits_read_key(file.handle(), TSTRING, name, value, nullptr, &missing);
    return missing == 0 ? value : "";
}

/// The long line that the header's history holds from the first card on that opens one, as
/// `write_header` puts it there; empty when there is none.
std::string description(FitsFile& file) {
    constexpr std::size_t keyword_columns = 8;
    constexpr std::size_t text_columns = 72;
    int missing = 0;
    int cards = 0;
    fits_get_hdrspace(file.handle(), &cards, nullptr, &missing);
    std::string text;
    for (int i = 1; i <= cards && missing == 0; ++i) {
        char card[FLEN_CARD] = "";
        fits_read_record(file.handle(), i, card, &missing);
        const std::string_view whole(card);
        if (!whole.starts_with("HISTORY ")) continue;
        std::string part(whole.substr(keyword_columns));
        if (text.empty() && !part.starts_with('{')) continue;
        // Blanks at the end of a card are not kept.
        part.resize(text_columns, ' ');
        text += part;
    }
    return text;
}

/// Whether the file's first row is the picture's upper one, and a log line where the file does not
/// say it.
bool is_top_down(const fs::path& path, FitsFile& file, const ImageReadOptions& options) {
    const std::string order = text_keyword(file, row_keyword);
    if (order == top_down) return true;
    if (order == bottom_up) return false;
    // Older files of this program.
    if (text_keyword(file, "CREATOR").starts_with("VynLite ")) return true;
    const bool top = options.fits_first_row == ImageReadOptions::FirstRow::top;
    get_log().write(LogLevel::information,
                    path.string() + ": does not say where its first row belongs; taken for the " +
                        (top ? "upper" : "lower") + " one");
    return top;
}

/// The day, by SOURCE_DATE_EPOCH where it is set, so that what is made anew is made alike.
std::string day_of_writing() {
    std::time_t seconds = std::time(nullptr);
    if (const char* epoch = std::getenv("SOURCE_DATE_EPOCH")) {
        const std::string_view text(epoch);
        std::int64_t stated = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), stated);
        if (error == std::errc() && end == text.data() + text.size() && stated >= 0)
            seconds = stated;
    }
    std::tm day{};
    gmtime_r(&seconds, &day);
    std::array<char, 16> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%d", &day);
    return text.data();
}

void write_text_keyword(FitsFile& file, const char* name, std::string value) {
    // Headers are plain ASCII.
    if (value.empty() || std::ranges::any_of(value, [](char c) { return c < ' ' || c > '~'; }))
        return;
    fits_update_key(file.handle(), TSTRING, name, value.data(), nullptr, file.status());
}

image FitsFormat::read(const fs::path& path, const ImageReadOptions& options,
                       Progress& progress) const {
    FitsFile file(path, FitsFile::Mode::read);
    if (!file.good()) refuse_library(path, file);
    const FitsPicture picture = examine(path, file);
    Burst burst(picture.width, picture.height, static_cast<int>(picture.frames),
                full_scale(file, picture.type));
    std::vector<double> row(static_cast<std::size_t>(picture.width));
    // Blank integers become NaN. Floating-point pixels are taken as they are: the library would
    // turn denormal numbers into 0 while it looks for NaN.
    double blank = std::numeric_limits<double>::quiet_NaN();
    void* const null_value = picture.type > 0 || picture.compressed ? &blank : nullptr;
    const bool top = is_top_down(path, file, options);
    int any_blank = 0;
    const auto rows = static_cast<double>(picture.height) * static_cast<double>(picture.frames);
    double done = 0;
    for (LONGLONG frame = 1; frame <= picture.frames; ++frame)
        for (int y = 0; y < picture.height; ++y) {
            if (y % rows_per_poll == 0) {
                throw_if_aborted(progress);
                progress.fraction(done / rows);
            }
            std::array<LONGLONG, 3> first{1, y + 1, frame};
            fits_read_pixll(file.handle(), TDOUBLE, first.data(), picture.width, null_value,
                            row.data(), &any_blank, file.status());
            if (!file.good()) refuse_library(path, file);
            burst.add_row(top ? y : picture.height - 1 - y, row.data());
            ++done;
        }
    progress.fraction(1);
    image result = burst.take(path);
    take_description(description(file), result);
    for (const char* name : {"EXPTIME", "EXPOSURE"})
        if (!result.exposure) result.exposure = sound_exposure(number_keyword(file, name, 0));
    if (!result.taken) result.taken = parse_clock_time(text_keyword(file, "DATE-OBS"));
    result.quantity = quantity_stored_as(text_keyword(file, quantity_keyword));
    // Units that are no plain ASCII stand in the description only.
    if (const std::string unit = text_keyword(file, unit_keyword); !unit.empty())
        result.unit = sound_unit(unit);
    return result;
}

void write_header(FitsFile& file, const image& picture, const ImageWriteOptions& options) {
    std::array<long, 2> sides{picture.width(), picture.height()};
    fits_create_img(file.handle(), FLOAT_IMG, 2, sides.data(), file.status());
    write_text_keyword(file, "CREATOR", software_name());
    write_text_keyword(file, "DATE", day_of_writing());
    write_text_keyword(file, row_keyword, top_down);
    write_text_keyword(file, "OBJECT", picture.name);
    if (picture.quantity.known())
        write_text_keyword(file, quantity_keyword, stored_name(picture.quantity));
    write_text_keyword(file, unit_keyword, picture.unit);
    // One long line; the library splits it to the 72 columns of the cards.
    if (const std::string text = image_description(picture, options.provenance); !text.empty())
        fits_write_history(file.handle(), text.c_str(), file.status());
}

void FitsFormat::write(const image& picture, const fs::path& path, const ImageWriteOptions& options,
                       Progress& progress) const {
    FitsFile file(path, FitsFile::Mode::create);
    if (file.good()) write_header(file, picture, options);
    std::vector<float> row;
    for (int y = 0; y < picture.height() && file.good(); ++y) {
        report_row(progress, y, picture.height());
        unmasked_row(picture, y, row);
        std::array<LONGLONG, 2> first{1, y + 1};
        fits_write_pixll(file.handle(), TFLOAT, first.data(), picture.width(), row.data(),
                         file.status());
    }
    if (file.good()) file.close();
    if (!file.good()) fail_writing(path, file.complaint());
}

}  // namespace

}  // namespace vyn::plugins

VYN_IMAGE_PLUGIN(vyn::plugins::FitsFormat)
