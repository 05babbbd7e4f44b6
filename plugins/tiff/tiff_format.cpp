#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "api/image_io.h"
#include "plugins/support/attributes.h"
#include "plugins/support/burst.h"
#include "plugins/support/orientation.h"
#include "plugins/support/pixels.h"
#include "plugins/support/refusal.h"
#include "plugins/tiff/stack_description.h"
#include "plugins/tiff_support/tiff_file.h"
#include "plugins/tiff_support/tiff_layout.h"
#include "plugins/tiff_support/tiff_page.h"
#include "plugins/tiff_support/tiff_writer.h"

namespace vyn::plugins {

namespace {

namespace fs = std::filesystem;

/// Grey TIFF pictures; several pages are the frames of a burst.
class TiffFormat final : public ImageFormat {
  public:
    const FormatInfo& info() const override { return info_; }
    bool recognises(std::span<const std::byte> head) const override { return is_tiff_head(head); }
    image read(const fs::path& file, const ImageReadOptions& options,
               Progress& progress) const override;
    void write(const image& picture, const fs::path& file, const ImageWriteOptions& options,
               Progress& progress) const override;

  private:
    FormatInfo info_{"tiff", "TIFF image", {"tif", "tiff"}, true, true};
};

/// The pages that are frames, all checked to be alike.
struct Frames {
    TiffPage page;
    int count = 0;
};

Frames find_frames(TiffFile& file) {
    Frames frames;
    for (bool more = true; more; more = file.next_page()) {
        if (!is_full_page(file)) continue;
        const TiffPage page = examine_page(file);
        if (frames.count++ == 0) frames.page = page;
        if (page != frames.page)
            refuse(file.path(), "a page has another size or pixel type than the first frame");
    }
    if (frames.count == 0) refuse(file.path(), "all of its pages are thumbnails or masks");
    return frames;
}

/// What becomes of stored values: those that mean nothing are no numbers, then the calibration.
RowChange change_of(const StackDescription& stack, const TiffMeaning& meaning) {
    return [=](std::span<double> row) {
        for (double& value : row) {
            // Stored as text, the number has lost bits that a 32-bit value keeps.
            const bool missing = meaning.no_data && (value == *meaning.no_data ||
                                                     static_cast<float>(value) ==
                                                         static_cast<float>(*meaning.no_data));
            value = missing ? std::numeric_limits<double>::quiet_NaN()
                            : stack.offset + stack.gain * value;
        }
    };
}

void read_frame(const TiffFile& file, const TiffPage& page, const RowChange& change,
                Progress& progress, Burst& burst) {
    const auto width = static_cast<std::size_t>(page.width);
    const int samples = page.alpha ? 2 : 1;
    std::vector<double> values(width * static_cast<std::size_t>(samples));
    const double white = full_scale(page.samples);
    read_rows(file, page, progress, [&](int y, const std::byte* packed) {
        decode_row(page.samples, packed, samples * page.width, values.data());
        for (std::size_t x = 0; page.alpha && x < width; ++x)
            values[x] =
                values[2 * x + 1] == 0 ? std::numeric_limits<double>::quiet_NaN() : values[2 * x];
        const std::span row(values.data(), width);
        if (page.min_is_white)
            for (double& value : row)
                value = white - value;
        change(row);
        burst.add_row(y, row.data());
    });
}

/// A stack whose frames stand behind the first one, as ImageJ writes beyond 4 GB: the file has one
/// page.
image read_behind_page(const TiffFile& file, const TiffPage& page, std::int64_t frames,
                       double scale, const RowChange& change, Progress& progress) {
    TIFF* const handle = file.handle();
    const std::string kind = page.samples.kind == TiffSamples::Kind::floating         ? "f"
                             : page.samples.kind == TiffSamples::Kind::signed_integer ? "i"
                                                                                      : "u";
    const auto type = pixel_type(kind + std::to_string(page.samples.bits));
    std::uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(handle, TIFFTAG_COMPRESSION, &compression);
    if (!type || compression != COMPRESSION_NONE || page.alpha || page.min_is_white ||
        TIFFIsTiled(handle))
        refuse(file.path(), "its description tells of " + std::to_string(frames) +
                                " pictures, of which one is stored in a way that is known");
    int failed = 0;
    PixelLayout layout{.width = page.width, .height = page.height, .frames = frames, .type = *type};
    layout.offset = TIFFGetStrileOffsetWithErr(handle, 0, &failed);
    layout.order = TIFFIsBigEndian(handle) ? std::endian::big : std::endian::little;
    layout.full_scale = scale;
    return read_pixels(file.path(), layout, progress, change);
}

image read_pages(TiffFile& file, const Frames& frames, double scale, const RowChange& change,
                 Progress& progress) {
    Burst burst(frames.page.width, frames.page.height, frames.count, scale);
    int frame = 0;
    for (bool more = true; more; more = file.next_page()) {
        if (!is_full_page(file)) continue;
        if (frame == frames.count || examine_page(file) != frames.page)
            refuse(file.path(), "the file changed while it was read");
        const double begin = frame++;
        SubProgress part(progress, begin / frames.count, (begin + 1) / frames.count);
        read_frame(file, frames.page, change, part, burst);
    }
    return burst.take(file.path());
}

void check_stack(const fs::path& path, const StackDescription& stack,
                 const ImageReadOptions& options) {
    if (options.stacks == ImageReadOptions::Stacks::averaged) return;
    if (stack.channels > 1 || stack.slices > 1)
        refuse(path, "a stack of " + std::to_string(stack.channels) + " channels and " +
                         std::to_string(stack.slices) +
                         " slices, which is no burst of one view; it is averaged only when asked "
                         "for");
}

image TiffFormat::read(const fs::path& path, const ImageReadOptions& options,
                       Progress& progress) const {
    TiffFile file = TiffFile::open(path);
    const std::string text = description(file);
    if (text.find("\"vynlite-imp\"") != std::string::npos)
        refuse(path, "a field file (.imp), whose plug-in is not loaded");
    const StackDescription stack = stack_description(path, text);
    check_stack(path, stack, options);
    const Frames frames = find_frames(file);
    const TiffExposure exposed = exposure(file);
    const TiffMeaning told = meaning(file, frames.page);
    const double stored_scale = told.full_scale.value_or(full_scale(frames.page.samples));
    const double scale =
        stored_scale > 0 && stack.gain > 0 ? stack.offset + stack.gain * stored_scale : 0;
    const RowChange change = change_of(stack, told);
    image picture = frames.count == 1 && stack.images > 1
                        ? read_behind_page(file, frames.page, stack.images, scale, change, progress)
                        : read_pages(file, frames, scale, change, progress);
    orient(picture, told.orientation);
    picture.exposure = exposed.exposure;
    picture.taken = exposed.taken;
    take_description(text, picture);
    if (!stack.unit.empty()) picture.unit = stack.unit;
    return picture;
}

void TiffFormat::write(const image& picture, const fs::path& file, const ImageWriteOptions& options,
                       Progress& progress) const {
    const auto& values = picture.values();
    const auto& mask = picture.mask();
    TiffPageText text;
    text.description = image_description(picture, options.provenance);
    TiffWriter writer(file, values.count() * sizeof(float), 1);
    std::vector<float> row(static_cast<std::size_t>(values.width()));
    const std::function<const float*(int)> masked = [&](int y) {
        for (int x = 0; x < values.width(); ++x)
            row[static_cast<std::size_t>(x)] =
                mask(x, y) ? std::numeric_limits<float>::quiet_NaN() : values(x, y);
        return row.data();
    };
    writer.add_page(values.width(), values.height(), text, masked, progress);
    writer.finish();
}

}  // namespace

}  // namespace vyn::plugins

VYN_IMAGE_PLUGIN(vyn::plugins::TiffFormat)
