#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "core/atomic_file.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "process/model/loads_table.h"
#include "process/point/marker_io.h"
#include "process/steps/field_quantity.h"
#include "sample/model_point.h"

namespace vyn {

namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;

constexpr const char* mesh_name = "model.vtp";
constexpr const char* truth_name = "truth_mesh.vtp";
constexpr const char* markers_name = "markers3d.mrk";
constexpr const char* poses_name = "pose.json";
constexpr const char* lines_name = "lines.csv";
constexpr const char* reference_name = "reference.json";

std::string suffix_of(std::size_t view) {
    return view == 0 ? "" : "_2";
}

/// Area of the planform, its mean chord and span, the middle of the mean quarter chord; the flow in
/// the unit of the field.
LoadsReference reference_of(const ModelPoint& point) {
    constexpr int strips = 2000;
    const double width = 2 * model_shape::half_span / strips;
    LoadsReference reference{.span = 2 * model_shape::half_span};
    double quarter = 0;
    for (int i = 0; i < strips; ++i) {
        const double y = -model_shape::half_span + (i + 0.5) * width;
        const double c = model_shape::chord(y);
        reference.area += c * width;
        quarter += (model_shape::leading_edge(y) + c / 4) * c * width;
    }
    reference.chord = reference.area / reference.span;
    reference.about[0] = quarter / reference.area;
    const flowFeatures& flow = point.views.front().flow;
    switch (point.options.point.quantity) {
        case FieldQuantity::cp:
            break;
        case FieldQuantity::p_over_static:
            reference.static_pressure = 1;
            reference.dynamic_pressure = flow.dynamic_p / flow.static_p;
            break;
        default:
            reference.static_pressure = flow.static_p;
            reference.dynamic_pressure = flow.dynamic_p;
            break;
    }
    return reference;
}

std::string reference_text(const LoadsReference& reference) {
    return ordered_json{{"area", reference.area},
                        {"chord", reference.chord},
                        {"span", reference.span},
                        {"about", reference.about},
                        {"static_p", reference.static_pressure},
                        {"dynamic_p", reference.dynamic_pressure},
                        {"alpha", reference.alpha},
                        {"beta", reference.beta}}
               .dump(2) +
           "\n";
}

void add_settings(const ModelPoint& point, std::size_t view, dataSetInterface& data) {
    write(data, keys::mesh_file, std::string(mesh_name));
    write(data, keys::mesh_mark_file, std::string(markers_name));
    write(data, keys::spline_edges, std::string("extended"));
    write(data, keys::resample_once, 1);
    const std::string field =
        std::string(field_name(point.options.point.quantity)) + suffix_of(view);
    write(data, keys::pressure_file, field + ".imp");
    write(data, keys::pressure_mark_file, field + ".mrk");
    write_loads_reference(data, reference_of(point));
}

ordered_json pose_json(const Eigen::Matrix3d& rotation, const Eigen::Vector3d& shift) {
    ordered_json r = ordered_json::array();
    for (int i = 0; i < 9; ++i)
        r.push_back(rotation(i / 3, i % 3));
    return {{"R", std::move(r)}, {"t", {shift.x(), shift.y(), shift.z()}}};
}

/// The poses as reports hold them, and the model's motion.
std::string poses_text(const ModelPoint& point) {
    ordered_json views = ordered_json::array();
    for (std::size_t i = 0; i < point.cameras.size(); ++i) {
        const PinholeCamera& camera = point.cameras[i].pinhole;
        ordered_json view{{"name", "wind_off" + suffix_of(i)}};
        view.update(pose_json(point.cameras[i].pose.rotation, point.cameras[i].pose.shift));
        view["camera"] = {{"fx", camera.fx},      {"fy", camera.fy},      {"cx", camera.lens.cx},
                          {"cy", camera.lens.cy}, {"a2", camera.lens.a2}, {"a4", camera.lens.a4},
                          {"nfx", camera.width},  {"nfy", camera.height}};
        views.push_back(std::move(view));
    }
    const Vec3& m = model_shape::middle;
    const Eigen::Vector3d middle(m[0], m[1], m[2]);
    ordered_json motion = pose_json(point.motion.rotation,
                                    point.motion.shift + middle - point.motion.rotation * middle);
    motion["tip_bending_mm"] = point.motion.tip;
    return ordered_json{{"resection", {{"views", std::move(views)}}},
                        {"wind_on_from_wind_off", std::move(motion)}}
               .dump(2) +
           "\n";
}

/// The wing's edges as sections at a share of the chord take them.
std::string lines_text(const ModelPoint& point) {
    std::string text = "line,x,y,z\n";
    for (std::size_t e = 0; e < point.edges.size(); ++e)
        for (const Vec3& p : point.edges[e])
            text += std::string(e == 0 ? "leading" : "trailing") + "," + format_double(p[0]) + "," +
                    format_double(p[1]) + "," + format_double(p[2]) + "\n";
    return text;
}

}  // namespace

std::vector<std::string> model_file_names(const ModelPointOptions& options) {
    std::vector<std::string> names{mesh_name,  truth_name, markers_name,
                                   poses_name, lines_name, reference_name};
    for (int i = 0; i < options.cameras; ++i)
        for (std::string& name : synthetic_file_names(SyntheticOptions::Channels::single,
                                                      suffix_of(static_cast<std::size_t>(i))))
            names.push_back(std::move(name));
    return names;
}

void write_model_point(const ModelPoint& point, const fs::path& folder, Progress& progress) {
    for (std::size_t i = 0; i < point.views.size(); ++i) {
        const double share = 0.5 / static_cast<double>(point.views.size());
        SubProgress part(progress, static_cast<double>(i) * share,
                         static_cast<double>(i + 1) * share);
        write_synthetic_point(
            point.views[i], folder, part,
            {suffix_of(i), [&](dataSetInterface& data) { add_settings(point, i, data); }});
    }
    SubProgress bare_part(progress, 0.5, 0.7);
    SubProgress truth_part(progress, 0.7, 1);
    field_data<double> bare = point.mesh;
    bare.quantities.clear();
    write_field(bare, folder / mesh_name, bare_part);
    write_field(point.mesh, folder / truth_name, truth_part);
    write_marker_file(folder / markers_name, point.markers);
    write_file(folder / poses_name, poses_text(point));
    write_file(folder / lines_name, lines_text(point));
    write_file(folder / reference_name, reference_text(reference_of(point)));
}

}  // namespace vyn
