// Tables for spreadsheets and scripts: x, y, z, zone, then the quantities by their names. An empty
// place is a value that was not seen. Numbers read back to the same bits.
#include <algorithm>
#include <cmath>

#include "api/image_io.h"
#include "plugins/mesh_support/mesh_bytes.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

using Place = field_data<double>::Place;

std::string quoted(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == text.npos) return text;
    std::string result = "\"";
    for (const char c : text)
        result.append(c == '"' ? 2 : 1, c);
    return result + '"';
}

/// Where a row's values stand, and which zone it belongs to.
struct Row {
    std::array<double, 3> place{};
    int zone = -1;
    int corners = 0;
};

/// A row for each vertex; of vertices that zones share, the first zone is named.
std::vector<Row> node_rows(const field_data<double>& field) {
    std::vector<Row> rows(field.vertices.size());
    for (std::size_t i = 0; i < rows.size(); ++i)
        rows[i].place = field.vertices[i];
    for (std::size_t z = field.zones.size(); z-- > 0;)
        for (auto t = field.zones[z].first_triangle; t < field.zones[z].end_triangle(); ++t)
            for (const int vertex : field.triangles[t])
                rows[static_cast<std::size_t>(vertex)].zone = static_cast<int>(z);
    return rows;
}

/// A row for each cell, at the mean of its triangles' corners.
std::vector<Row> cell_rows(const field_data<double>& field) {
    std::vector<Row> rows(field.cell_count());
    for (std::size_t z = 0; z < field.zones.size(); ++z)
        for (auto t = field.zones[z].first_triangle; t < field.zones[z].end_triangle(); ++t) {
            Row& row = rows[static_cast<std::size_t>(field.cell_of(t))];
            row.zone = static_cast<int>(z);
            row.corners += 3;
            for (const int vertex : field.triangles[t])
                for (std::size_t i = 0; i < 3; ++i)
                    row.place[i] += field.vertices[static_cast<std::size_t>(vertex)][i];
        }
    for (Row& row : rows)
        for (double& coordinate : row.place)
            coordinate /= std::max(row.corners, 1);
    return rows;
}

class CsvFormat final : public MeshFormat {
  public:
    const FormatInfo& info() const override { return info_; }

    Claim claim(std::span<const std::byte>, const std::filesystem::path&) const override {
        return Claim::none;
    }

    field_data<double> read(const std::filesystem::path& file, const MeshReadOptions&,
                            Progress&) const override {
        refuse(file, "a table has no faces: this format is only written");
    }

    /// Values at cells are written where there are none at nodes.
    void write(const field_data<double>& field, const std::filesystem::path& file,
               Progress& progress) const override {
        const auto at = [](Place place) {
            return [place](const auto& quantity) { return quantity.place == place; };
        };
        const Place place =
            std::ranges::any_of(field.quantities, at(Place::node)) || field.quantities.empty()
                ? Place::node
                : Place::cell;
        std::vector<const field_data<double>::Quantity*> quantities;
        for (const auto& quantity : field.quantities)
            if (quantity.place == place) quantities.push_back(&quantity);

        MeshWriter out(file, progress);
        out << "x,y,z,zone";
        for (const auto* quantity : quantities)
            out << ',' << quoted(quantity->name);
        out << '\n';
        const auto rows = place == Place::node ? node_rows(field) : cell_rows(field);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            for (const double coordinate : rows[i].place)
                out << coordinate << ',';
            if (rows[i].zone >= 0)
                out << quoted(field.zones[static_cast<std::size_t>(rows[i].zone)].name);
            for (const auto* quantity : quantities) {
                out << ',';
                if (std::isfinite(quantity->values[i])) out << quantity->values[i];
            }
            out << '\n';
        }
        out.finish();
    }

  private:
    FormatInfo info_{"csv", "Table of nodes", {"csv"}, false, true};
};

}  // namespace

}  // namespace vyn::plugins

VYN_MESH_PLUGIN(vyn::plugins::CsvFormat)
