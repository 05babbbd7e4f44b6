#include "align/image_map.h"

#include <cmath>
#include <functional>

namespace vyn {

namespace {

using Field = std::shared_ptr<const DisplacementField>;

// What each kind of part does: to a point, to rows in their place, backwards, and how it moves.

Point through(const PolyTransform& map, Point p) {
    return apply_poly(map, p);
}
Point through(const Field& field, Point p) {
    const Point d = field->at(p);
    return {p.x + d.x, p.y + d.y};
}
Point through(const Distortion& lens, Point p) {
    return distorted_position(lens, p);
}

/// What moves n positions in their place.
using MoveRows = std::function<void(int n, double* x, double* y)>;

MoveRows rows_through(const PolyTransform& map) {
    return [map](int n, double* x, double* y) { apply_poly(map, n, x, y); };
}
MoveRows rows_through(const Field& field) {
    return [field](int n, double* x, double* y) { field->displace(x, y, n); };
}
MoveRows rows_through(const Distortion& lens) {
    return DistortedRows(lens);
}

Jacobian derivative_of(const PolyTransform& map, Point p) {
    return poly_derivative(map, p);
}
Jacobian derivative_of(const Field& field, Point p) {
    const auto [ux, uy, vx, vy] = field->gradient(p);
    return {1 + ux, uy, vx, 1 + vy};
}
Jacobian derivative_of(const Distortion& lens, Point p) {
    return distortion_derivative(lens, p);
}

Point back_through(const PolyTransform& map, Point seen) {
    return inverse_mapped(map, seen);
}
/// By Newton's method; not a number when that does not end.
Point back_through(const Field& field, Point seen) {
    constexpr int most_steps = 30;
    Point p = seen;
    for (int i = 0; i < most_steps; ++i) {
        const Point now = through(field, p);
        const double ex = now.x - seen.x;
        const double ey = now.y - seen.y;
        const Jacobian j = derivative_of(field, p);
        const double determinant = j.xx * j.yy - j.xy * j.yx;
        const double step_x = (j.yy * ex - j.xy * ey) / determinant;
        const double step_y = (j.xx * ey - j.yx * ex) / determinant;
        p = {p.x - step_x, p.y - step_y};
        if (step_x * step_x + step_y * step_y < 1e-18) return p;
    }
    return {NAN, NAN};
}
Point back_through(const Distortion& lens, Point seen) {
    return ideal_position(lens, seen);
}

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

ImageMap& ImageMap::then(std::shared_ptr<const DisplacementField> field) {
    parts_.emplace_back(std::move(field));
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
        output = std::visit([&](const auto& each) { return through(each, output); }, part);
    return output;
}

std::optional<Point> ImageMap::inverse(Point source) const {
    for (auto part = parts_.rbegin(); part != parts_.rend(); ++part)
        source = std::visit([&](const auto& each) { return back_through(each, source); }, *part);
    if (!std::isfinite(source.x) || !std::isfinite(source.y)) return std::nullopt;
    return source;
}

Jacobian ImageMap::derivative(Point output) const {
    Jacobian whole;
    for (const Part& part : parts_) {
        const Jacobian local =
            std::visit([&](const auto& each) { return derivative_of(each, output); }, part);
        whole = product(local, whole);
        output = std::visit([&](const auto& each) { return through(each, output); }, part);
    }
    return whole;
}

RowMap ImageMap::rows() const {
    // The first part starts from whole pixels, for which polynomials and fields are quick.
    RowMap start;
    if (!parts_.empty()) {
        if (const auto* map = std::get_if<PolyTransform>(&parts_.front())) start = row_map(*map);
        if (const auto* field = std::get_if<Field>(&parts_.front()))
            start = [first = *field](int x0, int n, int y, double* x, double* y_out) {
                first->seen_at(x0, n, y, x, y_out);
            };
    }
    const std::ptrdiff_t started = start ? 1 : 0;
    if (!start) start = row_map(PolyTransform());
    std::vector<MoveRows> rest;
    for (auto part = parts_.begin() + started; part != parts_.end(); ++part)
        rest.push_back(std::visit([](const auto& each) { return rows_through(each); }, *part));
    return [start = std::move(start), rest = std::move(rest)](int x0, int n, int y, double* x,
                                                              double* y_out) {
        start(x0, n, y, x, y_out);
        for (const MoveRows& move : rest)
            move(n, x, y_out);
    };
}

}  // namespace vyn
