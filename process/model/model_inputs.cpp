#include "process/model/model_inputs.h"

#include <algorithm>
#include <cmath>

#include "calib/units.h"
#include "core/errors.h"
#include "core/keys.h"
#include "process/point/marker_io.h"

namespace vyn {

namespace {

RobustLoss loss_of(const std::string& name) {
    if (name == "none") return RobustLoss::none;
    return name == "tukey" ? RobustLoss::tukey : RobustLoss::huber;
}

PairingKind pairing_of(const std::string& name) {
    if (name == "number") return PairingKind::by_number;
    return name == "geometry" ? PairingKind::by_geometry : PairingKind::automatic;
}

}  // namespace

ResectOptions resect_options(const dataSetInterface& data, double mm_per_unit) {
    ResectOptions options;
    options.start = start_kind(read(data, keys::resect_type));
    options.pairing = pairing_of(read(data, keys::resect_pairing));
    options.gate = read(data, keys::resect_gate);
    options.min_pairs = read(data, keys::resect_min_pairs);
    options.free_focus = read(data, keys::resect_free_focus) != 0;
    options.free_centre = read(data, keys::resect_free_centre) != 0;
    options.free_a2 = read(data, keys::resect_free_a2) != 0;
    options.free_a4 = read(data, keys::resect_free_a4) != 0;
    options.loss = loss_of(read(data, keys::resect_loss));
    options.marker_sigma = read(data, keys::resect_marker_sigma) * mm_per_unit;
    options.image_sigma = read(data, keys::resect_image_sigma);
    options.pose_choice = read(data, keys::resect_pose_choice) != 0
                              ? ResectOptions::PoseChoice::other
                              : ResectOptions::PoseChoice::better;
    return options;
}

ProjectionOptions projection_options(const dataSetInterface& data) {
    using Options = ProjectionOptions;
    Options options;
    options.obliqueness = read(data, keys::resect_obliqueness);
    options.tolerance = read(data, keys::resect_tolerance);
    options.open_sheets = read(data, keys::resect_open_sheets) == "both"
                              ? Options::OpenSheets::both
                              : Options::OpenSheets::filed;
    options.location = read(data, keys::resect_location) == "cells" ? Options::Location::cells
                                                                    : Options::Location::nodes;
    const std::string sampling = read(data, keys::resect_sampling);
    options.sampling = sampling == "point"  ? Options::Sampling::point
                       : sampling == "area" ? Options::Sampling::area
                                            : Options::Sampling::automatic;
    options.min_valid = read(data, keys::resect_min_valid);
    options.edge_px = read(data, keys::resect_edge_px);
    options.blend =
        read(data, keys::resect_blend) == "best" ? Options::Blend::best : Options::Blend::weighted;
    options.blend_power = read(data, keys::resect_blend_power);
    options.marker_patch = read(data, keys::resect_marker_patch);
    options.feather_px = read(data, keys::resect_feather_px);
    return options;
}

PinholeCamera pinhole_of(const cameraFeatures& record) {
    const auto pixels = [&](double spacing, int elements, int frame) {
        return frame > 0 && elements > 0 ? record.focus / (spacing * elements / frame) : 0.0;
    };
    PinholeCamera camera{pixels(record.dx, record.ncx, record.nfx),
                         pixels(record.dy, record.ncy, record.nfy), lens_of(record), record.nfx,
                         record.nfy};
    const auto sound = [](double f) { return f > 0 && std::isfinite(f); };
    if (!sound(camera.fx) || !sound(camera.fy))
        throw AlgoError("Resection Failed!",
                        "focus, pixel size or counts are 0: the camera cannot be used");
    return camera;
}

void check_size(const image& picture, const PinholeCamera& camera, const std::string& name) {
    if (picture.width() == camera.width && picture.height() == camera.height) return;
    throw AlgoError("Resection Failed!",
                    "the picture '" + name + "' has " + std::to_string(picture.width()) + " x " +
                        std::to_string(picture.height()) + " pixels, but the camera's record " +
                        std::to_string(camera.width) + " x " + std::to_string(camera.height));
}

cameraFeatures with_intrinsics(cameraFeatures record, const PinholeCamera& before,
                               const PinholeCamera& after) {
    record.focus *= after.fx / before.fx;
    record.cx = after.lens.cx;
    record.cy = after.lens.cy;
    record.a2 = after.lens.a2;
    record.a4 = after.lens.a4;
    return record;
}

std::string mesh_unit_of(const field_data<double>& mesh, const dataSetInterface& data) {
    return mesh.unit.empty() ? read(data, keys::resect_mesh_unit) : mesh.unit;
}

double mm_per(const std::string& unit) {
    return convert_length(1, unit, "mm");
}

std::vector<Marker> read_model_markers(const std::filesystem::path& file,
                                       const dataSetInterface& data, const std::string& mesh_unit) {
    MarkerSet set = read_marker_file(file, 0);
    if (!set.hasZ)
        throw FileError("Can't open file for reading!",
                        file.string() +
                            ": these are image markers, markers on the model have "
                            "three coordinates");
    std::string unit = read(data, keys::resect_markers_unit);
    const std::vector<std::string> units = length_unit_names();
    if (unit.empty() && set.lengthUnit >= 1 && set.lengthUnit <= static_cast<int>(units.size()))
        unit = units[static_cast<std::size_t>(set.lengthUnit) - 1];
    if (unit.empty()) unit = mesh_unit;
    const double factor = mm_per(unit);
    for (Marker& marker : set.markers) {
        marker.x *= factor;
        marker.y *= factor;
        marker.z *= factor;
    }
    return set.markers;
}

field_data<double> with_wanted_mirror(field_data<double> mesh, const dataSetInterface& data) {
    const auto axis = std::string_view("xyz").find(read(data, keys::resect_mirror));
    return axis == std::string_view::npos ? std::move(mesh) : with_mirror_image(mesh, axis);
}

std::string mesh_quantity_name(const image& field) {
    switch (field.quantity.kind) {
        case Quantity::Kind::pressure:
            return "P";
        case Quantity::Kind::p_over_static:
            return "P_Pstat";
        case Quantity::Kind::cp:
            return "Cp";
        case Quantity::Kind::intensity_ratio:
            return "Iref";
        default:
            return field.name.empty() ? "value" : field.name;
    }
}

std::optional<Pose> stored_pose(const dataSetInterface& data, const std::string& camera_unit) {
    const Eigen::Vector3d turn(read(data, keys::resect_pose_rx), read(data, keys::resect_pose_ry),
                               read(data, keys::resect_pose_rz));
    const Eigen::Vector3d shift(read(data, keys::resect_pose_tx), read(data, keys::resect_pose_ty),
                                read(data, keys::resect_pose_tz));
    if (shift.isZero(0) || !turn.allFinite() || !shift.allFinite()) return std::nullopt;
    return Pose{rotation_of(turn), mm_per(camera_unit) * shift};
}

void store_pose(dataSetInterface& data, const Pose& pose, const std::string& camera_unit) {
    const Eigen::Vector3d turn = vector_of(pose.rotation);
    const Eigen::Vector3d shift = pose.shift / mm_per(camera_unit);
    write(data, keys::resect_pose_rx, turn.x());
    write(data, keys::resect_pose_ry, turn.y());
    write(data, keys::resect_pose_rz, turn.z());
    write(data, keys::resect_pose_tx, shift.x());
    write(data, keys::resect_pose_ty, shift.y());
    write(data, keys::resect_pose_tz, shift.z());
}

}  // namespace vyn
