#include <algorithm>

#include "plugins/vtk/vtk_cells.h"
#include "plugins/vtk/vtk_readers.h"
#include "plugins/vtk/vtk_xml_file.h"

namespace vyn::plugins {

namespace {

using Field = field_data<double>;
using Place = Field::Place;

/// The cells as polygons: a cell's triangles are a fan about its first corner.
struct Polygons {
    std::vector<std::int32_t> connectivity;
    std::vector<std::int32_t> ends;
    std::vector<std::int32_t> zone;
};

Polygons polygons_of(const Field& field) {
    Polygons polygons;
    for (std::size_t z = 0; z < field.zones.size(); ++z) {
        const auto& zone = field.zones[z];
        for (auto t = zone.first_triangle; t < zone.end_triangle(); ++t) {
            const auto& corners = field.triangles[t];
            const bool goes_on =
                t > zone.first_triangle && field.cell_of(t) == field.cell_of(t - 1);
            if (goes_on) {
                polygons.connectivity.push_back(corners[2]);
                ++polygons.ends.back();
            } else {
                polygons.connectivity.insert(polygons.connectivity.end(), corners.begin(),
                                             corners.end());
                polygons.ends.push_back(static_cast<std::int32_t>(polygons.connectivity.size()));
                polygons.zone.push_back(static_cast<std::int32_t>(z));
            }
        }
    }
    return polygons;
}

/// Numbers that have to live until the file is written.
struct Attributes {
    std::vector<double> sizes;
    std::vector<double> views;
};

void write_attributes(VtkXmlFile& out, const Field& field, Attributes& numbers) {
    std::vector<std::string> zones;
    for (const auto& zone : field.zones) {
        zones.push_back(zone.name);
        numbers.sizes.insert(numbers.sizes.end(), {double(zone.ni), double(zone.nj),
                                                   static_cast<double>(zone.first_vertex)});
    }
    out.texts(vtk_names::zone_names, zones);
    out.array("Float64", vtk_names::zone_sizes, 3, numbers.sizes.data(), numbers.sizes.size());
    if (!field.unit.empty()) out.texts(vtk_names::unit, {field.unit});
    if (!field.history.empty()) out.texts(vtk_names::history, {field.history});
    std::vector<std::string> units;
    for (const auto& quantity : field.quantities)
        if (!quantity.unit.empty()) units.insert(units.end(), {quantity.name, quantity.unit});
    if (!units.empty()) out.texts(vtk_names::quantity_units, units);
    if (field.views.empty()) return;
    std::vector<std::string> names;
    for (const auto& view : field.views) {
        names.push_back(view.name);
        const auto more = view_numbers(view);
        numbers.views.insert(numbers.views.end(), more.begin(), more.end());
    }
    out.texts(vtk_names::views, names);
    out.array("Float64", vtk_names::view_numbers, static_cast<int>(numbers_per_view),
              numbers.views.data(), numbers.views.size());
}

}  // namespace

void write_vtk_xml(const Field& field, const std::filesystem::path& file, Progress& progress) {
    const Polygons polygons = polygons_of(field);
    VtkXmlFile out(file, progress);
    Attributes numbers;
    out.text() << "<?xml version=\"1.0\"?>\n<VTKFile type=\"PolyData\" version=\"1.0\" "
                  "byte_order=\"LittleEndian\" header_type=\"UInt64\">\n<PolyData>\n<FieldData>\n";
    write_attributes(out, field, numbers);
    out.text() << "</FieldData>\n<Piece NumberOfPoints=\"" << field.vertices.size()
               << "\" NumberOfVerts=\"0\" NumberOfLines=\"0\" NumberOfStrips=\"0\" "
                  "NumberOfPolys=\""
               << polygons.ends.size() << "\">\n<PointData>\n";
    std::vector<std::uint8_t> ghosts;
    for (const std::uint8_t blank : field.blanked)
        ghosts.push_back(blank != 0 ? 2 : 0);
    if (!ghosts.empty()) out.array("UInt8", vtk_names::ghosts, 1, ghosts.data(), ghosts.size());
    for (const auto& quantity : field.quantities)
        if (quantity.place == Place::node)
            out.array("Float64", quantity.name, 1, quantity.values.data(), quantity.values.size());
    out.text() << "</PointData>\n<CellData>\n";
    out.array("Int32", vtk_names::zone, 1, polygons.zone.data(), polygons.zone.size());
    for (const auto& quantity : field.quantities)
        if (quantity.place == Place::cell)
            out.array("Float64", quantity.name, 1, quantity.values.data(), quantity.values.size());
    out.text() << "</CellData>\n<Points>\n";
    out.array("Float64", "Points", 3, field.vertices.empty() ? nullptr : field.vertices[0].data(),
              3 * field.vertices.size());
    out.text() << "</Points>\n<Polys>\n";
    out.array("Int32", "connectivity", 1, polygons.connectivity.data(),
              polygons.connectivity.size());
    out.array("Int32", "offsets", 1, polygons.ends.data(), polygons.ends.size());
    out.text() << "</Polys>\n</Piece>\n</PolyData>\n";
    out.finish();
}

void write_vtk_legacy(const Field& field, const std::filesystem::path& file, Progress& progress) {
    const Polygons polygons = polygons_of(field);
    MeshWriter out(file, progress);
    const auto big = std::endian::big;
    out << "# vtk DataFile Version 3.0\nsurface\nBINARY\nDATASET POLYDATA\nPOINTS "
        << field.vertices.size() << " double\n";
    for (const auto& vertex : field.vertices)
        for (const double coordinate : vertex)
            out.put(coordinate, big);
    out << "\nPOLYGONS " << polygons.ends.size() << ' '
        << polygons.ends.size() + polygons.connectivity.size() << '\n';
    std::int32_t begin = 0;
    for (const std::int32_t end : polygons.ends) {
        out.put(end - begin, big);
        for (; begin < end; ++begin)
            out.put(polygons.connectivity[static_cast<std::size_t>(begin)], big);
    }
    for (const Place place : {Place::node, Place::cell}) {
        bool announced = false;
        for (const auto& quantity : field.quantities) {
            if (quantity.place != place) continue;
            if (!announced)
                out << (place == Place::node ? "\nPOINT_DATA " : "\nCELL_DATA ")
                    << quantity.values.size();
            announced = true;
            std::string name = quantity.name;
            std::ranges::replace_if(
                name, [](char c) { return c <= ' '; }, '_');
            out << "\nSCALARS " << name << " double 1\nLOOKUP_TABLE default\n";
            for (const double value : quantity.values)
                out.put(value, big);
        }
    }
    out << '\n';
    out.finish();
}

}  // namespace vyn::plugins
