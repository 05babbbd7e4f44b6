#include "python/texts.h"

#include <nlohmann/json.hpp>

#include "process/report/json_text.h"

namespace vyn::python {

namespace py = pybind11;

py::str text(std::string_view bytes) {
    PyObject* decoded = PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()),
                                             "surrogateescape");
    if (!decoded) throw py::error_already_set();
    return py::reinterpret_steal<py::str>(decoded);
}

py::object object_of(const nlohmann::json& value) {
    return py::module_::import("json").attr("loads")(text(json_text(value)));
}

}  // namespace vyn::python
