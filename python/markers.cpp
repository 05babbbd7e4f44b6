#include "python/markers.h"

#include <algorithm>

#include <pybind11/stl.h>

#include "process/point/marker_io.h"
#include "python/arrays.h"
#include "python/binding.h"
#include "python/texts.h"

namespace vyn::python {

MarkerSet set_of(std::vector<Marker> markers) {
    MarkerSet set;
    set.hasX = set.hasY = true;
    set.hasZ = std::ranges::any_of(markers, [](const Marker& marker) { return marker.z != 0; });
    set.hasF = std::ranges::any_of(markers, [](const Marker& marker) { return marker.f != 0; });
    set.markers = std::move(markers);
    return set;
}

namespace {

std::size_t index_in(const MarkerSet& set, py::ssize_t index) {
    const auto count = static_cast<py::ssize_t>(set.markers.size());
    if (index < 0) index += count;
    if (index < 0 || index >= count) throw py::index_error("marker index out of range");
    return static_cast<std::size_t>(index);
}

py::array_t<double> positions(const MarkerSet& set) {
    const py::ssize_t columns = set.hasZ ? 3 : 2;
    py::array_t<double> array({static_cast<py::ssize_t>(set.markers.size()), columns});
    auto at = array.mutable_unchecked<2>();
    for (py::ssize_t i = 0; i < at.shape(0); ++i) {
        const Marker& marker = set.markers[static_cast<std::size_t>(i)];
        at(i, 0) = marker.x;
        at(i, 1) = marker.y;
        if (set.hasZ) at(i, 2) = marker.z;
    }
    return array;
}

/// Numbered from 1.
MarkerSet from_positions(const py::object& array) {
    const py::array shape = py::array::ensure(array);
    if (!shape) throw py::error_already_set();
    const bool on_model = shape.ndim() == 2 && shape.shape(1) == 3;
    const Table table = table_of(shape, on_model ? 3 : 2);
    const auto at = table.unchecked<2>();
    std::vector<Marker> markers;
    for (py::ssize_t i = 0; i < table.shape(0); ++i)
        markers.push_back({.x = at(i, 0),
                           .y = at(i, 1),
                           .z = on_model ? at(i, 2) : 0,
                           .id = static_cast<std::int32_t>(i + 1)});
    MarkerSet set = set_of(std::move(markers));
    set.hasZ = on_model;
    return set;
}

std::string describe(const Marker& marker) {
    const auto number = [](double value) { return std::string(py::str(py::float_(value))); };
    return "Marker(id=" + std::to_string(marker.id) + ", x=" + number(marker.x) +
           ", y=" + number(marker.y) + (marker.z != 0 ? ", z=" + number(marker.z) : "") +
           (marker.f != 0 ? ", f=" + number(marker.f) : "") +
           (marker.active ? ")" : ", active=False)");
}

void bind_marker(py::module_& module) {
    py::class_<Marker>(
        module, "Marker",
        "A registration marker or pressure port: on an image x is the column and y the row in "
        "pixels; on a model x, y, z are lengths. f is its function, such as the pressure at a "
        "port. A value: to change a marker put another one in its place.")
        .def(py::init([](double x, double y, double z, double f, bool active, std::int32_t id) {
                 return Marker{x, y, z, f, active, id};
             }),
             py::arg("x"), py::arg("y"), py::arg("z") = 0.0, py::kw_only(), py::arg("f") = 0.0,
             py::arg("active") = true, py::arg("id") = 0)
        .def_readonly("x", &Marker::x)
        .def_readonly("y", &Marker::y)
        .def_readonly("z", &Marker::z)
        .def_readonly("f", &Marker::f, "Function value, such as a pressure; 0 where absent.")
        .def_readonly("active", &Marker::active, "Whether it takes part in processing.")
        .def_readonly("id", &Marker::id, "Number, from 1 by default.")
        .def(
            "__eq__", [](const Marker& a, const Marker& b) { return a == b; }, py::is_operator(),
            py::arg("other"))
        .def("__repr__", &describe);
}

}  // namespace

void bind_markers(py::module_& module) {
    bind_marker(module);
    py::class_<MarkerSet>(module, "Markers", "Markers in their order: a sequence of Marker.")
        .def(py::init(&set_of), py::arg("markers") = std::vector<Marker>())
        .def_static(
            "from_positions", &from_positions, py::arg("positions"),
            "Of an array of shape (count, 2), pixels, or (count, 3), on a model; numbered from 1.")
        .def_static(
            "read",
            [](const std::filesystem::path& path, int height) {
                return read_marker_file(path, height);
            },
            py::arg("path"), py::arg("height") = 0,
            "Reads a file mrk, mpt, inm or apm in its own frame. `height` (pixels) of the image "
            "turns the rows "
            "of inm, which count from the bottom. Raises FileError.")
        .def(
            "write",
            [](const MarkerSet& set, const std::filesystem::path& path) {
                write_marker_file(path, set);
            },
            py::arg("path"),
            "Writes mrk or mpt by the extension, in the place of an old file; values keep six "
            "significant "
            "digits. Raises FileError.")
        .def_property_readonly("positions", &positions,
                               "A new array of shape (count, 2), x and y, or (count, 3) with z.")
        .def_property_readonly(
            "ids",
            [](const MarkerSet& set) {
                std::vector<std::int32_t> ids;
                for (const Marker& marker : set.markers)
                    ids.push_back(marker.id);
                return ids;
            },
            "Their numbers.")
        .def_property_readonly(
            "left_out", [](const MarkerSet& set) { return text(set.left_out); },
            "What of the file could not be read; '' when all was.")
        .def(
            "append",
            [](MarkerSet& set, const Marker& marker) {
                set.markers.push_back(marker);
                set.hasZ = set.hasZ || marker.z != 0;
                set.hasF = set.hasF || marker.f != 0;
            },
            py::arg("marker"))
        .def("__len__", [](const MarkerSet& set) { return set.markers.size(); })
        .def(
            "__getitem__",
            [](const MarkerSet& set, py::ssize_t index) {
                return set.markers[index_in(set, index)];
            },
            py::arg("index"))
        .def(
            "__setitem__",
            [](MarkerSet& set, py::ssize_t index, const Marker& marker) {
                set.markers[index_in(set, index)] = marker;
                set.hasZ = set.hasZ || marker.z != 0;
                set.hasF = set.hasF || marker.f != 0;
            },
            py::arg("index"), py::arg("marker"))
        .def(
            "__delitem__",
            [](MarkerSet& set, py::ssize_t index) {
                set.markers.erase(set.markers.begin() +
                                  static_cast<std::ptrdiff_t>(index_in(set, index)));
            },
            py::arg("index"))
        .def(
            "__eq__", [](const MarkerSet& a, const MarkerSet& b) { return a.markers == b.markers; },
            py::is_operator(), py::arg("other"))
        .def("__repr__", [](const MarkerSet& set) {
            return "<vynlite.Markers, " + std::to_string(set.markers.size()) + ">";
        });
}

}  // namespace vyn::python
