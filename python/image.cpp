#include "python/image.h"

#include <cmath>

#include <pybind11/stl.h>

#include "python/arrays.h"
#include "python/binding.h"
#include "python/image_files.h"
#include "python/texts.h"

namespace vyn::python {

namespace {

/// As a reader of files does.
void exclude_non_finite(image& picture) {
    const Bitmap<float>& values = std::as_const(picture).values();
    for (int y = 0; y < values.height(); ++y)
        for (int x = 0; x < values.width(); ++x)
            if (!std::isfinite(values(x, y))) picture.mask()(x, y) = 1;
}

Quantity quantity_named(const std::string& name) {
    const Quantity quantity = quantity_stored_as(name);
    if (stored_name(quantity) != name) throw py::value_error("there is no quantity '" + name + "'");
    return quantity;
}

ImageHandle make_image(const py::object& values, const py::object& mask, const std::string& name,
                       const std::string& quantity, const std::string& unit,
                       const MarkerSet& markers) {
    Bitmap<float> plane = values_plane(values);
    Bitmap<std::uint8_t> excluded =
        mask.is_none() ? Bitmap<std::uint8_t>(plane.width(), plane.height(), 0) : byte_plane(mask);
    image picture(std::move(plane), std::move(excluded));
    exclude_non_finite(picture);
    picture.name = name;
    picture.quantity = quantity_named(quantity);
    picture.unit = unit;
    picture.markers = markers;
    return picture;
}

void require_size(const image& picture, int width, int height) {
    if (width != picture.width() || height != picture.height())
        throw DimError("an image of " + std::to_string(picture.width()) + " x " +
                       std::to_string(picture.height()) + " pixels, a plane of " +
                       std::to_string(width) + " x " + std::to_string(height));
}

void set_values(ImageHandle& self, const py::object& array) {
    Bitmap<float> plane = values_plane(array);
    require_size(self.get(), plane.width(), plane.height());
    self.change([&](image& picture) {
        picture.set_values(std::move(plane));
        exclude_non_finite(picture);
    });
}

void set_mask(ImageHandle& self, const py::object& array) {
    Bitmap<std::uint8_t> plane = byte_plane(array);
    require_size(self.get(), plane.width(), plane.height());
    self.change([&](image& picture) {
        picture.set_mask(std::move(plane));
        exclude_non_finite(picture);
    });
}

void set_region(ImageHandle& self, const py::object& array) {
    if (array.is_none()) {
        self.change([](image& picture) { picture.drop_region(); });
        return;
    }
    Bitmap<std::uint8_t> plane = byte_plane(array);
    require_size(self.get(), plane.width(), plane.height());
    self.change([&](image& picture) { picture.set_region(std::move(plane)); });
}

py::object region(const ImageHandle& self) {
    if (!self.get().has_region()) return py::none();
    return constant_view(self.get().region(), self.picture);
}

py::object saturated(const ImageHandle& self) {
    if (!self.get().saturated) return py::none();
    return constant_view(*self.get().saturated, self.picture);
}

py::object displacement(const ImageHandle& self) {
    const std::optional<Displacement>& vectors = self.get().displacement;
    if (!vectors) return py::none();
    return py::make_tuple(constant_view(vectors->u, self.picture),
                          constant_view(vectors->v, self.picture), vectors->step);
}

py::dict origin(const ImageHandle& self) {
    py::dict items;
    for (const auto& [item, what] : self.get().origin)
        items[text(item)] = text(what);
    return items;
}

py::str describe(const ImageHandle& self) {
    const image& picture = self.get();
    std::string line = "<vynlite.Image " + (picture.name.empty() ? "" : "'" + picture.name + "' ") +
                       std::to_string(picture.width()) + " x " + std::to_string(picture.height()) +
                       ", " + field_label(picture).text();
    if (const std::size_t count = picture.markers.markers.size(); count > 0)
        line += ", " + std::to_string(count) + " markers";
    return text(line + ">");
}

/// An attribute of the image as a property of the class.
template <class T>
void attribute(py::class_<ImageHandle>& type, const char* name, T ImageAttributes::*member,
               const char* meaning) {
    type.def_property(
        name, [member](const ImageHandle& self) { return self.get().*member; },
        [member](ImageHandle& self, const T& value) {
            self.change([&](image& picture) { picture.*member = value; });
        },
        meaning);
}

void text_attribute(py::class_<ImageHandle>& type, const char* name,
                    std::string ImageAttributes::*member, const char* meaning) {
    type.def_property(
        name, [member](const ImageHandle& self) { return text(self.get().*member); },
        [member](ImageHandle& self, const std::string& value) {
            self.change([&](image& picture) { picture.*member = value; });
        },
        meaning);
}

void bind_planes(py::class_<ImageHandle>& type) {
    type.def_property(
        "values",
        [](const ImageHandle& self) { return constant_view(self.get().values(), self.picture); },
        &set_values,
        "32-bit floats of shape (rows, columns), seen without a copy and not to be written to: "
        "other images may "
        "share them. Assign an array to replace them; pixels that are not finite become excluded. "
        "Arrays taken "
        "before keep what they show.");
    type.def_property(
        "mask",
        [](const ImageHandle& self) { return constant_view(self.get().mask(), self.picture); },
        &set_mask,
        "Bytes of the same shape, likewise: 0 = valid, anything else = excluded. Excluded pixels "
        "keep "
        "their values, and no computation takes them.");
    type.def_property("region", &region, &set_region,
                      "Bytes of the same shape, likewise: 1 = inside the region of interest; None: "
                      "there is no region, everything is inside.");
    type.def_property_readonly("saturated", &saturated,
                               "Bytes of the same shape: 1 where the sensor was at its limit; None "
                               "when no pixel was.");
    type.def_property_readonly("displacement", &displacement,
                               "(u, v, step) of a displacement in pixels, node [r, c] standing for "
                               "pixel (c step, r step); None for other images.");
    type.def_property_readonly("width", [](const ImageHandle& self) { return self.get().width(); });
    type.def_property_readonly("height",
                               [](const ImageHandle& self) { return self.get().height(); });
    type.def_property_readonly(
        "shape",
        [](const ImageHandle& self) {
            return py::make_tuple(self.get().height(), self.get().width());
        },
        "(rows, columns)");
}

void bind_attributes(py::class_<ImageHandle>& type) {
    text_attribute(type, "name", &ImageAttributes::name, "The image's name.");
    text_attribute(type, "unit", &ImageAttributes::unit,
                   "Unit of the values; empty for none and when unknown.");
    type.def_property(
        "quantity", [](const ImageHandle& self) { return stored_name(self.get().quantity); },
        [](ImageHandle& self, const std::string& name) {
            self.change([&](image& picture) { picture.quantity = quantity_named(name); });
        },
        "What the values are: 'raw_counts', 'corrected_intensity', 'intensity_ratio', 'pressure', "
        "'cp', "
        "...; 'value' when unknown. Raises ValueError for a name that there is not.");
    type.def_property_readonly(
        "label", [](const ImageHandle& self) { return text(field_label(self.get()).text()); },
        "Quantity and unit as people read them, such as 'Pressure, Pa'.");
    attribute(type, "markers", &ImageAttributes::markers,
              "The markers in pixels of this image: a copy; assign it to change them.");
    attribute(type, "degree", &ImageAttributes::degree,
              "Degree of the B-splines between the pixels, 2 to 5.");
    type.def_property(
        "extended_edges",
        [](const ImageHandle& self) { return self.get().edges == SplineEdges::extended; },
        [](ImageHandle& self, bool extended) {
            self.change([&](image& picture) {
                picture.edges = extended ? SplineEdges::extended : SplineEdges::stored;
            });
        },
        "Whether the B-splines continue the valid pixels smoothly over excluded ones, instead of "
        "taking "
        "the values that these have.");
    type.def_property_readonly(
        "file_name", [](const ImageHandle& self) { return text(self.get().file_name); },
        "The file that the image came from, or ''.");
    type.def_property_readonly("origin", &origin,
                               "What the image came from: files with their digests, settings.");
    type.def_property_readonly(
        "exposure", [](const ImageHandle& self) { return self.get().exposure; },
        "Seconds, where the file tells it; else None.");
    type.def_property_readonly(
        "full_scale", [](const ImageHandle& self) { return self.get().full_scale; },
        "Largest value of the file's pixels; 0 when unknown.");
}

}  // namespace

void bind_image(py::module_& module) {
    py::class_<ImageHandle> type(
        module, "Image",
        "A picture or a plane of results: values, mask, and what they are. Pixel centres lie at "
        "whole "
        "coordinates; x is the column and y the row, the first row on top.");
    type.def(
        py::init(&make_image), py::arg("values"), py::arg("mask") = py::none(), py::kw_only(),
        py::arg("name") = "", py::arg("quantity") = "value", py::arg("unit") = "",
        py::arg_v("markers", MarkerSet(), "Markers()"),
        "Copies an array of numbers of shape (rows, columns) and, unless None, a mask of truth "
        "values or "
        "bytes of that shape. Pixels that are not finite are excluded. Raises SizeError when the "
        "shapes differ.");
    bind_planes(type);
    bind_attributes(type);
    type.def("__repr__", &describe);
    type.def(
        "_repr_png_", [](const ImageHandle& self) { return thumbnail(self); },
        "The image in false colour, for notebooks.");
}

}  // namespace vyn::python
