#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "api/image_io.h"
#include "plugins/imp/imp_description.h"
#include "plugins/support/refusal.h"
#include "plugins/tiff_support/tiff_file.h"
#include "plugins/tiff_support/tiff_layout.h"
#include "plugins/tiff_support/tiff_page.h"
#include "plugins/tiff_support/tiff_writer.h"

namespace vyn::plugins {

namespace {

namespace fs = std::filesystem;

/// The program's own field file: a TIFF file with a page per plane and the rest of the image as
/// JSON in the first page's description (see help/formats.md).
class ImpFormat final : public ImageFormat {
  public:
    const FormatInfo& info() const override { return info_; }
    bool recognises(std::span<const std::byte> head) const override { return is_tiff_head(head); }
    Claim claim(const fs::path& file) const override {
        return is_imp_description(examine_tiff(file).description) ? Claim::certain : Claim::none;
    }
    image read(const fs::path& file, const ImageReadOptions&, Progress& progress) const override;
    void write(const image& picture, const fs::path& file, const ImageWriteOptions& options,
               Progress& progress) const override;

  private:
    FormatInfo info_{"imp", "VynLite field", {"imp"}, true, true};
};

template <class T>
constexpr TiffSamples samples_for;
template <>
constexpr TiffSamples samples_for<float>{TiffSamples::Kind::floating, 32};
template <>
constexpr TiffSamples samples_for<std::uint8_t>{TiffSamples::Kind::unsigned_integer, 8};

/// The current page, bit for bit.
template <class T>
Bitmap<T> read_plane(const TiffFile& file, Progress& progress) {
    const TiffPage page = examine_page(file);
    if (page.samples != samples_for<T> || page.min_is_white || page.alpha)
        refuse(file.path(), "a page has the wrong pixel type");
    Bitmap<T> plane(page.width, page.height);
    const auto row_bytes = static_cast<std::size_t>(page.width) * sizeof(T);
    read_rows(file, page, progress, [&](int y, const std::byte* packed) {
        std::memcpy(plane.row(y), packed, row_bytes);
    });
    return plane;
}

void read_page(const TiffFile& file, const std::string& page, int frames, Progress& progress,
               image& picture) {
    const auto displacement = [&]() -> Displacement& {
        return picture.displacement ? *picture.displacement : picture.displacement.emplace();
    };
    if (page == "values")
        picture.set_values(read_plane<float>(file, progress));
    else if (page == "mask")
        picture.set_mask(read_plane<std::uint8_t>(file, progress));
    else if (page == "region")
        picture.set_region(read_plane<std::uint8_t>(file, progress));
    else if (page == "u")
        displacement().u = read_plane<float>(file, progress);
    else if (page == "v")
        displacement().v = read_plane<float>(file, progress);
    else if (page == "variance")
        picture.frames = std::make_shared<const FrameStatistics>(
            FrameStatistics{frames, read_plane<float>(file, progress)});
    else if (page == "saturated")
        picture.saturated =
            std::make_shared<Bitmap<std::uint8_t>>(read_plane<std::uint8_t>(file, progress));
}

/// Says which plane does not fit to the others; empty when all do.
std::string misfit(const image& picture) {
    const auto& values = picture.values();
    if (!values.same_size(picture.mask())) return "the mask has another size than the values";
    if (picture.has_region() && !values.same_size(picture.region()))
        return "the region plane has another size than the values";
    if (picture.saturated && !values.same_size(*picture.saturated))
        return "the plane of saturated pixels has another size than the values";
    if (picture.frames && !values.same_size(picture.frames->variance))
        return "the plane of variances has another size than the values";
    if (picture.displacement && !picture.displacement->u.same_size(picture.displacement->v))
        return "the planes u and v differ in size";
    return {};
}

void exclude_non_finite(image& picture) {
    const auto& values = picture.values();
    auto& mask = picture.mask();
    for (int y = 0; y < values.height(); ++y)
        for (int x = 0; x < values.width(); ++x)
            if (!std::isfinite(values(x, y)) && mask(x, y) == 0) mask(x, y) = 1;
}

ImpDescription read_description(const TiffFile& file) {
    try {
        ImpDescription content = parse_description(description(file));
        if (static_cast<int>(content.pages.size()) != file.pages())
            throw std::runtime_error("it names another number of pages than the file has");
        return content;
    } catch (const std::exception& error) {
        refuse(file.path(), std::string("in its description: ") + error.what());
    }
}

image ImpFormat::read(const fs::path& path, const ImageReadOptions&, Progress& progress) const {
    TiffFile file = TiffFile::open(path);
    ImpDescription content = read_description(file);
    image picture;
    picture.attributes() = std::move(content.attributes);
    double done = 0;
    const auto count = static_cast<double>(content.pages.size());
    for (const auto& page : content.pages) {
        if (done > 0 && !file.next_page()) refuse(path, "the file changed while it was read");
        SubProgress part(progress, done / count, (done + 1) / count);
        read_page(file, page, content.frames, part, picture);
        ++done;
    }
    if (const auto reason = misfit(picture); !reason.empty()) refuse(path, reason);
    exclude_non_finite(picture);
    if (picture.displacement) picture.displacement->step = content.displacement_step;
    return picture;
}

/// Hands out the rows of a plane as they stand.
template <class T>
std::function<const T*(int)> rows_of(const Bitmap<T>& plane) {
    return [&plane](int y) { return plane.row(y); };
}

/// Calls `write(page name, plane)` for each plane that the image has, in the order of the pages.
template <class Write>
void for_each_plane(const image& picture, const Write& write) {
    write("values", picture.values());
    write("mask", picture.mask());
    if (picture.has_region()) write("region", picture.region());
    if (picture.displacement) {
        write("u", picture.displacement->u);
        write("v", picture.displacement->v);
    }
    if (picture.saturated) write("saturated", *picture.saturated);
    if (picture.frames) write("variance", picture.frames->variance);
}

void ImpFormat::write(const image& picture, const fs::path& file, const ImageWriteOptions& options,
                      Progress& progress) const {
    if (const auto reason = misfit(picture); !reason.empty()) fail_writing(file, reason);
    std::vector<std::string> pages;
    std::uint64_t pixel_bytes = 0;
    for_each_plane(picture, [&](const char* page, const auto& plane) {
        if (plane.empty()) fail_writing(file, std::string("the plane ") + page + " is empty");
        pages.emplace_back(page);
        pixel_bytes += plane.count() * sizeof(*plane.row(0));
    });
    TiffWriter writer(file, pixel_bytes, static_cast<int>(pages.size()));
    std::string text = write_description(picture, pages, options.provenance);
    double done = 0;
    const auto count = static_cast<double>(pages.size());
    for_each_plane(picture, [&](const char* page, const auto& plane) {
        SubProgress part(progress, done / count, (done + 1) / count);
        writer.add_page(plane.width(), plane.height(), {std::exchange(text, {}), page},
                        rows_of(plane), part);
        ++done;
    });
    writer.finish();
}

}  // namespace

}  // namespace vyn::plugins

VYN_IMAGE_PLUGIN(vyn::plugins::ImpFormat)
