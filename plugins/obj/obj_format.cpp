// Wavefront OBJ: vertices, faces, groups and objects; everything else is left aside.
#include <algorithm>
#include <charconv>

#include "api/image_io.h"
#include "core/numbers.h"
#include "plugins/mesh_support/mesh_builder.h"
#include "plugins/mesh_support/mesh_bytes.h"
#include "plugins/mesh_support/text_scanner.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

constexpr std::string_view blanks = " \t\r\v\f";

/// The next word of a line, taken off it; empty at its end.
std::string_view take_word(std::string_view& line) {
    line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
    const std::string_view word = line.substr(0, std::min(line.find_first_of(blanks), line.size()));
    line.remove_prefix(word.size());
    return word;
}

/// The line, with those that continue it after a backslash; `storage` holds a joined one.
std::string_view whole_line(TextScanner& text, std::string& storage) {
    std::string_view line = text.line();
    if (!line.ends_with('\\')) return line;
    storage.clear();
    while (line.ends_with('\\')) {
        storage.append(line.substr(0, line.size() - 1)).push_back(' ');
        line = text.line();
    }
    storage += line;
    return storage;
}

/// The vertex that a reference "7", "-1", "7/2", "7//3" or "7/2/3" names, from 0.
std::int64_t vertex_of(const TextScanner& text, std::string_view reference, std::size_t vertices) {
    const std::string_view number = reference.substr(0, reference.find('/'));
    std::int64_t vertex = 0;
    const char* end = number.data() + number.size();
    const auto [stop, problem] = std::from_chars(number.data(), end, vertex);
    if (problem != std::errc() || stop != end || vertex == 0)
        text.refuse("'" + std::string(reference.substr(0, 40)) + "' names no vertex");
    return vertex > 0 ? vertex - 1 : static_cast<std::int64_t>(vertices) + vertex;
}

class ObjFormat final : public MeshFormat {
  public:
    const FormatInfo& info() const override { return info_; }

    Claim claim(std::span<const std::byte> head, const std::filesystem::path&) const override {
        std::string_view text = as_text(head);
        while (!text.empty()) {
            std::string_view line = text.substr(0, text.find('\n'));
            text.remove_prefix(std::min(line.size() + 1, text.size()));
            const std::string_view word = take_word(line);
            if (word.empty() || word.starts_with('#')) continue;
            if (word == "v") return parse_double(take_word(line)) ? Claim::likely : Claim::none;
            constexpr std::string_view known[]{"o", "g", "s", "vn", "vt", "mtllib", "usemtl"};
            if (std::ranges::find(known, word) == std::end(known)) return Claim::none;
        }
        return Claim::none;
    }

    field_data<double> read(const std::filesystem::path& file, const MeshReadOptions&,
                            Progress& progress) const override {
        const std::string bytes = load_mesh_file(file);
        TextScanner text(file, bytes, progress);
        MeshBuilder mesh(file);
        std::string storage;
        std::vector<std::int64_t> corners;
        while (!text.rest().empty()) {
            std::string_view line = whole_line(text, storage);
            const std::string_view word = take_word(line);
            if (word == "v") {
                double place[3];
                for (double& coordinate : place) {
                    const auto number = parse_double(take_word(line));
                    if (!number) text.refuse("a vertex has no three numbers");
                    coordinate = *number;
                }
                mesh.add_vertex(place[0], place[1], place[2]);
            } else if (word == "f") {
                corners.clear();
                for (auto next = take_word(line); !next.empty(); next = take_word(line))
                    corners.push_back(vertex_of(text, next, mesh.vertex_count()));
                if (corners.size() < 3) text.refuse("a face has less than three corners");
                mesh.add_cell(corners);
            } else if (word == "g" || word == "o") {
                mesh.begin_zone(std::string(trim(line)));
            }
        }
        return mesh.take();
    }

    void write(const field_data<double>&, const std::filesystem::path& file,
               Progress&) const override {
        fail_writing(file, "this format is only read");
    }

  private:
    FormatInfo info_{"obj", "Wavefront OBJ mesh", {"obj"}, true, false};
};

}  // namespace

}  // namespace vyn::plugins

VYN_MESH_PLUGIN(vyn::plugins::ObjFormat)
