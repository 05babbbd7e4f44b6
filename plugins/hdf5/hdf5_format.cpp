#include "plugins/hdf5/hdf5_reader.h"
#include "plugins/hdf5/hdf5_writer.h"
#include "plugins/support/read_only_format.h"

namespace vyn::plugins {

namespace {

/// Pictures in HDF5 and NeXus files.
class Hdf5Format final : public ImageFormat {
  public:
    const FormatInfo& info() const override { return info_; }
    bool recognises(std::span<const std::byte> head) const override {
        return starts_with(head, "\x89HDF\r\n\x1a\n");
    }
    image read(const std::filesystem::path& file, const ImageReadOptions& options,
               Progress& progress) const override {
        return read_hdf5(file, options, progress);
    }
    void write(const image& picture, const std::filesystem::path& file,
               const ImageWriteOptions& options, Progress& progress) const override {
        write_hdf5(picture, file, options, progress);
    }

  private:
    FormatInfo info_{"hdf5", "HDF5 or NeXus", {"h5", "hdf5", "nxs", "nx5", "hdf"}, true, true};
};

}  // namespace

}  // namespace vyn::plugins

VYN_IMAGE_PLUGIN(vyn::plugins::Hdf5Format)
