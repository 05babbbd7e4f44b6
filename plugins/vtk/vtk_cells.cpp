#include "plugins/vtk/vtk_cells.h"

#include <algorithm>
#include <span>

#include "core/log.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

using Field = field_data<double>;
using Place = Field::Place;

/// Collects pieces into one mesh.
class Assembly {
  public:
    Assembly(const std::filesystem::path& file, const VtkFieldData& stored)
        : file_(file), mesh_(file) {
        for (const auto& [name, texts] : stored.texts)
            if (name == vtk_names::zone_names) zone_names_ = texts;
    }

    void add(VtkPiece& piece) {
        const std::size_t first = mesh_.vertex_count();
        const bool structured = piece.size[0] > 0;
        if (structured) make_flat(piece);
        for (std::size_t i = 0; i + 2 < piece.points.size(); i += 3)
            mesh_.add_vertex(piece.points[i], piece.points[i + 1], piece.points[i + 2]);
        const std::size_t points = mesh_.vertex_count() - first;
        add_ghosts(piece, points);
        const std::size_t first_cell = mesh_.offered_cells();
        take_strips_apart(piece);
        if (structured)
            mesh_.add_structured("grid " + std::to_string(++grids_),
                                 static_cast<int>(piece.size[0]), static_cast<int>(piece.size[1]),
                                 first);
        else
            add_cells(piece, static_cast<std::int64_t>(first));
        add_values(piece.point_data, Place::node, first, points);
        add_values(piece.cell_data, Place::cell, first_cell, mesh_.offered_cells() - first_cell);
    }

    Field take() {
        for (Field::Quantity& quantity : quantities_)
            mesh_.add_quantity(std::move(quantity));
        return mesh_.take();
    }

  private:
    /// A volume becomes its face k = 1; of a flat grid the direction of one point goes.
    void make_flat(VtkPiece& piece) {
        auto& size = piece.size;
        if (size[2] > 1 && size[0] == 1) {
            size = {size[1], size[2], 1};
        } else if (size[2] > 1 && size[1] == 1) {
            size = {size[0], size[2], 1};
        } else if (size[2] > 1) {
            get_log().write(LogLevel::information,
                            file_.string() + ": a volume grid: its face k = 1 is taken");
            const auto points = static_cast<std::size_t>(size[0] * size[1]);
            const auto cells = static_cast<std::size_t>((size[0] - 1) * (size[1] - 1));
            const auto all_points = points * static_cast<std::size_t>(size[2]);
            const auto all_cells = cells * static_cast<std::size_t>(size[2] - 1);
            size[2] = 1;
            cut(piece.point_data, all_points, points);
            cut(piece.cell_data, all_cells, cells);
            piece.points.resize(3 * points);
        }
    }

    void cut(std::vector<VtkArray>& arrays, std::size_t all, std::size_t kept) const {
        for (VtkArray& array : arrays) {
            const auto components = static_cast<std::size_t>(array.components);
            if (array.values.size() != all * components) wrong_length(array);
            array.values.resize(kept * components);
        }
    }

    [[noreturn]] void wrong_length(const VtkArray& array) const {
        refuse(file_, "the array '" + array.name + "' does not fit the points or cells");
    }

    void add_ghosts(VtkPiece& piece, std::size_t points) {
        const auto ghosts = std::ranges::find(piece.point_data, vtk_names::ghosts, &VtkArray::name);
        if (ghosts == piece.point_data.end()) return;
        if (ghosts->values.size() != points) wrong_length(*ghosts);
        constexpr int hidden = 2;
        auto& blanked = mesh_.blanked();
        blanked.resize(mesh_.vertex_count() - points, 0);
        for (const double value : ghosts->values)
            blanked.push_back(value >= 0 && value < 256 && (static_cast<int>(value) & hidden) != 0);
        piece.point_data.erase(ghosts);
    }

    std::string zone_name(double number) const {
        if (!(number >= 0 && number < 1e9)) return "zone";
        const auto index = static_cast<std::size_t>(number);
        return index < zone_names_.size() ? zone_names_[index]
                                          : "zone " + std::to_string(index + 1);
    }

    void add_cells(VtkPiece& piece, std::int64_t first_point) {
        if (piece.types.size() != piece.ends.size()) wrong_types();
        const auto zones = std::ranges::find(piece.cell_data, vtk_names::zone, &VtkArray::name);
        const bool by_zone =
            zones != piece.cell_data.end() && zones->values.size() == piece.ends.size();
        std::vector<std::int64_t> corners;
        std::size_t begin = 0;
        for (std::size_t c = 0; c < piece.ends.size(); ++c) {
            const std::span<const std::int64_t> points = corners_of(piece, c, begin);
            begin += points.size();
            corners.assign(points.begin(), points.end());
            for (std::int64_t& corner : corners)
                corner = corner < 0 ? corner : corner + first_point;
            if (by_zone && (c == 0 || zones->values[c] != zones->values[c - 1]))
                mesh_.begin_zone(zone_name(zones->values[c]));
            add_cell(piece.types[c], corners);
        }
        if (by_zone) piece.cell_data.erase(zones);
    }

    /// Each strip becomes its triangles, every second one turned, with the values of the strip.
    void take_strips_apart(VtkPiece& piece) const {
        if (std::ranges::find(piece.types, vtk_types::strip) == piece.types.end()) return;
        if (piece.types.size() != piece.ends.size()) wrong_types();
        VtkPiece flat;
        std::vector<std::size_t> cell_of;
        const auto add = [&](int type, std::size_t cell, const auto& corners) {
            flat.connectivity.insert(flat.connectivity.end(), corners.begin(), corners.end());
            flat.ends.push_back(static_cast<std::int64_t>(flat.connectivity.size()));
            flat.types.push_back(type);
            cell_of.push_back(cell);
        };
        std::size_t begin = 0;
        for (std::size_t c = 0; c < piece.ends.size(); ++c) {
            const std::span<const std::int64_t> corners = corners_of(piece, c, begin);
            begin += corners.size();
            if (piece.types[c] != vtk_types::strip)
                add(piece.types[c], c, corners);
            else
                for (std::size_t i = 0; i + 2 < corners.size(); ++i)
                    add(vtk_types::triangle, c,
                        std::array{corners[i], corners[i + 1 + i % 2], corners[i + 2 - i % 2]});
        }
        for (VtkArray& array : piece.cell_data) {
            const auto components = static_cast<std::size_t>(array.components);
            if (array.values.size() != piece.ends.size() * components) wrong_length(array);
            std::vector<double> values;
            for (const std::size_t cell : cell_of)
                for (std::size_t k = 0; k < components; ++k)
                    values.push_back(array.values[cell * components + k]);
            array.values = std::move(values);
        }
        piece.connectivity = std::move(flat.connectivity);
        piece.ends = std::move(flat.ends);
        piece.types = std::move(flat.types);
    }

    [[noreturn]] void wrong_types() const {
        refuse(file_, "the cells and their types are not equally many");
    }

    /// The points of cell `c`, which begin there.
    std::span<const std::int64_t> corners_of(const VtkPiece& piece, std::size_t c,
                                             std::size_t begin) const {
        const std::int64_t end = piece.ends[c];
        if (end < static_cast<std::int64_t>(begin) ||
            end > static_cast<std::int64_t>(piece.connectivity.size()))
            refuse(file_, "cell " + std::to_string(c + 1) + " ends outside of the cells' points");
        return std::span(piece.connectivity).subspan(begin, static_cast<std::size_t>(end) - begin);
    }

    void add_cell(int type, std::vector<std::int64_t>& corners) {
        using namespace vtk_types;
        const bool face = type == triangle || type == polygon || type == quad || type == pixel;
        if (!face && type > polyline)
            refuse(file_, "cells of type " + std::to_string(type) +
                              " are no plane faces: extract the surface first");
        if (!face) corners.clear();
        if (type == pixel && corners.size() == 4) std::swap(corners[2], corners[3]);
        mesh_.add_cell(corners);
    }

    /// Quantities by name and component; one that an earlier piece has not is NaN there.
    void add_values(const std::vector<VtkArray>& arrays, Place place, std::size_t before,
                    std::size_t count) {
        for (const VtkArray& array : arrays) {
            const auto components = static_cast<std::size_t>(array.components);
            if (array.values.size() != count * components) wrong_length(array);
            for (std::size_t k = 0; k < components; ++k) {
                auto& values = quantity_of(component_name(array, k), place).values;
                values.resize(before, std::numeric_limits<double>::quiet_NaN());
                for (std::size_t i = 0; i < count; ++i)
                    values.push_back(array.values[i * components + k]);
            }
        }
        for (auto& quantity : quantities_)
            if (quantity.place == place)
                quantity.values.resize(before + count, std::numeric_limits<double>::quiet_NaN());
    }

    static std::string component_name(const VtkArray& array, std::size_t k) {
        if (array.components == 1) return array.name;
        if (array.components == 3) return array.name + "_" + "xyz"[k];
        return array.name + "_" + std::to_string(k + 1);
    }

    Field::Quantity& quantity_of(const std::string& name, Place place) {
        for (auto& quantity : quantities_)
            if (quantity.name == name && quantity.place == place) return quantity;
        return quantities_.emplace_back(Field::Quantity{name, {}, {}, place});
    }

    const std::filesystem::path& file_;
    MeshBuilder mesh_;
    std::vector<std::string> zone_names_;
    std::vector<Field::Quantity> quantities_;
    int grids_ = 0;
};

}  // namespace

Field mesh_of(const std::filesystem::path& file, std::vector<VtkPiece> pieces,
              const VtkFieldData& stored) {
    Assembly assembly(file, stored);
    for (VtkPiece& piece : pieces)
        assembly.add(piece);
    Field mesh = assembly.take();
    restore_attributes(stored, mesh);
    return mesh;
}

}  // namespace vyn::plugins
