#include <pybind11/stl.h>

#include "api/correction.h"
#include "api/field_conversion.h"
#include "api/filters.h"
#include "api/frame_average.h"
#include "python/binding.h"
#include "python/choices.h"
#include "python/image.h"
#include "python/interruptible.h"

namespace vyn::python {

namespace {

using OptionalImage = std::optional<ImageHandle>;
using OptionalLimits = std::optional<std::pair<float, float>>;

/// As the step of the chain does it: what is outside of a region stays told after the division.
ImageHandle correct(const ImageHandle& handle, float dark_level, const OptionalImage& dark,
                    const OptionalImage& flat, const std::optional<Distortion>& lens,
                    const py::object& progress) {
    const auto source = handle.picture;
    const auto dark_picture = picture_of(dark);
    const auto flat_picture = picture_of(flat);
    return interruptibly(progress, [&](TaskContext& context) {
        image corrected =
            correct_intensity(*source, dark_level, dark_picture.get(), flat_picture.get(), context);
        if (source->has_region()) corrected.share_region(*source);
        return ImageHandle(lens ? undistort(corrected, *lens, context) : std::move(corrected));
    });
}

RatioLimits limits_of(const OptionalLimits& limits) {
    if (!limits) return {};
    return {.clamp = true, .lower = limits->first, .upper = limits->second};
}

ImageHandle ratio(const ImageHandle& wind_off, const ImageHandle& wind_on,
                  const OptionalLimits& limits, const py::object& progress) {
    const auto off = wind_off.picture;
    const auto on = wind_on.picture;
    return interruptibly(progress, [&](TaskContext& context) {
        return ImageHandle(form_ratio(*off, *on, limits_of(limits), context));
    });
}

ImageHandle ratio_of_ratios(const ImageHandle& signal_off, const ImageHandle& signal_on,
                            const ImageHandle& reference_off, const ImageHandle& reference_on,
                            const OptionalLimits& limits, const py::object& progress) {
    const auto signal = std::pair(signal_off.picture, signal_on.picture);
    const auto reference = std::pair(reference_off.picture, reference_on.picture);
    return interruptibly(progress, [&](TaskContext& context) {
        return ImageHandle(form_ratio_of_ratios(
            {*signal.first, *signal.second, *reference.first, *reference.second}, limits_of(limits),
            context));
    });
}

ImageHandle average_of(const std::vector<ImageHandle>& handles, const std::string& method,
                       double clip, const py::object& progress) {
    constexpr Choices<AverageMethod, 3> methods{{{"mean", AverageMethod::mean},
                                                 {"median", AverageMethod::median},
                                                 {"clipped", AverageMethod::clipped_mean}}};
    const AverageOptions options{.method = chosen(methods, method, "method"), .clip = clip};
    std::vector<image> frames;
    frames.reserve(handles.size());
    for (const ImageHandle& handle : handles)
        frames.push_back(handle.get());
    return interruptibly(progress, [&](TaskContext& context) {
        return ImageHandle(average(frames, options, context));
    });
}

ImageHandle filter(const ImageHandle& handle, int type, int dx, int dy, double min, double max,
                   int fill, int range, int iterations, bool holes_only,
                   const py::object& progress) {
    const FilterOptions options{.type = filter_type(type),
                                .dx = dx,
                                .dy = dy,
                                .min = min,
                                .max = max,
                                .fill_percent = fill,
                                .range_percent = range,
                                .iterations = iterations,
                                .target = holes_only ? FilterTarget::holes : FilterTarget::all};
    const auto source = handle.picture;
    return interruptibly(progress, [&](TaskContext& context) {
        return ImageHandle(filtered(*source, options, context));
    });
}

void bind_lens(py::module_& module) {
    py::class_<Distortion>(module, "Lens",
                           "Radial distortion in pixels: U = D / (1 + a2 r^2 + a4 r^4), U the "
                           "ideal and D the camera's "
                           "offset from the image centre (cx, cy), r the length of D.")
        .def(py::init([](double cx, double cy, double a2, double a4) {
                 return Distortion{cx, cy, a2, a4};
             }),
             py::arg("cx"), py::arg("cy"), py::arg("a2") = 0.0, py::arg("a4") = 0.0)
        .def_readonly("cx", &Distortion::cx)
        .def_readonly("cy", &Distortion::cy)
        .def_readonly("a2", &Distortion::a2, "1/px^2")
        .def_readonly("a4", &Distortion::a4, "1/px^4")
        .def("__repr__", [](const Distortion& lens) {
            return py::str("Lens(cx={}, cy={}, a2={}, a4={})")
                .format(lens.cx, lens.cy, lens.a2, lens.a4);
        });
}

}  // namespace

void bind_pixels(py::module_& module) {
    bind_lens(module);
    module.def("average", &average_of, py::arg("images"), py::kw_only(), py::arg("method") = "mean",
               py::arg("clip") = 3.0, py::arg("progress") = py::none(),
               "One picture of several of the same size, pixel by pixel over the frames where it "
               "is valid: 'mean', "
               "'median', or 'clipped', the mean without values farther than `clip` standard "
               "deviations from the median. "
               "Raises AlgoError for no images, SizeError when the sizes differ.");
    module.def("correct", &correct, py::arg("image"), py::kw_only(), py::arg("dark_level") = 0.0F,
               py::arg("dark") = py::none(), py::arg("flat") = py::none(),
               py::arg("lens") = py::none(), py::arg("progress") = py::none(),
               "A camera picture without its dark level, dark picture, flat field and lens "
               "distortion. Pixels "
               "below `dark_level` (above 0) and those that become negative are excluded; markers "
               "move with the "
               "lens. Raises SizeError when the sizes differ.");
    module.def("ratio", &ratio, py::arg("wind_off"), py::arg("wind_on"), py::kw_only(),
               py::arg("limits") = py::none(), py::arg("progress") = py::none(),
               "Wind-off over wind-on, two images in one frame, clamped to `limits` (lowest, "
               "highest) unless "
               "None. Raises SizeError when the sizes differ.");
    module.def("ratio_of_ratios", &ratio_of_ratios, py::arg("signal_off"), py::arg("signal_on"),
               py::arg("reference_off"), py::arg("reference_on"), py::kw_only(),
               py::arg("limits") = py::none(), py::arg("progress") = py::none(),
               "(signal_off reference_on) / (reference_off signal_on) of two channels, likewise.");
    const FilterOptions usual;
    module.def("filter", &filter, py::arg("image"), py::kw_only(),
               py::arg("type") = static_cast<int>(usual.type), py::arg("dx") = usual.dx,
               py::arg("dy") = usual.dy, py::arg("min") = usual.min, py::arg("max") = usual.max,
               py::arg("fill") = usual.fill_percent, py::arg("range") = usual.range_percent,
               py::arg("iterations") = usual.iterations, py::arg("holes_only") = false,
               py::arg("progress") = py::none(),
               "Smooths an image: type 0 limits only, 1 box mean, 2 Gaussian mean, 3 Gaussian mean "
               "weighted by "
               "value too (`range`: percent of the image's span), 4 median; a window of dx x dy "
               "pixels; pixels below "
               "`min` are excluded, those above `max` become it. `fill`: fill excluded pixels "
               "where less than this "
               "percentage of the window is excluded; `holes_only`: change no others. Raises "
               "AlgoError for another "
               "type.");
}

}  // namespace vyn::python
