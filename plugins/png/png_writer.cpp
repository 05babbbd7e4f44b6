#include "plugins/png/png_writer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "api/png_writer.h"
#include "core/log.h"
#include "core/numbers.h"
#include "plugins/support/attributes.h"
#include "plugins/support/provenance.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

namespace fs = std::filesystem;

double full_scale(const ImageWriteOptions& options) {
    return options.depth == ImageWriteOptions::Depth::eight_bit ? 255 : 65535;
}

bool is_shown(float value, std::uint8_t mask) {
    return mask == 0 && std::isfinite(value);
}

/// From values to counts: count = (value - minimum) * scale + offset.
struct Mapping {
    double highest = 65535;  ///< largest count
    double minimum = 0;
    double maximum = highest;
    double scale = 1;
    double offset = 0;

    double operator()(float value) const {
        return std::round((double{value} - minimum) * scale + offset);
    }
};

/// The range of the valid values onto 1..highest; a constant picture becomes 1.
Mapping stretch(const image& picture, double highest) {
    Mapping mapping{highest};
    bool any = false;
    for (int y = 0; y < picture.height(); ++y) {
        const float* values = picture.values().row(y);
        const std::uint8_t* mask = picture.mask().row(y);
        for (int x = 0, width = picture.width(); x < width; ++x) {
            if (!is_shown(values[x], mask[x])) continue;
            const double value = values[x];
            mapping.minimum = any ? std::min(mapping.minimum, value) : value;
            mapping.maximum = any ? std::max(mapping.maximum, value) : value;
            any = true;
        }
    }
    const double range = mapping.maximum - mapping.minimum;
    mapping.scale = range > 0 ? (highest - 1) / range : 0;
    mapping.offset = 1;
    return mapping;
}

/// Whether whole numbers say enough of the values: of counts anyhow, of others to this share of
/// their range.
double tolerance_of(const image& picture, double highest) {
    constexpr double share = 0.005;
    constexpr double rounding = 0.5;
    using Kind = Quantity::Kind;
    const Kind kind = picture.quantity.kind;
    if (kind == Kind::raw_counts || kind == Kind::corrected_intensity) return rounding;
    const Mapping range = stretch(picture, highest);
    return share * (range.maximum - range.minimum);
}

/// Refuses values that counts do not hold: a field of pressures would be all white, one of pressure
/// coefficients of two greys. A few pixels may be clipped.
void check_loss(const image& picture, const fs::path& file, const Mapping& mapping) {
    constexpr double told_share = 0.01;
    const double tolerance = tolerance_of(picture, mapping.highest);
    std::int64_t valid = 0;
    std::int64_t lost = 0;
    for (int y = 0; y < picture.height(); ++y) {
        const float* values = picture.values().row(y);
        const std::uint8_t* mask = picture.mask().row(y);
        for (int x = 0, width = picture.width(); x < width; ++x) {
            if (!is_shown(values[x], mask[x])) continue;
            ++valid;
            const double count = mapping(values[x]);
            lost += count < 0 || count > mapping.highest ||
                    std::abs(count - double{values[x]}) > tolerance;
        }
    }
    if (static_cast<double>(lost) > told_share * static_cast<double>(valid))
        fail_writing(file, std::to_string(lost) + " of " + std::to_string(valid) +
                               " values do not fit whole numbers from 0 to " +
                               format_double(mapping.highest) +
                               ": stretch them (convert --scale), or write TIFF, FITS or a field "
                               "file");
}

/// One row of counts, most significant byte first; gives the number of clipped pixels.
std::int64_t encode_row(const image& picture, int y, const Mapping& mapping, std::uint8_t* row) {
    const float* values = picture.values().row(y);
    const std::uint8_t* mask = picture.mask().row(y);
    std::int64_t clipped = 0;
    for (int x = 0, width = picture.width(); x < width; ++x) {
        double count = 0;
        if (is_shown(values[x], mask[x])) {
            count = mapping(values[x]);
            clipped += count < 0 || count > mapping.highest;
            count = std::clamp(count, 0.0, mapping.highest);
        }
        const auto bits = static_cast<std::uint16_t>(count);
        if (mapping.highest > 255) *row++ = static_cast<std::uint8_t>(bits >> 8);
        *row++ = static_cast<std::uint8_t>(bits & 0xFF);
    }
    return clipped;
}

PictureTexts make_texts(const image& picture, const ImageWriteOptions& options,
                        const Mapping& mapping) {
    PictureTexts texts{{"Software", software_name()}};
    const bool stretched = options.scale == ImageWriteOptions::Scale::stretch;
    // A reader sees the counts of a stretched picture, which are of no quantity.
    ImageAttributes attributes;
    attributes.origin = picture.origin;
    if (!stretched) {
        attributes.quantity = picture.quantity;
        attributes.unit = picture.unit;
    }
    if (std::string text = image_description(attributes, options.provenance); !text.empty())
        texts.emplace_back("Comment", std::move(text));
    if (picture.quantity.known()) texts.emplace_back("Quantity", field_label(picture).text());
    if (stretched)
        texts.push_back({"Value range", "1 = " + format_double(mapping.minimum) + ", " +
                                            format_double(mapping.highest) + " = " +
                                            format_double(mapping.maximum) + ", 0 = excluded"});
    return texts;
}

void report(const image& picture, const ImageWriteOptions& options, const Mapping& mapping,
            std::int64_t clipped) {
    const std::string subject = "PNG of '" + picture.name + "': ";
    if (options.scale == ImageWriteOptions::Scale::stretch)
        get_log().write(LogLevel::information,
                        subject + "values " + format_double(mapping.minimum) + " to " +
                            format_double(mapping.maximum) + " stretched to 1.." +
                            format_double(mapping.highest));
    if (clipped > 0)
        get_log().write(LogLevel::information, subject + std::to_string(clipped) +
                                                   " pixels clipped to 0.." +
                                                   format_double(mapping.highest));
}

}  // namespace

void write_png(const image& picture, const fs::path& file, const ImageWriteOptions& options,
               Progress& progress) {
    const double highest = full_scale(options);
    const Mapping mapping = options.scale == ImageWriteOptions::Scale::stretch
                                ? stretch(picture, highest)
                                : Mapping{highest};
    if (options.scale == ImageWriteOptions::Scale::none) check_loss(picture, file, mapping);
    std::ofstream stream(file, std::ios::binary);
    if (!stream) fail_writing(file, "the file cannot be opened");
    PngWriter png(stream, file.string(),
                  {picture.width(), picture.height(),
                   highest > 255 ? PngLayout::Pixels::grey_16 : PngLayout::Pixels::grey_8,
                   make_texts(picture, options, mapping)});
    std::vector<std::uint8_t> row(2 * static_cast<std::size_t>(picture.width()));
    std::int64_t clipped = 0;
    for (int y = 0; y < picture.height(); ++y) {
        report_row(progress, y, picture.height());
        clipped += encode_row(picture, y, mapping, row.data());
        png.row(row.data());
    }
    png.finish();
    stream.close();
    if (!stream) fail_writing(file, "the disk does not take the file");
    report(picture, options, mapping, clipped);
}

}  // namespace vyn::plugins
