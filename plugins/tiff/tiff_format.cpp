#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "api/image_io.h"
#include "plugins/support/attributes.h"
#include "plugins/support/burst.h"
#include "plugins/support/refusal.h"
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
    image read(const fs::path& file, Progress& progress) const override;
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

void read_frame(const TiffFile& file, const TiffPage& page, Progress& progress, Burst& burst) {
    std::vector<double> values(static_cast<std::size_t>(page.width));
    const double white = full_scale(page.samples);
    read_rows(file, page, progress, [&](int y, const std::byte* packed) {
        decode_row(page.samples, packed, page.width, values.data());
        if (page.min_is_white)
            for (double& value : values)
                value = white - value;
        burst.add_row(y, values.data());
    });
}

image TiffFormat::read(const fs::path& path, Progress& progress) const {
    TiffFile file = TiffFile::open(path);
    const std::string text = description(file);
    if (text.find("\"vynlite-imp\"") != std::string::npos)
        refuse(path, "a field file (.imp), whose plug-in is not loaded");
    const Frames frames = find_frames(file);
    Burst burst(frames.page.width, frames.page.height, frames.count,
                full_scale(frames.page.samples));
    const TiffExposure exposed = exposure(file);
    int frame = 0;
    for (bool more = true; more; more = file.next_page()) {
        if (!is_full_page(file)) continue;
        if (frame == frames.count || examine_page(file) != frames.page)
            refuse(path, "the file changed while it was read");
        const double begin = frame++;
        SubProgress part(progress, begin / frames.count, (begin + 1) / frames.count);
        read_frame(file, frames.page, part, burst);
    }
    image picture = burst.take(path);
    picture.exposure = exposed.exposure;
    picture.taken = exposed.taken;
    take_description(text, picture);
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
