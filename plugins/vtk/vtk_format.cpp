#include "api/image_io.h"
#include "core/ascii.h"
#include "plugins/mesh_support/mesh_bytes.h"
#include "plugins/support/refusal.h"
#include "plugins/vtk/vtk_readers.h"

namespace vyn::plugins {

namespace {

bool is_legacy(std::string_view head) {
    return head.starts_with("# vtk DataFile");
}

class VtkFormat final : public MeshFormat {
  public:
    const FormatInfo& info() const override { return info_; }

    Claim claim(std::span<const std::byte> head, const std::filesystem::path&) const override {
        const std::string_view text = as_text(head);
        return is_legacy(text) || text.find("<VTKFile") != text.npos ? Claim::certain : Claim::none;
    }

    field_data<double> read(const std::filesystem::path& file, const MeshReadOptions&,
                            Progress& progress) const override {
        const std::string bytes = load_mesh_file(file);
        return is_legacy(bytes) ? read_vtk_legacy(file, bytes, progress)
                                : read_vtk_xml(file, bytes, progress);
    }

    void write(const field_data<double>& field, const std::filesystem::path& file,
               Progress& progress) const override {
        const std::string extension = lower_extension(file);
        if (extension == "vtp")
            write_vtk_xml(field, file, progress);
        else if (extension == "vtk")
            write_vtk_legacy(field, file, progress);
        else
            fail_writing(file, "of VTK's formats vtp and vtk are written");
    }

  private:
    FormatInfo info_{"vtk", "VTK surface", {"vtp", "vtk", "vtu", "vts"}, true, true};
};

}  // namespace

}  // namespace vyn::plugins

VYN_MESH_PLUGIN(vyn::plugins::VtkFormat)
