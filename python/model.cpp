#include "python/model.h"

#include <pybind11/stl.h>

#include "api/image_io.h"
#include "python/arrays.h"
#include "python/binding.h"
#include "python/interruptible.h"
#include "python/texts.h"

namespace vyn::python {

namespace {

using Mesh = field_data<double>;

MeshHandle read_mesh(const std::filesystem::path& path, const std::string& variant,
                     const py::object& progress) {
    return interruptibly(progress, [&](TaskContext& context) {
        return MeshHandle{std::make_shared<const Mesh>(read_field(path, context, {variant}))};
    });
}

void write_mesh(const MeshHandle& handle, const std::filesystem::path& path,
                const py::object& progress) {
    const auto mesh = handle.mesh;
    run_interruptibly(progress, [&](TaskContext& context) { write_field(*mesh, path, context); });
}

template <class T>
py::array triples(const std::vector<std::array<T, 3>>& rows, std::shared_ptr<const Mesh> owner) {
    return constant_view(py::dtype::of<T>(), {static_cast<py::ssize_t>(rows.size()), 3},
                         {static_cast<py::ssize_t>(sizeof(rows[0])), sizeof(T)}, rows.data(),
                         std::move(owner));
}

const Mesh::Quantity& quantity(const MeshHandle& handle, const std::string& name) {
    if (const Mesh::Quantity* found = handle.mesh->find(name)) return *found;
    throw py::key_error(name);
}

std::vector<py::str> names(const MeshHandle& handle) {
    std::vector<py::str> known;
    for (const Mesh::Quantity& values : handle.mesh->quantities)
        known.push_back(text(values.name));
    return known;
}

}  // namespace

void bind_model(py::module_& module) {
    py::class_<MeshHandle>(
        module, "Mesh",
        "The model's surface as triangles, with values by name. Arrays are seen without a copy and "
        "not to be written to.")
        .def_static("read", &read_mesh, py::arg("path"), py::kw_only(), py::arg("variant") = "",
                    py::arg("progress") = py::none(),
                    "Reads a mesh, with values where the file has them, by its content. `variant`: "
                    "for a file that "
                    "can be read in several ways, in the words of the refusal. Raises FileError.")
        .def("write", &write_mesh, py::arg("path"), py::kw_only(), py::arg("progress") = py::none(),
             "Writes mesh and values in the format that the extension names, in the place of an "
             "old file. Raises "
             "FileError.")
        .def_property_readonly(
            "vertices",
            [](const MeshHandle& handle) { return triples(handle.mesh->vertices, handle.mesh); },
            "(count, 3), in `unit`, in the model's frame.")
        .def_property_readonly(
            "triangles",
            [](const MeshHandle& handle) { return triples(handle.mesh->triangles, handle.mesh); },
            "(count, 3), numbers of vertices from 0.")
        .def_property_readonly(
            "unit", [](const MeshHandle& handle) { return text(handle.mesh->unit); },
            "Of lengths: 'mm', 'sm', 'dm', 'm', 'km'; '' where the file does not say.")
        .def_property_readonly(
            "zones",
            [](const MeshHandle& handle) {
                py::list zones;
                for (const Mesh::Zone& zone : handle.mesh->zones)
                    zones.append(text(zone.name));
                return zones;
            },
            "Names of its parts.")
        .def("keys", &names, "Names of the values.")
        .def(
            "unit_of",
            [](const MeshHandle& handle, const std::string& name) {
                return text(quantity(handle, name).unit);
            },
            py::arg("name"), "Unit of values. Raises KeyError.")
        .def(
            "__getitem__",
            [](const MeshHandle& handle, const std::string& name) {
                const std::vector<double>& values = quantity(handle, name).values;
                return constant_view(py::dtype::of<double>(),
                                     {static_cast<py::ssize_t>(values.size())}, {sizeof(double)},
                                     values.data(), handle.mesh);
            },
            py::arg("name"),
            "Values by name, one a vertex (or cell); NaN where nothing was seen. Raises KeyError.")
        .def(
            "__contains__",
            [](const MeshHandle& handle, const std::string& name) {
                return handle.mesh->find(name) != nullptr;
            },
            py::arg("name"))
        .def("__repr__", [](const MeshHandle& handle) {
            return py::str("<vynlite.Mesh, {} vertices, {} triangles, {}>")
                .format(handle.mesh->vertices.size(), handle.mesh->triangles.size(), names(handle));
        });
}

}  // namespace vyn::python
