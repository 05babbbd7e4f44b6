#include <limits>

#include <nlohmann/json.hpp>
#include <pybind11/stl.h>

#include "align/correlation/correlation_images.h"
#include "align/marker_alignment.h"
#include "api/resample.h"
#include "core/errors.h"
#include "process/report/run_report_json.h"
#include "python/arrays.h"
#include "python/binding.h"
#include "python/image.h"
#include "python/interruptible.h"
#include "python/mapping.h"
#include "python/texts.h"

namespace vyn::python {

namespace {

py::array_t<double> mapped(const Mapping& mapping, const py::object& positions) {
    std::vector<Point> points = points_of(positions);
    for (Point& point : points)
        point = mapping.map.at(point);
    return array_of(points);
}

py::array_t<double> inverse_mapped(const Mapping& mapping, const py::object& positions) {
    constexpr double nowhere = std::numeric_limits<double>::quiet_NaN();
    std::vector<Point> points = points_of(positions);
    for (Point& point : points)
        point = mapping.map.inverse(point).value_or(Point{nowhere, nowhere});
    return array_of(points);
}

/// Markers that were paired, and the mapping through them.
struct Pairs {
    MarkerMatch match;

    py::array_t<double> places(Point MarkerPair::*of) const {
        std::vector<Point> points;
        for (const MarkerPair& pair : match.pairs)
            points.push_back(pair.*of);
        return array_of(points);
    }
};

Pairs pair_markers_of(const MarkerSet& reference, const MarkerSet& moved, int order, int box) {
    Pairs pairs{match_markers(reference, moved, {.order = order, .box = box, .by_geometry = true})};
    if (!pairs.match.ok) throw AlgoError("Pairing failed!", pairs.match.failure);
    return pairs;
}

ImageHandle align(const ImageHandle& handle, const Mapping& mapping,
                  const std::optional<std::pair<int, int>>& shape, const py::object& progress) {
    const auto source = handle.picture;
    const auto [rows, columns] = shape.value_or(std::pair(source->height(), source->width()));
    return interruptibly(progress, [&, height = rows, width = columns](TaskContext& context) {
        image aligned = resample(*source, width, height, mapping.map.rows(), context);
        aligned.markers = {};  // those of the source lie elsewhere
        return ImageHandle(std::move(aligned));
    });
}

/// A displacement that was measured on the pixels of `off`.
struct Correlation {
    std::shared_ptr<const image> off;
    std::shared_ptr<const CorrelationResult> result;

    Mapping mapping() const {
        // The field lives in the result.
        return {ImageMap().then(std::shared_ptr<const DisplacementField>(result, &result->field))};
    }
};

Correlation correlate(const ImageHandle& off_handle, const ImageHandle& on_handle, int iterations,
                      int step, int cell, bool global_shift, std::optional<float> level,
                      const std::optional<Mapping>& start, const py::object& progress) {
    CorrelationOptions options{.iterations = iterations,
                               .step = step,
                               .cell = cell,
                               .global = global_shift ? GlobalPass::yes : GlobalPass::no};
    if (level) options.level = *level;
    const auto off = off_handle.picture;
    const auto on = on_handle.picture;
    StartMapping from;
    if (start) from = [&map = start->map](Point at) { return map.at(at); };
    auto result = interruptibly(progress, [&](TaskContext& context) {
        return std::make_shared<const CorrelationResult>(
            align_by_correlation(*off, *on, options, from, context));
    });
    if (!result->failure.empty()) throw AlgoError("Aligning Images FAILED!", result->failure);
    return {off, result};
}

py::object report(const Correlation& found) {
    return object_of(to_json(CorrelationReport{.statistics = found.result->statistics,
                                               .left_after_markers = std::nullopt,
                                               .failure = {}}));
}

void bind_mapping(py::module_& module) {
    py::class_<Mapping>(module, "Mapping",
                        "Where each pixel of an output picture is seen in a source picture: "
                        "polynomials, displacements and "
                        "lenses, gone through one after the other.")
        .def(py::init([](const std::optional<Distortion>& lens) {
                 return lens ? Mapping{ImageMap().then(*lens)} : Mapping{};
             }),
             py::arg("lens") = py::none(),
             "The identity, or from the picture without distortion to what the camera saw.")
        .def("__call__", &mapped, py::arg("positions"),
             "Positions (count, 2) in the source of positions (count, 2) in the output, pixels.")
        .def("inverse", &inverse_mapped, py::arg("positions"),
             "The other way; NaN where that leads nowhere.")
        .def(
            "then",
            [](const Mapping& first, const Mapping& next) {
                return Mapping{ImageMap(first.map).then(next.map)};
            },
            py::arg("next"), "This mapping and then the next on the way to the source.");
}

void bind_pairs(py::module_& module) {
    py::class_<Pairs>(module, "Pairs", "Markers found in two images, and the mapping through them.")
        .def_property_readonly(
            "mapping",
            [](const Pairs& pairs) {
                return Mapping{ImageMap().then(pairs.match.moved_from_reference)};
            },
            "From pixels of the reference to pixels of the moved image.")
        .def_property_readonly(
            "reference", [](const Pairs& pairs) { return pairs.places(&MarkerPair::reference); },
            "Positions (count, 2) in the reference.")
        .def_property_readonly(
            "moved", [](const Pairs& pairs) { return pairs.places(&MarkerPair::moved); },
            "Positions (count, 2) in the moved image.")
        .def_property_readonly(
            "residuals", [](const Pairs& pairs) { return array_of(pairs.match.residuals); },
            "Moved less mapped reference, (count, 2), pixels.")
        .def_property_readonly(
            "rms", [](const Pairs& pairs) { return pairs.match.mean_square_error; },
            "Root mean square length of the residuals, pixels.")
        .def_property_readonly(
            "largest", [](const Pairs& pairs) { return pairs.match.max_absolute_error; },
            "Length of the largest residual, pixels.")
        .def_property_readonly(
            "poor", [](const Pairs& pairs) { return pairs.match.poor; },
            "True when the mapping is not to be trusted.")
        .def_property_readonly(
            "notes",
            [](const Pairs& pairs) {
                py::list notes;
                for (const std::string& note : pairs.match.notes)
                    notes.append(text(note));
                return notes;
            },
            "Warnings, one sentence each.")
        .def("__len__", [](const Pairs& pairs) { return pairs.match.pairs.size(); })
        .def("__repr__", [](const Pairs& pairs) {
            return py::str("<vynlite.Pairs, {}, rms {:.3g} px>")
                .format(pairs.match.pairs.size(), pairs.match.mean_square_error);
        });
}

void bind_correlation(py::module_& module) {
    py::class_<Correlation>(module, "Correlation",
                            "A displacement measured by the texture of the paint.")
        .def_property_readonly("mapping", &Correlation::mapping,
                               "From pixels of the wind-off to pixels of the wind-on picture.")
        .def_property_readonly(
            "displacement",
            [](const Correlation& found) {
                Progress progress;
                return ImageHandle(
                    displacement_image(*found.result, *found.off, ImageMap(), progress));
            },
            "Its length on the wind-off picture's pixels as an Image, which carries the nodes' (u, "
            "v, step).")
        .def_property_readonly(
            "sigma",
            [](const Correlation& found) {
                Progress progress;
                return ImageHandle(displacement_sigma_image(*found.result, *found.off, progress));
            },
            "Its standard deviation likewise, pixels.")
        .def_property_readonly("report", &report, "What was found, as a dictionary.");
}

}  // namespace

void bind_align(py::module_& module) {
    bind_mapping(module);
    bind_pairs(module);
    bind_correlation(module);
    const MarkerMatchOptions usual;
    module.def("pair_markers", &pair_markers_of, py::arg("reference"), py::arg("moved"),
               py::kw_only(), py::arg("order") = usual.order, py::arg("box") = usual.box,
               "Pairs the markers of two images by their places and fits a mapping of `order` 0 to "
               "3. `box`: "
               "half the side of the search window, pixels. Raises AlgoError with the reason when "
               "there is none.");
    module.def("align", &align, py::arg("image"), py::arg("mapping"), py::kw_only(),
               py::arg("shape") = py::none(), py::arg("progress") = py::none(),
               "The image sampled once, with B-splines of its degree, where the mapping sees the "
               "pixels of an "
               "output of `shape` (rows, columns), by default its own. It has no "
               "markers: assign those of the frame.");
    const CorrelationOptions cells;
    module.def("correlate", &correlate, py::arg("off"), py::arg("on"), py::kw_only(),
               py::arg("iterations") = cells.iterations, py::arg("step") = cells.step,
               py::arg("cell") = cells.cell, py::arg("global_shift") = false,
               py::arg("level") = py::none(), py::arg("start") = py::none(),
               py::arg("progress") = py::none(),
               "Aligns two pictures of one textured model by the correlation of cells of `cell` "
               "pixels at nodes "
               "`step` pixels apart. `global_shift`: look for one shift of the whole picture "
               "first; `level`: pixels "
               "below are left out; `start`: a Mapping to start from. Raises AlgoError when the "
               "pictures show nothing "
               "to go by, SizeError when their sizes differ.");
}

}  // namespace vyn::python
