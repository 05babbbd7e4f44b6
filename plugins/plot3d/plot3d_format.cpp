// Plot3D grids (Walatka et al. 1990). The file says nothing of its byte order, record marks,
// number of grids, precision, IBLANK and dimensions: every way whose length fits is found.
#include <fstream>

#include "api/image_io.h"
#include "core/log.h"
#include "plugins/mesh_support/mesh_builder.h"
#include "plugins/mesh_support/mesh_bytes.h"
#include "plugins/mesh_support/text_scanner.h"
#include "plugins/plot3d/plot3d_layout.h"
#include "plugins/plot3d/plot3d_writer.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

/// The coordinates and blanking of one grid after another, in either encoding.
class GridData {
  public:
    GridData(const std::filesystem::path& file, const std::string& bytes,
             const Plot3dLayout& layout, Progress& progress)
        : bytes_(bytes), layout_(layout), text_(file, bytes, progress), place_(layout.data) {
        text_.skip(layout.data);
    }
    void record_mark() {
        if (layout_.records) place_ += 4;
    }
    double real() {
        if (layout_.text) return text_.number();
        const char* at = bytes_.data() + place_;
        place_ += static_cast<std::size_t>(layout_.real_bytes);
        return layout_.real_bytes == 4 ? double{number_at<float>(at, layout_.order)}
                                       : number_at<double>(at, layout_.order);
    }
    std::int64_t whole() {
        if (layout_.text) return text_.whole(-1'000'000'000, 1'000'000'000);
        place_ += 4;
        return number_at<std::int32_t>(bytes_.data() + place_ - 4, layout_.order);
    }

  private:
    const std::string& bytes_;
    const Plot3dLayout& layout_;
    TextScanner text_;
    std::size_t place_;
};

/// The two directions of a grid's surface, and how many of its points are read: of a volume the
/// face k = 1.
std::array<std::int64_t, 2> surface_of(const std::array<std::int64_t, 3>& size) {
    if (size[2] == 1) return {size[0], size[1]};
    if (size[0] == 1) return {size[1], size[2]};
    if (size[1] == 1) return {size[0], size[2]};
    return {size[0], size[1]};
}

const Plot3dLayout& choose(const std::filesystem::path& file,
                           const std::vector<Plot3dLayout>& layouts, const std::string& wanted) {
    if (layouts.empty())
        refuse(file, "its length fits no grid in Plot3D: cut off, or another format");
    std::string list;
    for (const auto& layout : layouts) {
        if (layout.words() == wanted) return layout;
        list += (list.empty() ? "\"" : "; \"") + layout.words() + "\"";
    }
    if (!wanted.empty() || layouts.size() > 1)
        refuse(file, "say how to read it, as one of: " + list);
    return layouts.front();
}

class Plot3dFormat final : public MeshFormat {
  public:
    const FormatInfo& info() const override { return info_; }

    Claim claim(std::span<const std::byte>, const std::filesystem::path& file) const override {
        // Sizes of many grids do not fit into the usual head.
        std::string head(std::size_t{1} << 20, '\0');
        std::ifstream stream(file, std::ios::binary);
        stream.read(head.data(), static_cast<std::streamsize>(head.size()));
        head.resize(static_cast<std::size_t>(stream.gcount()));
        std::error_code problem;
        const auto length = std::filesystem::file_size(file, problem);
        return !problem && may_be_plot3d(head, length) ? Claim::likely : Claim::none;
    }

    field_data<double> read(const std::filesystem::path& file, const MeshReadOptions& options,
                            Progress& progress) const override {
        const std::string bytes = load_mesh_file(file);
        const auto layouts = plot3d_layouts(bytes);
        const Plot3dLayout& layout = choose(file, layouts, options.variant);
        GridData data(file, bytes, layout, progress);
        MeshBuilder mesh(file);
        std::vector<double> coordinates;
        std::vector<std::uint8_t> blanked;
        for (std::size_t g = 0; g < layout.grids.size(); ++g) {
            throw_if_aborted(progress);
            const auto& size = layout.grids[g];
            const auto [ni, nj] = surface_of(size);
            const auto points = static_cast<std::size_t>(size[0] * size[1] * size[2]);
            const auto kept = static_cast<std::size_t>(ni * nj);
            const std::string name = "grid " + std::to_string(g + 1);
            if (kept < points)
                get_log().write(LogLevel::information, file.string() + ": " + name +
                                                           " is a volume: its face k = 1 is taken");
            data.record_mark();
            coordinates.assign(3 * kept, 0);
            for (std::size_t axis = 0; axis < static_cast<std::size_t>(layout.dimensions); ++axis)
                for (std::size_t i = 0; i < points; ++i)
                    if (const double x = data.real(); i < kept) coordinates[axis * kept + i] = x;
            blanked.assign(kept, 0);
            if (layout.blanking)
                for (std::size_t i = 0; i < points; ++i)
                    if (const bool blank = data.whole() == 0; i < kept) blanked[i] = blank;
            data.record_mark();
            const std::size_t first = mesh.vertex_count();
            for (std::size_t i = 0; i < kept; ++i)
                mesh.add_vertex(coordinates[i], coordinates[kept + i], coordinates[2 * kept + i]);
            if (layout.blanking)
                mesh.blanked().insert(mesh.blanked().end(), blanked.begin(), blanked.end());
            mesh.add_structured(name, static_cast<int>(ni), static_cast<int>(nj), first);
        }
        return mesh.take();
    }

    void write(const field_data<double>& field, const std::filesystem::path& file,
               Progress& progress) const override {
        write_plot3d(field, file, progress);
    }

  private:
    FormatInfo info_{
        "plot3d", "Plot3D grid", {"xyz", "x", "p3d", "g", "grd", "f", "fun"}, true, true};
};

}  // namespace

}  // namespace vyn::plugins

VYN_MESH_PLUGIN(vyn::plugins::Plot3dFormat)
