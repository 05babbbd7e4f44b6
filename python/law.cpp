#include <cmath>
#include <limits>

#include <pybind11/stl.h>

#include "calib/law_inverse.h"
#include "calib/paint_law.h"
#include "process/steps/field_quantity.h"
#include "python/arrays.h"
#include "python/binding.h"
#include "python/choices.h"
#include "python/image.h"
#include "python/interruptible.h"
#include "python/texts.h"

namespace vyn::python {

namespace {

py::array_t<double> coefficients(const paintFeatures& paint) {
    py::array_t<double> array({3, 3});
    auto at = array.mutable_unchecked<2>();
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            at(static_cast<py::ssize_t>(i), static_cast<py::ssize_t>(j)) = paint.gamma[i][j];
    return array;
}

/// A covariance belongs to its coefficients and goes with them.
void set_coefficients(paintFeatures& paint, const py::object& array) {
    const Table table = table_of(array, 3);
    if (table.shape(0) != 3) throw py::value_error("expected an array of shape (3, 3)");
    const auto at = table.unchecked<2>();
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            paint.gamma[i][j] = at(static_cast<py::ssize_t>(i), static_cast<py::ssize_t>(j));
    paint.covariance.reset();
}

void bind_paint(py::module_& module) {
    py::class_<paintFeatures>(
        module, "Paint",
        "Calibration of a paint: the pressure is the sum of gamma[i, j] R^i T^j, R the intensity "
        "ratio and T the temperature, in the paint's units.")
        .def(py::init<>())
        .def_static(
            "read",
            [](const std::filesystem::path& path) { return load_paint_calibration(path.string()); },
            py::arg("path"), "Reads a calibration file (.clb). Raises FileError.")
        .def(
            "write",
            [](const paintFeatures& paint, const std::filesystem::path& path) {
                write_paint_calibration(path.string(), paint);
            },
            py::arg("path"),
            "Writes a calibration file, in the place of an old one. Raises FileError.")
        .def_property(
            "gamma", &coefficients, &set_coefficients,
            "The nine coefficients, (3, 3): row = power of the ratio, column = power of the "
            "temperature. A copy; assigning others drops the covariance.")
        .def_readonly("covariance", &paintFeatures::covariance,
                      "Of the nine coefficients, 9 lists of 9, in the order gamma[0, 0], gamma[0, "
                      "1], ...; None "
                      "where nobody knows it.")
        .def_readwrite("pressure_unit", &paintFeatures::pressure_unit)
        .def_readwrite("temperature_unit", &paintFeatures::temperature_unit)
        .def("law", &law_at, py::arg("temperature"),
             "The law at a temperature, in the paint's units.")
        .def("__repr__", [](const paintFeatures& paint) {
            return py::str("<vynlite.Paint, {}, {}>")
                .format(text(paint.pressure_unit), text(paint.temperature_unit));
        });
}

void bind_paint_law(py::module_& module) {
    py::class_<PaintLaw>(module, "PaintLaw",
                         "P = a + b R + c R^2 at one temperature, in the paint's pressure unit.")
        .def(py::init([](double a, double b, double c) {
                 return PaintLaw{a, b, c};
             }),
             py::arg("a"), py::arg("b"), py::arg("c") = 0.0)
        .def_readonly("a", &PaintLaw::a)
        .def_readonly("b", &PaintLaw::b)
        .def_readonly("c", &PaintLaw::c)
        .def("pressure",
             py::vectorize([](PaintLaw law, double ratio) { return pressure_of(law, ratio); }),
             py::arg("ratio"),
             "Pressures at ratios, which the wind-off ratio has scaled; any shape.")
        .def("ratio", py::vectorize([](PaintLaw law, double pressure) {
                 return ratio_of(law, pressure).value_or(std::numeric_limits<double>::quiet_NaN());
             }),
             py::arg("pressure"),
             "The inverse: of two ratios the larger one; NaN where the law never gives the "
             "pressure.")
        .def("__repr__", [](const PaintLaw& law) {
            return py::str("PaintLaw(a={}, b={}, c={})").format(law.a, law.b, law.c);
        });
}

void bind_conditions(py::module_& module) {
    py::class_<flowFeatures>(
        module, "Conditions",
        "Test conditions: pressures in `p_unit`, temperatures in `t_unit`. Names of units are "
        "compared exactly; other names than those of the tables convert with factor 1, so that "
        "'Pa' and 'C' give a law in pascal and Celsius its numbers as they stand.")
        .def(py::init([](double static_p, double dynamic_p, double wind_off_p, double wind_off_t,
                         double wind_on_t, const std::string& p_unit, const std::string& t_unit) {
                 return flowFeatures{.static_p = static_p,
                                     .dynamic_p = dynamic_p,
                                     .wind_off_p = wind_off_p,
                                     .wind_off_t = wind_off_t,
                                     .wind_on_t = wind_on_t,
                                     .p_unit = p_unit,
                                     .t_unit = t_unit};
             }),
             py::kw_only(), py::arg("static_p") = 0.0, py::arg("dynamic_p") = 0.0,
             py::arg("wind_off_p") = 0.0, py::arg("wind_off_t") = 0.0, py::arg("wind_on_t") = 0.0,
             py::arg("p_unit") = "Pa", py::arg("t_unit") = "C")
        .def_readwrite("static_p", &flowFeatures::static_p)
        .def_readwrite("dynamic_p", &flowFeatures::dynamic_p)
        .def_readwrite("wind_off_p", &flowFeatures::wind_off_p)
        .def_readwrite("wind_off_t", &flowFeatures::wind_off_t)
        .def_readwrite("wind_on_t", &flowFeatures::wind_on_t)
        .def_readwrite("p_unit", &flowFeatures::p_unit)
        .def_readwrite("t_unit", &flowFeatures::t_unit)
        .def("__repr__", [](const flowFeatures& flow) {
            return py::str(
                       "Conditions(static_p={}, dynamic_p={}, wind_off_p={}, wind_off_t={}, "
                       "wind_on_t={}, "
                       "p_unit={!r}, t_unit={!r})")
                .format(flow.static_p, flow.dynamic_p, flow.wind_off_p, flow.wind_off_t,
                        flow.wind_on_t, text(flow.p_unit), text(flow.t_unit));
        });
}

PreparedConversion conversion_of(const paintFeatures& paint, const flowFeatures& conditions,
                                 const std::string& quantity, const std::string& wind_off_ratio) {
    constexpr Choices<FieldQuantity, 3> quantities{{{"pressure", FieldQuantity::pressure},
                                                    {"p_over_static", FieldQuantity::p_over_static},
                                                    {"cp", FieldQuantity::cp}}};
    constexpr Choices<WindOffRule, 2> rules{
        {{"law", WindOffRule::law}, {"unity", WindOffRule::unity}}};
    return prepare_conversion(chosen(quantities, quantity, "quantity"), paint, conditions,
                              chosen(rules, wind_off_ratio, "wind_off_ratio"));
}

ImageHandle field_of(const PreparedConversion& prepared, const ImageHandle& ratio,
                     const std::optional<std::pair<float, float>>& limits,
                     const py::object& progress) {
    FieldConversion conversion = prepared.conversion;
    if (limits) {
        conversion.limit = true;
        std::tie(conversion.lower, conversion.upper) = *limits;
    }
    const auto picture = ratio.picture;
    return interruptibly(progress, [&](TaskContext& context) {
        return ImageHandle(convert_field(*picture, conversion, context));
    });
}

void bind_conversion(py::module_& module) {
    py::class_<PreparedConversion>(
        module, "Conversion",
        "From ratios to a field: a paint's law at the conditions of a test point.")
        .def(py::init(&conversion_of), py::arg("paint"), py::arg("conditions"), py::kw_only(),
             py::arg("quantity") = "pressure", py::arg("wind_off_ratio") = "law",
             "`quantity`: 'pressure', 'p_over_static' or 'cp'; `wind_off_ratio`: taken from the "
             "law at wind-off "
             "conditions ('law') or 1 ('unity').")
        .def_property_readonly(
            "law", [](const PreparedConversion& prepared) { return prepared.conversion.law; },
            "The law at the wind-on temperature.")
        .def_property_readonly(
            "wind_off_ratio",
            [](const PreparedConversion& prepared) { return prepared.conversion.wind_off_ratio; },
            "The law's ratio at wind-off conditions, by which it scales the ratios.")
        .def_property_readonly(
            "message",
            [](const PreparedConversion& prepared) {
                return std::string(prepared.message ? prepared.message : "");
            },
            "What is wrong with the coefficients; '' when nothing is.")
        .def("field", &field_of, py::arg("ratio"), py::kw_only(), py::arg("limits") = py::none(),
             py::arg("progress") = py::none(),
             "The field of a ratio image. With `limits` pixels below the first are excluded and "
             "those above the "
             "second become it.");
}

}  // namespace

void bind_law(py::module_& module) {
    bind_paint_law(module);
    bind_paint(module);
    bind_conditions(module);
    bind_conversion(module);
}

}  // namespace vyn::python
