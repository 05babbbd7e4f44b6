#include "plugins/mesh_support/mesh_builder.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

constexpr std::size_t most_vertices = std::numeric_limits<int>::max();

}  // namespace

void MeshBuilder::begin_zone(const std::string& name) {
    const auto known = std::ranges::find_if(
        zones_, [&](const Zone& zone) { return zone.name == name && zone.ni == 0; });
    zone_ = static_cast<int>(known - zones_.begin());
    if (known == zones_.end()) zones_.push_back({name});
}

int MeshBuilder::add_vertex(double x, double y, double z) {
    const std::size_t number = mesh_.vertices.size();
    if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(z))
        refuse(file_, "vertex " + std::to_string(number + 1) + " is not finite");
    if (number == most_vertices) refuse(file_, "it has too many vertices");
    mesh_.vertices.push_back({x, y, z});
    return static_cast<int>(number);
}

void MeshBuilder::add_cell(std::span<const std::int64_t> corners) {
    if (corners.size() < 3) {
        kept_.push_back(-1);
        return;
    }
    if (zone_ < 0) begin_zone("");
    if (corners.size() > most_vertices || cells_.size() == most_vertices)
        refuse(file_, "it has too many faces");
    kept_.push_back(static_cast<std::int64_t>(cells_.size()));
    cells_.push_back({corners_.size(), static_cast<std::uint32_t>(corners.size()), zone_});
    corners_.insert(corners_.end(), corners.begin(), corners.end());
}

void MeshBuilder::reserve_triangles(std::size_t count) {
    kept_.reserve(count);
    cells_.reserve(count);
    corners_.reserve(3 * count);
}

void MeshBuilder::add_structured(const std::string& name, int ni, int nj, std::size_t first) {
    zone_ = static_cast<int>(zones_.size());
    zones_.push_back({name, first, ni, nj});
    for (int j = 0; j + 1 < nj; ++j)
        for (int i = 0; i + 1 < ni; ++i) {
            const auto a = static_cast<std::int64_t>(first) + std::int64_t{j} * ni + i;
            const std::int64_t quad[]{a, a + 1, a + 1 + ni, a + ni};
            add_cell(quad);
        }
    zone_ = -1;
}

void MeshBuilder::add_quantity(field_data<double>::Quantity quantity) {
    mesh_.quantities.push_back(std::move(quantity));
}

void MeshBuilder::check_corners() const {
    const auto count = static_cast<std::int64_t>(mesh_.vertices.size());
    for (const Cell& cell : cells_)
        for (std::size_t i = 0; i < cell.count; ++i)
            if (const std::int64_t vertex = corners_[cell.corner + i];
                vertex < 0 || vertex >= count)
                refuse(file_, "face " + std::to_string(&cell - cells_.data() + 1) +
                                  " names vertex " + std::to_string(vertex + 1) + " of " +
                                  std::to_string(count));
}

std::vector<std::size_t> MeshBuilder::order() const {
    std::vector<std::size_t> cells(cells_.size());
    std::iota(cells.begin(), cells.end(), std::size_t{0});
    if (!std::ranges::is_sorted(cells_, {}, &Cell::zone))
        std::ranges::stable_sort(cells, {}, [&](std::size_t i) { return cells_[i].zone; });
    return cells;
}

void MeshBuilder::make_triangles(const std::vector<std::size_t>& cells) {
    std::size_t count = 0;
    for (const Cell& cell : cells_)
        count += cell.count - 2;
    if (count > most_vertices) refuse(file_, "it has too many faces");
    mesh_.triangles.reserve(count);
    const bool polygons = count != cells_.size();
    if (polygons) mesh_.cells.reserve(count);
    std::vector<std::size_t> end(zones_.size(), 0);
    std::vector<std::size_t> begin(zones_.size(), 0);
    for (std::size_t place = 0; place < cells.size(); ++place) {
        const Cell& cell = cells_[cells[place]];
        const auto zone = static_cast<std::size_t>(cell.zone);
        if (end[zone] == 0) begin[zone] = mesh_.triangles.size();
        const auto corner = [&](std::size_t i) {
            return static_cast<int>(corners_[cell.corner + i]);
        };
        for (std::size_t i = 1; i + 1 < cell.count; ++i) {
            mesh_.triangles.push_back({corner(0), corner(i), corner(i + 1)});
            if (polygons) mesh_.cells.push_back(static_cast<int>(place));
        }
        end[zone] = mesh_.triangles.size();
    }
    for (std::size_t z = 0; z < zones_.size(); ++z)
        if (end[z] > begin[z])
            mesh_.zones.push_back({zones_[z].name, begin[z], end[z] - begin[z], zones_[z].first,
                                   zones_[z].ni, zones_[z].nj});
}

void MeshBuilder::arrange_cell_values(const std::vector<std::size_t>& cells) {
    if (mesh_.quantities.empty()) return;
    std::vector<std::size_t> offered(cells_.size());
    for (std::size_t i = 0; i < kept_.size(); ++i)
        if (kept_[i] >= 0) offered[static_cast<std::size_t>(kept_[i])] = i;
    for (auto& quantity : mesh_.quantities) {
        const bool nodes = quantity.place == field_data<double>::Place::node;
        if (quantity.values.size() != (nodes ? mesh_.vertices.size() : kept_.size()))
            refuse(file_, "'" + quantity.name + "' has " + std::to_string(quantity.values.size()) +
                              " values, not one for each " + (nodes ? "vertex" : "cell"));
        if (nodes) continue;
        std::vector<double> values;
        values.reserve(cells.size());
        for (const std::size_t cell : cells)
            values.push_back(quantity.values[offered[cell]]);
        quantity.values = std::move(values);
    }
}

field_data<double> MeshBuilder::take() {
    if (cells_.empty()) refuse(file_, "it has no faces");
    check_corners();
    const std::vector<std::size_t> cells = order();
    make_triangles(cells);
    arrange_cell_values(cells);
    if (!mesh_.blanked.empty()) mesh_.blanked.resize(mesh_.vertices.size(), 0);
    return std::move(mesh_);
}

}  // namespace vyn::plugins
