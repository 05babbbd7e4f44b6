#include "python/dots.h"

#include <pybind11/stl.h>

#include "align/dots/extreme_search.h"
#include "python/binding.h"
#include "python/choices.h"
#include "python/image.h"
#include "python/interruptible.h"

namespace vyn::python {

namespace {

DotPolarity polarity_named(const std::string& name) {
    constexpr Choices<DotPolarity, 2> polarities{
        {{"dark", DotPolarity::dark}, {"bright", DotPolarity::bright}}};
    return chosen(polarities, name, "polarity");
}

MarkerSet find(const ImageHandle& handle, const std::string& polarity, double min_size,
               double max_size, int expect, std::optional<double> cut, const py::object& progress) {
    const DetectionOptions options = detection_options(polarity, min_size, max_size, expect, cut);
    const auto picture = handle.picture;
    return interruptibly(
        progress, [&](TaskContext& context) { return find_markers(*picture, options, context); });
}

py::tuple refine(const ImageHandle& handle, const MarkerSet& markers, int size,
                 const std::string& method, const std::string& polarity,
                 const py::object& progress) {
    constexpr Choices<MarkerRefinement, 2> methods{
        {{"surface", MarkerRefinement::surface}, {"dot", MarkerRefinement::dot}}};
    const MarkerRefinement refinement = chosen(methods, method, "method");
    const DotPolarity dots = polarity_named(polarity);
    const auto picture = handle.picture;
    MarkerSet refined = markers;
    const std::vector<std::int32_t> stayed = interruptibly(progress, [&](TaskContext& context) {
        return refine_markers(*picture, refined, size, dots, refinement, context);
    });
    return py::make_tuple(refined, stayed);
}

}  // namespace

DetectionOptions detection_options(const std::string& polarity, double min_size, double max_size,
                                   int expect, std::optional<double> cut) {
    return {.polarity = polarity_named(polarity),
            .min_size = min_size,
            .max_size = max_size,
            .expect = expect,
            .cut = cut};
}

void bind_dots(py::module_& module) {
    const DetectionOptions usual;
    module.def("find_markers", &find, py::arg("image"), py::kw_only(), py::arg("polarity") = "dark",
               py::arg("min_size") = usual.min_size, py::arg("max_size") = usual.max_size,
               py::arg("expect") = usual.expect, py::arg("cut") = py::none(),
               py::arg("progress") = py::none(),
               "The round dots of an image, 'dark' or 'bright', with diameters from `min_size` to "
               "`max_size` "
               "pixels, numbered from 1 in reading order. `expect`: so many of the best at most, "
               "0: all that are "
               "sure; `cut`: least quality, 0 to 1. Raises AlgoError for options out of range.");
    module.def("refine_markers", &refine, py::arg("image"), py::arg("markers"), py::kw_only(),
               py::arg("size") = 9, py::arg("method") = "surface", py::arg("polarity") = "dark",
               py::arg("progress") = py::none(),
               "Moves the active markers to the middle of their dots inside a box of `size` "
               "pixels: (markers, "
               "numbers of those that stayed where they were). Method 'surface': extremum of a "
               "quadratic surface; "
               "'dot': fit of a round dot, for a box about twice as wide as the dots.");
}

}  // namespace vyn::python
