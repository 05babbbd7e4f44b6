#include "python/in_situ.h"

#include <pybind11/stl.h>

#include "core/errors.h"
#include "python/arrays.h"
#include "python/binding.h"
#include "python/image.h"
#include "python/interruptible.h"
#include "python/texts.h"

namespace vyn::python {

InSituCalibration calibrated(const std::filesystem::path& ports,
                             const std::shared_ptr<const image>& ratio,
                             const InSituOptions& options) {
    InSituOutcome outcome = interruptibly(py::none(), [&](TaskContext&) {
        return calibrate_in_situ(ports.string(), ratio.get(), options);
    });
    if (!outcome.calibration)
        throw AlgoError("Can't calculate calibration!", outcome.warning + ": " + outcome.reason);
    return std::move(*outcome.calibration);
}

namespace {

/// What stands once for each port, as an array.
template <class Value>
py::array_t<double> by_port(const InSituCalibration& found, const Value& value) {
    const auto& points = found.samples.points;
    py::array_t<double> array(static_cast<py::ssize_t>(points.size()));
    auto at = array.mutable_unchecked<1>();
    for (std::size_t i = 0; i < points.size(); ++i)
        at(static_cast<py::ssize_t>(i)) = value(i);
    return array;
}

}  // namespace

void bind_in_situ(py::module_& module) {
    using Fit = InSituCalibration;
    py::class_<Fit>(module, "Calibration", "A law fitted to the pressures measured at ports.")
        .def_property_readonly(
            "paint", [](const Fit& found) { return found.paint; }, "The law as a paint's record.")
        .def_property_readonly(
            "coefficients", [](const Fit& found) { return found.fit.coefficients; },
            "Of the powers 0, 1, 2 of the ratio, in the unit of the ports.")
        .def_property_readonly(
            "deviation", [](const Fit& found) { return found.fit.deviation; },
            "Standard deviation of the residuals, in the unit of the ports.")
        .def_property_readonly(
            "numbers",
            [](const Fit& found) {
                std::vector<int> numbers;
                for (const CalibrationPoint& point : found.samples.points)
                    numbers.push_back(point.number);
                return numbers;
            },
            "Numbers of the ports.")
        .def_property_readonly(
            "ratios",
            [](const Fit& found) {
                return by_port(found, [&](std::size_t i) { return found.samples.points[i].ratio; });
            },
            "Mean ratio around each port, (ports,).")
        .def_property_readonly(
            "pressures",
            [](const Fit& found) {
                return by_port(found,
                               [&](std::size_t i) { return found.samples.points[i].pressure; });
            },
            "Measured pressure of each port, (ports,).")
        .def_property_readonly(
            "residuals",
            [](const Fit& found) {
                return by_port(found, [&](std::size_t i) { return found.fit.residuals[i]; });
            },
            "Law less measured pressure, (ports,).")
        .def_property_readonly(
            "left_out",
            [](const Fit& found) {
                py::list ports;
                for (const std::string& port : found.samples.left_out)
                    ports.append(text(port));
                return ports;
            },
            "Active ports without a point, and why.")
        .def("__repr__", [](const Fit& found) {
            return py::str("<vynlite.Calibration, {} ports, {} terms, deviation {:.3g} {}>")
                .format(found.samples.points.size(), found.fit.terms, found.fit.deviation,
                        text(found.paint.pressure_unit));
        });
    const InSituOptions usual;
    module.def(
        "fit_in_situ",
        [](const ImageHandle& ratio, const std::filesystem::path& ports, int terms, int side,
           const std::string& unit) {
            return calibrated(ports, ratio.picture,
                              {.terms = terms, .side = side, .pressure_unit = unit});
        },
        py::arg("ratio"), py::arg("ports"), py::kw_only(), py::arg("terms") = usual.terms,
        py::arg("side") = usual.side, py::arg("unit") = usual.pressure_unit,
        "Fits a law of 1 to 3 terms to the ports of a marker file, pixels of the ratio image with "
        "pressures in "
        "`unit` as function values, averaging the ratio in squares of `side` pixels. Raises "
        "AlgoError with the "
        "reason when there is no calibration. `Session.calibrate` fits constants of a known law, "
        "too.");
}

}  // namespace vyn::python
