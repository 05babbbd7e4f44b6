#include "projection/targets.h"

#include <algorithm>
#include <numeric>

namespace vyn {

namespace {

const Vec3& vertex(const field_data<double>& mesh, int number) {
    return mesh.vertices[static_cast<std::size_t>(number)];
}

}  // namespace

Targets::Targets(const PreparedMesh& prepared, const ProjectionOptions& options)
    : prepared_(prepared),
      options_(options),
      nodes_(options.location == ProjectionOptions::Location::nodes),
      count_(nodes_ ? prepared.mesh.vertices.size() : prepared.mesh.cell_count()),
      first_face_(count_ + 1, 0) {
    const Surface& surface = prepared.surface;
    const auto visit = [&](const auto& each) {
        for (std::size_t t = 0; t < surface.triangles.size(); ++t) {
            if (!surface.counts[t]) continue;
            if (nodes_)
                for (const int corner : surface.triangles[t])
                    each(static_cast<std::size_t>(corner), static_cast<int>(t));
            else
                each(static_cast<std::size_t>(prepared.mesh.cell_of(t)), static_cast<int>(t));
        }
    };
    visit([&](std::size_t target, int) { ++first_face_[target + 1]; });
    std::partial_sum(first_face_.begin(), first_face_.end(), first_face_.begin());
    faces_.resize(first_face_.back());
    std::vector<std::size_t> next(first_face_.begin(), first_face_.end() - 1);
    visit([&](std::size_t target, int t) { faces_[next[target]++] = t; });
}

bool Targets::lone_sheet(std::size_t triangle) const {
    if (options_.open_sheets == ProjectionOptions::OpenSheets::filed) return false;
    const int piece = prepared_.surface.piece[triangle];
    return piece >= 0 && !prepared_.surface.pieces[static_cast<std::size_t>(piece)].has_inside;
}

void Targets::get(std::size_t index, Target& target) const {
    target.normals.clear();
    target.probes.clear();
    if (first_face_[index] == first_face_[index + 1]) return;
    target.both_sides = lone_sheet(static_cast<std::size_t>(faces_[first_face_[index]]));
    if (!nodes_) {
        get_cell(index, target);
        return;
    }
    const VertexNormals& normals = prepared_.normals;
    target.place = prepared_.mesh.vertices[index];
    target.normals.assign(
        normals.normals.begin() + static_cast<std::ptrdiff_t>(normals.first[index]),
        normals.normals.begin() + static_cast<std::ptrdiff_t>(normals.first[index + 1]));
    target.probes.push_back(target.place);
    target.own_place = prepared_.surface.place[index];
}

/// The middle of the cell and those of its outer edges.
void Targets::get_cell(std::size_t cell, Target& target) const {
    const Surface& surface = prepared_.surface;
    Vec3 sum{};
    Vec3 middle{};
    double area = 0;
    target.probes.emplace_back();
    for (const int* face = faces_begin(cell); face != faces_end(cell); ++face) {
        const auto t = static_cast<std::size_t>(*face);
        const Vec3 vector = surface.area_vector(prepared_.mesh, t);
        const double size = length(vector);
        sum = sum + vector;
        area += size;
        for (std::size_t c = 0; c < 3; ++c) {
            const Vec3& a = vertex(prepared_.mesh, surface.triangles[t][c]);
            const Vec3& b = vertex(prepared_.mesh, surface.triangles[t][(c + 1) % 3]);
            middle = middle + (size / 3) * a;
            const int other = surface.neighbour[3 * t + c];
            const bool inner =
                other >= 0 &&
                prepared_.mesh.cell_of(static_cast<std::size_t>(other)) == static_cast<int>(cell);
            if (!inner) target.probes.push_back(0.5 * (a + b));
        }
    }
    const double size = length(sum);
    if (size > 0) target.normals.push_back((1 / size) * sum);
    target.place = (1 / area) * middle;
    target.probes.front() = target.place;
    target.own_place = -1;
}

}  // namespace vyn
