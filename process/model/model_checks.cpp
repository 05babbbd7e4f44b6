#include "process/model/model_checks.h"

#include <algorithm>

#include <Eigen/Geometry>

#include "core/errors.h"
#include "core/numbers.h"
#include "process/model/resect_json.h"

namespace vyn {

namespace {

using Box = Eigen::AlignedBox3d;

}  // namespace

void check_markers_on_mesh(const std::vector<Marker>& markers, const field_data<double>& mesh,
                           double mm_per_unit) {
    Box model;
    for (const auto& place : mesh.vertices)
        model.extend(mm_per_unit * Eigen::Vector3d(place[0], place[1], place[2]));
    const double length = model.diagonal().norm();
    constexpr double margin = 0.05;  // of the mesh's diagonal
    const Eigen::Vector3d room = Eigen::Vector3d::Constant(margin * length);
    const Box around(model.min() - room, model.max() + room);
    Box all;
    std::size_t active = 0;
    std::size_t beside = 0;
    for (const Marker& marker : markers) {
        if (!marker.active) continue;
        const Eigen::Vector3d place(marker.x, marker.y, marker.z);
        ++active;
        beside += !around.contains(place);
        all.extend(place);
    }
    constexpr double least_share = 0.02;
    if (active < 2 || (2 * beside <= active && all.diagonal().norm() >= least_share * length))
        return;
    throw AlgoError("Resection Failed!",
                    "the markers on the model spread over " +
                        format_general(all.diagonal().norm(), 3) + " mm, the mesh over " +
                        format_general(length, 3) + " mm, and " + std::to_string(beside) + " of " +
                        std::to_string(active) +
                        " markers lie beside it: one of the two may be in another unit "
                        "(mesh_unit, markers_unit)");
}

void check_seen(const ProjectionResult& result, const std::vector<ProjectedView>& views) {
    if (std::ranges::any_of(result.counts, [](const ViewCounts& c) { return c.seen > 0; })) return;
    std::string lines;
    for (const std::string& line : projection_lines(result, views))
        lines += (lines.empty() ? "" : "; ") + line;
    throw AlgoError("Resection Failed!", "no camera sees any part of the mesh: " + lines);
}

}  // namespace vyn
