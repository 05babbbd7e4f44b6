// STL, text and binary (the binary layout: 80 bytes, a count, then 50 bytes a triangle). Equal
// corners become one vertex.
#include <array>

#include "api/image_io.h"
#include "plugins/mesh_support/mesh_builder.h"
#include "plugins/mesh_support/mesh_bytes.h"
#include "plugins/mesh_support/text_scanner.h"
#include "plugins/stl/corner_table.h"
#include "plugins/support/provenance.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

constexpr std::size_t header_bytes = 84;
constexpr std::size_t triangle_bytes = 50;

/// A binary file may begin with "solid", too: its length decides.
bool is_binary(std::string_view head, std::uint64_t size) {
    if (head.size() < header_bytes) return false;
    const auto count = number_at<std::uint32_t>(head.data() + 80, std::endian::little);
    return size == header_bytes + triangle_bytes * std::uint64_t{count};
}

field_data<double> read_binary(const std::filesystem::path& file, const std::string& bytes,
                               Progress& progress) {
    const std::size_t count = (bytes.size() - header_bytes) / triangle_bytes;
    MeshBuilder mesh(file);
    CornerTable corners(mesh, count / 2);
    mesh.reserve_triangles(count);
    for (std::size_t t = 0; t < count; ++t) {
        if (t % 65536 == 0) {
            throw_if_aborted(progress);
            progress.fraction(static_cast<double>(t) / static_cast<double>(count));
        }
        const char* place = bytes.data() + header_bytes + t * triangle_bytes + 12;
        std::array<std::int64_t, 3> triangle;
        for (std::int64_t& corner : triangle) {
            const auto coordinate = [&](int i) {
                return double{number_at<float>(place + 4 * i, std::endian::little)};
            };
            corner = corners.number_of({coordinate(0), coordinate(1), coordinate(2)});
            place += 12;
        }
        mesh.add_cell(triangle);
    }
    return mesh.take();
}

void expect(TextScanner& text, std::string_view wanted) {
    if (text.word() != wanted) text.refuse("'" + std::string(wanted) + "' is missing");
}

field_data<double> read_text(const std::filesystem::path& file, const std::string& bytes,
                             Progress& progress) {
    TextScanner text(file, bytes, progress);
    MeshBuilder mesh(file);
    CornerTable corners(mesh, 1024);
    while (!text.at_end()) {
        expect(text, "solid");
        const std::string_view name = text.line();
        const std::size_t first = name.find_first_not_of(" \t");
        mesh.begin_zone(std::string(first == name.npos ? "" : name.substr(first)));
        while (text.peek() == "facet") {
            for (int i = 0; i < 2; ++i)  // "facet normal", whose numbers follow from the corners
                text.word();
            for (int i = 0; i < 3; ++i)
                text.value();
            expect(text, "outer");
            expect(text, "loop");
            std::array<std::int64_t, 3> triangle;
            for (std::int64_t& corner : triangle) {
                expect(text, "vertex");
                const double x = text.number();
                const double y = text.number();
                corner = corners.number_of({x, y, text.number()});
            }
            expect(text, "endloop");
            expect(text, "endfacet");
            mesh.add_cell(triangle);
        }
        expect(text, "endsolid");
        text.line();
    }
    return mesh.take();
}

class StlFormat final : public MeshFormat {
  public:
    const FormatInfo& info() const override { return info_; }

    Claim claim(std::span<const std::byte> head, const std::filesystem::path& file) const override {
        const std::string_view text = as_text(head);
        std::error_code problem;
        if (is_binary(text, std::filesystem::file_size(file, problem))) return Claim::certain;
        const bool solid = text.starts_with("solid");
        return solid && text.find("facet") != text.npos ? Claim::certain
               : solid                                  ? Claim::likely
                                                        : Claim::none;
    }

    field_data<double> read(const std::filesystem::path& file, const MeshReadOptions&,
                            Progress& progress) const override {
        const std::string bytes = load_mesh_file(file);
        return is_binary(bytes, bytes.size()) ? read_binary(file, bytes, progress)
                                              : read_text(file, bytes, progress);
    }

    void write(const field_data<double>& field, const std::filesystem::path& file,
               Progress& progress) const override {
        if (field.triangles.size() > 0xFFFFFFFFU) fail_writing(file, "too many triangles for STL");
        MeshWriter out(file, progress);
        std::string header = software_name();
        header.resize(80, ' ');
        out << header;
        out.put(static_cast<std::uint32_t>(field.triangles.size()));
        for (const auto& triangle : field.triangles) {
            for (int i = 0; i < 3; ++i)  // readers compute the normal where it is 0
                out.put(0.0F);
            for (const int vertex : triangle)
                for (const double coordinate : field.vertices[static_cast<std::size_t>(vertex)])
                    out.put(static_cast<float>(coordinate));
            out.put(std::uint16_t{0});
        }
        out.finish();
    }

  private:
    FormatInfo info_{"stl", "STL mesh", {"stl"}, true, true};
};

}  // namespace

}  // namespace vyn::plugins

VYN_MESH_PLUGIN(vyn::plugins::StlFormat)
