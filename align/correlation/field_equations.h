#pragma once

#include "api/bitmap.h"

namespace vyn {

/// What the nodes of a grid say about the displacement (u, v) there: xx u + xy v = x,
/// xy u + yy v = y, each divided by the variance of its error, so that sums of them are the normal
/// equations of whatever describes the field. All 0 where nothing is known.
struct FieldEquations {
    FieldEquations() = default;
    FieldEquations(int columns, int rows)
        : xx(columns, rows, 0.0),
          xy(columns, rows, 0.0),
          yy(columns, rows, 0.0),
          x(columns, rows, 0.0),
          y(columns, rows, 0.0) {}

    int columns() const { return xx.width(); }
    int rows() const { return xx.height(); }

    Bitmap<double> xx, xy, yy, x, y;
};

}  // namespace vyn
