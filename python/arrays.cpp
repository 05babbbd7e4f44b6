#include "python/arrays.h"

#include <string>

namespace vyn::python {

namespace py = pybind11;

namespace {

/// The array as it is; raises what is documented.
py::array two_dimensional(const py::object& object, std::string_view kinds, const char* wanted) {
    py::array array = py::array::ensure(object);
    if (!array) throw py::error_already_set();
    if (kinds.find(array.dtype().kind()) == std::string_view::npos)
        throw py::type_error(std::string("expected an array of ") + wanted + ", not of " +
                             std::string(py::str(array.dtype())));
    if (array.ndim() != 2)
        throw py::value_error("expected an array of shape (rows, columns), not of " +
                              std::to_string(array.ndim()) + " dimensions");
    return array;
}

template <class T>
Bitmap<T> plane_of(const py::array& array) {
    const auto elements = py::array_t<T, py::array::forcecast>(array);
    const auto limited = [](py::ssize_t side) {
        return static_cast<int>(std::min<py::ssize_t>(side, max_bitmap_side + 1));
    };
    Bitmap<T> plane(limited(elements.shape(1)), limited(elements.shape(0)));
    const auto at = elements.template unchecked<2>();
    for (int y = 0; y < plane.height(); ++y)
        for (int x = 0; x < plane.width(); ++x)
            plane(x, y) = at(y, x);
    return plane;
}

}  // namespace

py::array constant_view(const py::dtype& type, std::vector<py::ssize_t> shape,
                        std::vector<py::ssize_t> strides, const void* data,
                        std::shared_ptr<const void> owner) {
    using Owner = std::shared_ptr<const void>;
    const py::capsule keeper(new Owner(std::move(owner)),
                             [](void* held) { delete static_cast<Owner*>(held); });
    py::array view(type, std::move(shape), std::move(strides), data, keeper);
    view.attr("setflags")(py::arg("write") = false);
    return view;
}

Bitmap<float> values_plane(const py::object& array) {
    return plane_of<float>(two_dimensional(array, "fiub", "real numbers"));
}

Bitmap<std::uint8_t> byte_plane(const py::object& object) {
    const py::array array = two_dimensional(object, "bu", "truth values or bytes");
    if (array.itemsize() != 1)
        throw py::type_error("expected an array of truth values or bytes, not of " +
                             std::string(py::str(array.dtype())));
    return plane_of<std::uint8_t>(array);
}

Table table_of(const py::object& array, py::ssize_t columns) {
    Table table = Table::ensure(array);
    if (!table) throw py::error_already_set();
    if (table.ndim() != 2 || table.shape(1) != columns)
        throw py::value_error("expected an array of shape (count, " + std::to_string(columns) +
                              ")");
    return table;
}

py::array_t<double> array_of(const std::vector<Point>& points) {
    py::array_t<double> array({static_cast<py::ssize_t>(points.size()), py::ssize_t{2}});
    auto at = array.mutable_unchecked<2>();
    for (std::size_t i = 0; i < points.size(); ++i) {
        at(static_cast<py::ssize_t>(i), 0) = points[i].x;
        at(static_cast<py::ssize_t>(i), 1) = points[i].y;
    }
    return array;
}

std::vector<Point> points_of(const py::object& array) {
    const Table table = table_of(array, 2);
    const auto at = table.unchecked<2>();
    std::vector<Point> points(static_cast<std::size_t>(table.shape(0)));
    for (std::size_t i = 0; i < points.size(); ++i)
        points[i] = {at(static_cast<py::ssize_t>(i), 0), at(static_cast<py::ssize_t>(i), 1)};
    return points;
}

}  // namespace vyn::python
