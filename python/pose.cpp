#include <limits>

#include <nlohmann/json.hpp>
#include <pybind11/eigen.h>
#include <pybind11/stl.h>

#include "core/errors.h"
#include "process/model/field_on_mesh.h"
#include "process/model/model_inputs.h"
#include "process/model/model_views.h"
#include "process/model/resect_json.h"
#include "python/arrays.h"
#include "python/binding.h"
#include "python/image.h"
#include "python/interruptible.h"
#include "python/model.h"
#include "python/settings.h"
#include "python/texts.h"

namespace vyn::python {

namespace {

cameraFeatures read_camera_file(const std::filesystem::path& path) {
    cameraFeatures camera;
    if (read_camera(path.string(), camera) != RecordOutcome::done)
        throw FileError("File error!",
                        path.string() + ": not a camera file, or one of an unknown version");
    return camera;
}

/// A camera that was found: its record with the pose and the intrinsics as adjusted.
struct FoundView {
    cameraFeatures record;
    ViewResult found;

    cameraFeatures camera() const {
        return with_intrinsics(record, found.camera_before, found.camera);
    }
};

/// Raw pixels of places on the model in mm.
py::array_t<double> pixels_of(const FoundView& view, const py::object& places) {
    constexpr double nowhere = std::numeric_limits<double>::quiet_NaN();
    const Table table = table_of(places, 3);
    const auto at = table.unchecked<2>();
    std::vector<Point> pixels;
    pixels.reserve(static_cast<std::size_t>(table.shape(0)));
    for (py::ssize_t i = 0; i < table.shape(0); ++i)
        pixels.push_back(
            raw_pixel(view.found.camera, view.found.pose.in_camera({at(i, 0), at(i, 1), at(i, 2)}))
                .value_or(Point{nowhere, nowhere}));
    return array_of(pixels);
}

py::array_t<double> residuals(const FoundView& view) {
    std::vector<Point> left;
    for (const MarkerResult& marker : view.found.markers)
        left.push_back({marker.dx, marker.dy});
    return array_of(left);
}

using CameraAndDots = std::pair<cameraFeatures, MarkerSet>;

py::tuple resect_views_of(const MarkerSet& markers, const std::vector<CameraAndDots>& cameras,
                          const py::object& settings, const py::object& progress) {
    if (cameras.empty()) throw py::value_error("a view is needed");
    simpleNamedDataSet data;
    apply_settings(data, settings);
    std::vector<ResectView> views;
    views.reserve(cameras.size());
    for (const auto& [camera, dots] : cameras)
        views.push_back({"view " + std::to_string(views.size() + 1), pinhole_of(camera),
                         dots.markers, stored_pose(data, camera.default_length_unit)});
    const ResectOptions options = resect_options(data, mm_per("mm"));
    const std::vector<Marker> places = markers.markers;  // another thread may change the set
    const ResectReport report = interruptibly(
        progress, [&](TaskContext& context) { return resect(places, views, options, context); });
    std::vector<FoundView> found;
    for (std::size_t i = 0; i < report.views.size(); ++i)
        found.push_back({cameras[i].first, report.views[i]});
    return py::make_tuple(found, object_of(resection_json(report)));
}

using FieldAndView = std::pair<ImageHandle, FoundView>;

MeshHandle project(const MeshHandle& handle, const std::vector<FieldAndView>& fields,
                   const py::object& settings, const py::object& progress) {
    if (fields.empty()) throw py::value_error("a view is needed");
    simpleNamedDataSet data;
    apply_settings(data, settings);
    std::vector<PointView> seen;
    seen.reserve(fields.size());
    for (const auto& [field, view] : fields)
        seen.push_back({.name = field.get().name, .field = field.picture, .record = view.record});
    std::vector<ProjectedView> views;
    for (std::size_t i = 0; i < seen.size(); ++i)
        views.push_back(projected(seen[i], fields[i].second.found));
    return interruptibly(progress, [&](TaskContext& context) {
        field_data<double> mesh = with_wanted_mirror(*handle.mesh, data);
        put_fields_on_mesh(mesh, mesh_unit_of(mesh, data), views, projection_options(data),
                           context);
        return MeshHandle{std::make_shared<const field_data<double>>(std::move(mesh))};
    });
}

void bind_camera(py::module_& module) {
    py::class_<cameraFeatures>(
        module, "Camera",
        "A camera's record; lengths in `length_unit`, the image centre in pixels.")
        .def(py::init<>())
        .def_static("read", &read_camera_file, py::arg("path"),
                    "Reads a camera file. Raises FileError.")
        .def(
            "write",
            [](const cameraFeatures& camera, const std::filesystem::path& path) {
                write_camera(path.string(), camera);
            },
            py::arg("path"), "Writes a camera file, in the place of an old one. Raises FileError.")
        .def_readwrite("name", &cameraFeatures::camera_name)
        .def_readwrite("length_unit", &cameraFeatures::default_length_unit)
        .def_readwrite("focus", &cameraFeatures::focus)
        .def_readwrite("dx", &cameraFeatures::dx, "Distance of sensor elements in a row.")
        .def_readwrite("dy", &cameraFeatures::dy, "And in a column.")
        .def_readwrite("ncx", &cameraFeatures::ncx, "Sensor elements in a row.")
        .def_readwrite("ncy", &cameraFeatures::ncy, "And in a column.")
        .def_readwrite("nfx", &cameraFeatures::nfx, "Pixels in a row of a picture.")
        .def_readwrite("nfy", &cameraFeatures::nfy, "And in a column.")
        .def_readwrite("cx", &cameraFeatures::cx)
        .def_readwrite("cy", &cameraFeatures::cy)
        .def_readwrite("a2", &cameraFeatures::a2, "1/px^2")
        .def_readwrite("a4", &cameraFeatures::a4, "1/px^4")
        .def_property_readonly(
            "lens", [](const cameraFeatures& camera) { return lens_of(camera); },
            "Its distortion, for `correct` and `Mapping`.")
        .def("__repr__", [](const cameraFeatures& camera) {
            return py::str("<vynlite.Camera '{}', {} x {}, focus {} {}>")
                .format(text(camera.camera_name), camera.nfx, camera.nfy, camera.focus,
                        text(camera.default_length_unit));
        });
}

void bind_view(py::module_& module) {
    py::class_<FoundView>(module, "View",
                          "A camera whose place was found. Camera frame: x right (columns), y down "
                          "(rows), z forward; "
                          "X_camera = rotation X_model + shift, in mm.")
        .def_property_readonly("camera", &FoundView::camera,
                               "The camera's record with the intrinsics as adjusted.")
        .def_property_readonly(
            "rotation", [](const FoundView& view) { return view.found.pose.rotation; }, "(3, 3)")
        .def_property_readonly(
            "shift", [](const FoundView& view) { return view.found.pose.shift; }, "(3,), mm")
        .def_property_readonly(
            "centre", [](const FoundView& view) { return view.found.pose.centre(); },
            "The camera's centre in the model frame, (3,), mm.")
        .def_property_readonly(
            "covariance", [](const FoundView& view) { return view.found.covariance; },
            "Of rotation vector (radians), shift (mm) and freed intrinsics.")
        .def_property_readonly(
            "rms", [](const FoundView& view) { return view.found.rms; },
            "Of the residuals, pixels.")
        .def_property_readonly("residuals", &residuals,
                               "Dot less projected marker of every pair, (pairs, 2), pixels.")
        .def("pixels", &pixels_of, py::arg("places"),
             "Raw pixels (count, 2) of places (count, 3) on the model in mm; NaN where the camera "
             "cannot see.")
        .def("__repr__", [](const FoundView& view) {
            return py::str("<vynlite.View, {} markers, rms {:.3g} px>")
                .format(view.found.used, view.found.rms);
        });
}

}  // namespace

void bind_pose(py::module_& module) {
    bind_camera(module);
    bind_view(module);
    module.def(
        "read_model_markers",
        [](const std::filesystem::path& path, const std::string& unit, const py::object& settings) {
            simpleNamedDataSet data;
            apply_settings(data, settings);
            MarkerSet set;
            set.markers = read_model_markers(path, data, unit);
            set.hasX = set.hasY = set.hasZ = true;
            return set;
        },
        py::arg("path"), py::kw_only(), py::arg("unit") = "mm", py::arg("settings") = py::none(),
        "Markers on the model from a file of three coordinates, in mm. Their unit is the "
        "setting's, else the "
        "file's, else `unit`. Raises FileError.");
    module.def("resect", &resect_views_of, py::arg("markers"), py::arg("views"), py::kw_only(),
               py::arg("settings") = py::none(), py::arg("progress") = py::none(),
               "Where cameras stood: (views, report) from markers on the model in mm and a list of "
               "(Camera, Markers), "
               "the dots in raw pixels of each camera's picture; several views are found together. "
               "`settings`: those "
               "below roject/processing/resection/. Raises AlgoError with the reason when there is "
               "no pose.");
    module.def("project", &project, py::arg("mesh"), py::arg("fields"), py::kw_only(),
               py::arg("settings") = py::none(), py::arg("progress") = py::none(),
               "The mesh with the values of fields at its nodes: a list of (Image without lens "
               "distortion, View); "
               "several are blended. `settings` likewise. Raises AlgoError for a field that is not "
               "of its camera's "
               "size and fields of different quantities.");
}

}  // namespace vyn::python
