#include "api/tecplot.h"
#include "plugins/support/attributes.h"
#include "plugins/support/write_only_format.h"

namespace vyn::plugins {

namespace {

/// The zone that the viewer exports, with what is known of the image in a remark before it.
class TecplotImageFormat final : public WriteOnlyFormat {
  public:
    TecplotImageFormat()
        : WriteOnlyFormat({"tecplot", "Tecplot ASCII", {"dat", "tec"}, false, true}) {}
    void write(const image& picture, const std::filesystem::path& file,
               const ImageWriteOptions& options, Progress& progress) const override {
        write_tecplot(picture, picture.name, file, progress, nullptr,
                      image_description(picture, options.provenance));
    }
};

}  // namespace

}  // namespace vyn::plugins

VYN_IMAGE_PLUGIN(vyn::plugins::TecplotImageFormat)
