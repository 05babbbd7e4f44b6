#include <png.h>

#include "api/image_io.h"
#include "plugins/png/png_reader.h"
#include "plugins/png/png_writer.h"

namespace vyn::plugins {

namespace {

class PngFormat final : public ImageFormat {
  public:
    const FormatInfo& info() const override { return info_; }
    bool recognises(std::span<const std::byte> head) const override {
        return head.size() >= 8 &&
               png_sig_cmp(reinterpret_cast<png_const_bytep>(head.data()), 0, 8) == 0;
    }
    image read(const std::filesystem::path& file, const ImageReadOptions&,
               Progress& progress) const override {
        return read_png(file, progress);
    }
    void write(const image& picture, const std::filesystem::path& file,
               const ImageWriteOptions& options, Progress& progress) const override {
        write_png(picture, file, options, progress);
    }

  private:
    FormatInfo info_{"png", "PNG image", {"png"}, true, true};
};

}  // namespace

}  // namespace vyn::plugins

VYN_IMAGE_PLUGIN(vyn::plugins::PngFormat)
