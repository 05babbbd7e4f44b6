#include "plugins/tecplot/tecplot_writer.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "plugins/mesh_support/mesh_bytes.h"

namespace vyn::plugins {

namespace {

using Field = field_data<double>;

std::string quoted(std::string text) {
    std::ranges::replace(text, '"', '\'');
    return '"' + text + '"';
}

/// The vertices of a zone in rising order; `number` becomes their numbers in it.
std::vector<int> number_vertices(const Field& field, const Field::Zone& zone,
                                 std::vector<int>& number) {
    std::vector<int> vertices;
    for (auto t = zone.first_triangle; t < zone.end_triangle(); ++t)
        vertices.insert(vertices.end(), field.triangles[t].begin(), field.triangles[t].end());
    std::ranges::sort(vertices);
    vertices.erase(std::unique(vertices.begin(), vertices.end()), vertices.end());
    for (std::size_t i = 0; i < vertices.size(); ++i)
        number[static_cast<std::size_t>(vertices[i])] = static_cast<int>(i) + 1;
    return vertices;
}

void write_value(MeshWriter& out, double value) {
    if (std::isnan(value))
        out << "nan\n";
    else
        out << value << '\n';
}

void write_zone(MeshWriter& out, const Field& field, const Field::Zone& zone,
                const std::vector<const Field::Quantity*>& quantities, std::vector<int>& number) {
    const std::vector<int> vertices = number_vertices(field, zone, number);
    out << "ZONE T=" << quoted(zone.name.empty() ? "surface" : zone.name)
        << "\nZONETYPE=FETRIANGLE, DATAPACKING=BLOCK, NODES=" << vertices.size()
        << ", ELEMENTS=" << zone.triangle_count;
    const bool cells = !quantities.empty() && quantities.front()->place == Field::Place::cell;
    if (cells) out << ", VARLOCATION=([4-" << quantities.size() + 3 << "]=CELLCENTERED)";
    out << '\n';
    for (std::size_t axis = 0; axis < 3; ++axis)
        for (const int vertex : vertices)
            out << field.vertices[static_cast<std::size_t>(vertex)][axis] << '\n';
    for (const auto* quantity : quantities) {
        if (cells)
            for (auto t = zone.first_triangle; t < zone.end_triangle(); ++t)
                write_value(out, quantity->values[static_cast<std::size_t>(field.cell_of(t))]);
        else
            for (const int vertex : vertices)
                write_value(out, quantity->values[static_cast<std::size_t>(vertex)]);
    }
    for (auto t = zone.first_triangle; t < zone.end_triangle(); ++t) {
        for (std::size_t i = 0; i < 3; ++i)
            out << (i > 0 ? " " : "") << number[static_cast<std::size_t>(field.triangles[t][i])];
        out << '\n';
    }
}

}  // namespace

void write_tecplot(const Field& field, const std::filesystem::path& file, Progress& progress) {
    std::vector<const Field::Quantity*> quantities;
    for (const auto place : {Field::Place::node, Field::Place::cell})
        if (quantities.empty())
            for (const auto& quantity : field.quantities)
                if (quantity.place == place) quantities.push_back(&quantity);
    MeshWriter out(file, progress);
    out << "TITLE = \"surface\"\nVARIABLES = \"X\" \"Y\" \"Z\"";
    for (const auto* quantity : quantities)
        out << ' ' << quoted(quantity->name);
    out << '\n';
    std::vector<int> number(field.vertices.size());
    for (const auto& zone : field.zones)
        write_zone(out, field, zone, quantities, number);
    out.finish();
}

}  // namespace vyn::plugins
