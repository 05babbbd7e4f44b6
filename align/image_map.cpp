#include "align/image_map.h"

#include <cmath>
#include <ranges>

namespace vyn {

namespace {

template <class... Visitors>
struct Overloaded : Visitors... {
    using Visitors::operator()...;
};
template <class... Visitors>
Overloaded(Visitors...) -> Overloaded<Visitors...>;

/// The derivative of `outer` after `inner`.
Jacobian product(const Jacobian& outer, const Jacobian& inner) {
    return {outer.xx * inner.xx + outer.xy * inner.yx, outer.xx * inner.xy + outer.xy * inner.yy,
            outer.yx * inner.xx + outer.yy * inner.yx, outer.yx * inner.xy + outer.yy * inner.yy};
}

}  // namespace

ImageMap& ImageMap::then(const PolyTransform& map) {
    apply_poly(map, {});  // refuses a wrong count before any row
    parts_.emplace_back(map);
    return *this;
}

ImageMap& ImageMap::then(const Distortion& lens) {
    if (!lens.none()) parts_.emplace_back(lens);
    return *this;
}

ImageMap& ImageMap::then(const ImageMap& map) {
    parts_.insert(parts_.end(), map.parts_.begin(), map.parts_.end());
    return *this;
}

Point ImageMap::at(Point output) const {
    for (const Part& part : parts_)
        output =
            std::visit(Overloaded{
                           [&](const PolyTransform& map) { return apply_poly(map, output); },
                           [&](const Distortion& lens) { return distorted_position(lens, output); },
                       },
                       part);
    return output;
}

std::optional<Point> ImageMap::inverse(Point source) const {
    for (const Part& part : std::views::reverse(parts_))
        source =
            std::visit(Overloaded{
                           [&](const PolyTransform& map) { return inverse_mapped(map, source); },
                           [&](const Distortion& lens) { return ideal_position(lens, source); },
                       },
                       part);
    if (!std::isfinite(source.x) || !std::isfinite(source.y)) return std::nullopt;
    return source;
}

Jacobian ImageMap::derivative(Point output) const {
    Jacobian whole;
    for (const Part& part : parts_) {
        whole = std::visit(Overloaded{
                               [&](const PolyTransform& map) {
                                   const Jacobian local = poly_derivative(map, output);
                                   output = apply_poly(map, output);
                                   return product(local, whole);
                               },
                               [&](const Distortion& lens) {
                                   const Jacobian local = distortion_derivative(lens, output);
                                   output = distorted_position(lens, output);
                                   return product(local, whole);
                               },
                           },
                           part);
    }
    return whole;
}

RowMap ImageMap::rows() const {
    const auto* first = parts_.empty() ? nullptr : std::get_if<PolyTransform>(&parts_.front());
    RowMap start = row_map(first ? *first : PolyTransform());
    std::vector<Part> rest(parts_.begin() + (first ? 1 : 0), parts_.end());
    return [start = std::move(start), rest = std::move(rest)](int x0, int n, int y, double* x,
                                                              double* y_out) {
        start(x0, n, y, x, y_out);
        for (const Part& part : rest)
            std::visit(Overloaded{
                           [&](const PolyTransform& map) { apply_poly(map, n, x, y_out); },
                           [&](const Distortion& lens) { distort_positions(lens, n, x, y_out); },
                       },
                       part);
    };
}

}  // namespace vyn
