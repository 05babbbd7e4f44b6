#pragma once

#include <memory>
#include <vector>

#include <pybind11/numpy.h>

#include "api/bitmap.h"
#include "api/point.h"

namespace vyn::python {

/// Memory of the program as an array that cannot be written to, without a copy; `owner` keeps it
/// alive for as long as the array or a view of it lives. Strides in bytes.
pybind11::array constant_view(const pybind11::dtype& type, std::vector<pybind11::ssize_t> shape,
                              std::vector<pybind11::ssize_t> strides, const void* data,
                              std::shared_ptr<const void> owner);

template <class T>
pybind11::array constant_view(const Bitmap<T>& plane, std::shared_ptr<const void> owner) {
    return constant_view(pybind11::dtype::of<T>(), {plane.height(), plane.width()},
                         {static_cast<pybind11::ssize_t>(sizeof(T)) * plane.stride(),
                          static_cast<pybind11::ssize_t>(sizeof(T))},
                         plane.row(0), std::move(owner));
}

/// Arrays of shape (rows, columns) as planes: numbers as 32-bit floats; truth values or bytes as
/// bytes. Raise TypeError for other types and ValueError for another number of dimensions.
Bitmap<float> values_plane(const pybind11::object& array);
Bitmap<std::uint8_t> byte_plane(const pybind11::object& array);

/// An array of shape (count, columns) of numbers as 64-bit floats; raises ValueError for another
/// shape.
using Table = pybind11::array_t<double, pybind11::array::c_style | pybind11::array::forcecast>;
Table table_of(const pybind11::object& array, pybind11::ssize_t columns);

/// Positions as an array of shape (count, 2), and back.
pybind11::array_t<double> array_of(const std::vector<Point>& points);
std::vector<Point> points_of(const pybind11::object& array);

}  // namespace vyn::python
