#include "process/model/resect_json.h"

#include <array>

#include <nlohmann/json.hpp>

#include "core/errors.h"
#include "core/numbers.h"

namespace vyn {

using json = nlohmann::json;

namespace {

constexpr std::array<const char*, intrinsic_count> intrinsic_names{"focus", "cx", "cy", "a2", "a4"};

json camera_json(const PinholeCamera& camera) {
    return {{"fx", camera.fx},      {"fy", camera.fy},      {"cx", camera.lens.cx},
            {"cy", camera.lens.cy}, {"a2", camera.lens.a2}, {"a4", camera.lens.a4},
            {"nfx", camera.width},  {"nfy", camera.height}};
}

json matrix_json(const Eigen::MatrixXd& matrix) {
    json rows = json::array();
    for (Eigen::Index i = 0; i < matrix.rows(); ++i)
        for (Eigen::Index j = 0; j < matrix.cols(); ++j)
            rows.push_back(matrix(i, j));
    return rows;
}

json markers_json(const std::vector<MarkerResult>& markers) {
    json list = json::array();
    for (const MarkerResult& marker : markers)
        list.push_back({{"marker", marker.marker_id},
                        {"dot", marker.dot_id},
                        {"place_mm", {marker.place.x(), marker.place.y(), marker.place.z()}},
                        {"pixel", {marker.dot.x, marker.dot.y}},
                        {"dx", marker.dx},
                        {"dy", marker.dy},
                        {"length", marker.length()},
                        {"standardised", marker.standardised},
                        {"used", marker.used}});
    return list;
}

json view_json(const ViewResult& view) {
    json r = json::array();
    for (int i = 0; i < 9; ++i)
        r.push_back(view.pose.rotation(i / 3, i % 3));
    const Eigen::Vector3d centre = view.pose.centre();
    json freed = json::array();
    for (const FreedIntrinsic& intrinsic : view.freed)
        freed.push_back({{"name", intrinsic_names[static_cast<std::size_t>(intrinsic.which)]},
                         {"value", intrinsic.value},
                         {"sigma", intrinsic.sigma}});
    json result{{"name", view.name},
                {"R", std::move(r)},
                {"t", {view.pose.shift.x(), view.pose.shift.y(), view.pose.shift.z()}},
                {"camera", camera_json(view.camera)},
                {"camera_before", camera_json(view.camera_before)},
                {"covariance", matrix_json(view.covariance)},
                {"freed", std::move(freed)},
                {"paired", view.paired_how},
                {"pairs", view.used},
                {"dots", view.dots},
                {"rms_px", view.rms},
                {"mean_px", view.mean},
                {"largest_px", view.largest},
                {"largest_at_marker", view.largest_at},
                {"leave_one_out_rms_px", view.leave_one_out_rms},
                {"planar", view.planar},
                {"hull_share", view.hull_share},
                {"distance_mm", view.distance},
                {"mm_per_pixel", view.mm_per_pixel},
                {"camera_centre_mm", {centre.x(), centre.y(), centre.z()}},
                {"angles_zyx_deg", view.angles},
                {"markers", markers_json(view.markers)}};
    if (view.planar) result["tilt_deg"] = view.tilt;
    if (view.other_rms) result["other_pose_rms_px"] = *view.other_rms;
    return result;
}

std::string percent(double share) {
    return format_fixed(100 * share, 1) + " %";
}

}  // namespace

json resection_json(const ResectReport& report) {
    json views = json::array();
    for (const ViewResult& view : report.views)
        views.push_back(view_json(view));
    return {{"views", std::move(views)},
            {"condition", report.condition},
            {"strongest_correlation", report.strongest_correlation},
            {"scatter", report.scatter},
            {"remarks", report.remarks}};
}

ReportedPose reported_pose(const json& view) {
    try {
        ReportedPose result;
        result.name = view.value("name", "");
        const auto r = view.at("R").get<std::array<double, 9>>();
        Eigen::Matrix3d matrix;
        for (int i = 0; i < 9; ++i)
            matrix(i / 3, i % 3) = r[static_cast<std::size_t>(i)];
        result.pose.rotation = nearest_rotation(matrix);
        if (!((result.pose.rotation - matrix).norm() < 1e-6))
            throw AlgoError("Algorithm error!", "R of a view is no rotation");
        const auto t = view.at("t").get<std::array<double, 3>>();
        result.pose.shift = {t[0], t[1], t[2]};
        const json& camera = view.at("camera");
        result.camera = {camera.at("fx"),
                         camera.at("fy"),
                         {camera.at("cx"), camera.at("cy"), camera.at("a2"), camera.at("a4")},
                         camera.at("nfx"),
                         camera.at("nfy")};
        result.rms = view.value("rms_px", 0.0);
        for (const json& freed : view.value("freed", json::array()))
            for (std::size_t i = 0; i < intrinsic_names.size(); ++i)
                if (freed.at("name") == intrinsic_names[i])
                    result.freed.push_back(static_cast<Intrinsic>(i));
        const auto numbers = view.value("covariance", std::vector<double>());
        const auto size = 6 + result.freed.size();
        if (numbers.size() == size * size)
            result.covariance = Eigen::Map<const Eigen::Matrix<double, -1, -1, Eigen::RowMajor>>(
                numbers.data(), static_cast<Eigen::Index>(size), static_cast<Eigen::Index>(size));
        return result;
    } catch (const json::exception& error) {
        throw AlgoError("Algorithm error!", std::string("no pose of a view: ") + error.what());
    }
}

ViewResult reported_view(const json& view) {
    const ReportedPose pose = reported_pose(view);
    ViewResult result;
    result.name = pose.name;
    result.camera = result.camera_before = pose.camera;
    result.pose = pose.pose;
    result.rms = pose.rms;
    try {
        result.paired_how = view.at("paired");
        result.used = view.at("pairs");
        result.dots = view.at("dots");
        result.largest = view.at("largest_px");
        result.largest_at = view.at("largest_at_marker");
        result.leave_one_out_rms = view.at("leave_one_out_rms_px");
        result.hull_share = view.at("hull_share");
        for (const json& marker : view.at("markers")) {
            const auto pixel = marker.at("pixel").get<std::array<double, 2>>();
            const auto place = marker.at("place_mm").get<std::array<double, 3>>();
            result.markers.push_back({marker.at("marker"),
                                      marker.at("dot"),
                                      {place[0], place[1], place[2]},
                                      {pixel[0], pixel[1]},
                                      marker.at("dx"),
                                      marker.at("dy"),
                                      marker.at("standardised"),
                                      marker.at("used")});
        }
    } catch (const json::exception& error) {
        throw AlgoError("Algorithm error!", std::string("no residuals of a view: ") + error.what());
    }
    return result;
}

json projection_json(const ProjectionResult& result, const std::vector<ProjectedView>& views,
                     const field_data<double>& mesh) {
    json list = json::array();
    for (std::size_t v = 0; v < views.size(); ++v) {
        const ViewCounts& counts = result.counts[v];
        list.push_back({{"name", views[v].name},
                        {"seen", counts.seen},
                        {"off_surface", counts.off_surface},
                        {"lost_to_angle", counts.by_angle},
                        {"lost_to_occlusion", counts.by_occlusion},
                        {"lost_to_mask", counts.by_mask},
                        {"lost_to_border", counts.by_border}});
    }
    json zones = json::array();
    for (std::size_t z = 0; z < mesh.zones.size(); ++z)
        zones.push_back({{"name", mesh.zones[z].name}, {"covered_share", result.covered_share[z]}});
    return {
        {"views", std::move(list)}, {"zones", std::move(zones)}, {"covered_share", result.covered}};
}

std::vector<std::string> projection_lines(const ProjectionResult& result,
                                          const std::vector<ProjectedView>& views) {
    std::vector<std::string> lines;
    for (std::size_t v = 0; v < views.size(); ++v) {
        const ViewCounts& counts = result.counts[v];
        lines.push_back(views[v].name + ": " + std::to_string(counts.seen) +
                        " seen; lost to angle " + std::to_string(counts.by_angle) + ", occlusion " +
                        std::to_string(counts.by_occlusion) + ", mask " +
                        std::to_string(counts.by_mask) + ", picture border " +
                        std::to_string(counts.by_border));
    }
    lines.push_back("area seen: " + percent(result.covered));
    return lines;
}

std::vector<std::string> resection_lines(const ResectReport& report) {
    std::vector<std::string> lines = report.remarks;
    for (const ViewResult& view : report.views)
        lines.push_back(view.name + ": " + std::to_string(view.used) + " pairs of " +
                        std::to_string(view.dots) + " dots, " + view.paired_how + "; rms " +
                        format_general(view.rms, 3) + " px, left out one by one " +
                        format_general(view.leave_one_out_rms, 3) + " px, largest " +
                        format_general(view.largest, 3) + " px at marker No " +
                        std::to_string(view.largest_at));
    return lines;
}

}  // namespace vyn
