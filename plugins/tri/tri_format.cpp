// Surface triangulations as text ("tri"): counts of vertices and triangles, the coordinates, the
// triangles by vertex number from 1, and one component number for each triangle.
#include <cmath>

#include "api/image_io.h"
#include "core/numbers.h"
#include "plugins/mesh_support/mesh_builder.h"
#include "plugins/mesh_support/mesh_bytes.h"
#include "plugins/mesh_support/text_scanner.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

std::size_t words_of(std::string_view line) {
    std::size_t count = 0;
    constexpr std::string_view blanks = " \t\r";
    for (auto at = line.find_first_not_of(blanks); at != line.npos; ++count)
        at = line.find_first_not_of(blanks, line.find_first_of(blanks, at));
    return count;
}

class TriFormat final : public MeshFormat {
  public:
    const FormatInfo& info() const override { return info_; }

    /// Two counts in the first line, three coordinates in the second.
    Claim claim(std::span<const std::byte> head, const std::filesystem::path&) const override {
        const std::string_view text = as_text(head);
        const std::size_t first = text.find('\n');
        if (first == text.npos) return Claim::none;
        const std::string_view counts = trim(text.substr(0, first));
        if (words_of(counts) != 2) return Claim::none;
        if (counts.find_first_not_of("0123456789 \t") != counts.npos) return Claim::none;
        const std::string_view rest = text.substr(first + 1);
        return words_of(rest.substr(0, rest.find('\n'))) == 3 ? Claim::likely : Claim::none;
    }

    field_data<double> read(const std::filesystem::path& file, const MeshReadOptions&,
                            Progress& progress) const override {
        const std::string bytes = load_mesh_file(file);
        TextScanner text(file, bytes, progress);
        const std::size_t vertices = text.count(6);
        const std::size_t triangles = text.count(6);
        MeshBuilder mesh(file);
        for (std::size_t i = 0; i < vertices; ++i) {
            const double x = text.number();
            const double y = text.number();
            mesh.add_vertex(x, y, text.number());
        }
        std::vector<std::array<std::int64_t, 3>> faces(triangles);
        for (auto& face : faces)
            for (std::int64_t& corner : face)
                corner = text.whole(1, static_cast<std::int64_t>(vertices)) - 1;
        const bool components = !text.at_end();
        for (const auto& face : faces) {
            if (components) mesh.begin_zone("component " + std::to_string(text.whole(0, 1 << 30)));
            mesh.add_cell(face);
        }
        return mesh.take();
    }

    void write(const field_data<double>&, const std::filesystem::path& file,
               Progress&) const override {
        fail_writing(file, "this format is only read");
    }

  private:
    FormatInfo info_{"tri", "Surface triangulation", {"tri"}, true, false};
};

}  // namespace

}  // namespace vyn::plugins

VYN_MESH_PLUGIN(vyn::plugins::TriFormat)
