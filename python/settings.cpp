#include "python/settings.h"

#include <filesystem>

#include "core/keys.h"
#include "python/texts.h"

namespace vyn::python {

namespace py = pybind11;

namespace {

std::string text_of(const py::handle& value) {
    if (py::isinstance<py::bool_>(value)) return value.cast<bool>() ? "1" : "0";
    if (py::hasattr(value, "__fspath__")) return value.cast<std::filesystem::path>().string();
    return py::str(value).cast<std::string>();
}

}  // namespace

std::vector<std::pair<std::string, any>> settings_of(const py::object& dictionary) {
    std::vector<std::pair<std::string, any>> settings;
    if (dictionary.is_none()) return settings;
    for (const auto& [key, value] : dictionary.cast<py::dict>()) {
        const auto path = key.cast<std::string>();
        settings.emplace_back(path, parse_setting(path, text_of(value)));
    }
    return settings;
}

void apply_settings(dataSetInterface& data, const py::object& dictionary) {
    for (auto& [path, value] : settings_of(dictionary))
        data.set_value(path, std::move(value), /*is_default=*/false);
}

py::object object_of(const any& value) {
    if (value.holds<int>()) return py::int_(value.get<int>());
    if (value.holds<double>()) return py::float_(value.get<double>());
    if (value.holds<std::string>()) return text(value.get<std::string>());
    return py::none();
}

}  // namespace vyn::python
