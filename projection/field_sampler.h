#pragma once

#include <array>
#include <cmath>
#include <optional>
#include <span>
#include <vector>

#include "api/image.h"
#include "api/point.h"
#include "api/spline.h"

namespace vyn {

/// A value read from a field with its mask.
struct FieldSample {
    double value = 0;
    int pixels = 1;  ///< averaged
};

/// Reads a field at places between its pixels. Excluded and non-finite pixels never enter a value.
class FieldSampler {
  public:
    /// The field must outlive it. Pixels within `dots` pixels of the field's markers count as
    /// excluded.
    FieldSampler(const image& field, double min_valid, double dots, Progress& progress);
    FieldSampler(const FieldSampler&) = delete;
    FieldSampler& operator=(const FieldSampler&) = delete;

    /// The field's B-spline where all its pixels are valid; elsewhere bilinear by the valid ones
    /// of the four pixels around, whose weight must be `min_valid` at least.
    std::optional<FieldSample> at(Point place) const;
    /// The same with the spline's value at hand.
    std::optional<FieldSample> at(Point place, float spline_value) const;
    /// The spline alone at many places, whatever is excluded there.
    void spline_values(std::span<const Point> places, std::span<float> values) const;
    /// The mean over the valid pixels whose centres lie in a union of quadrangles that do not
    /// overlap, carried from their middle to the place by the field's slope there; `min_valid` of
    /// the pixels inside must be valid. Nothing inside: as `at(place)`.
    std::optional<FieldSample> mean(Point place, std::span<const std::array<Point, 4>> quads) const;
    /// Change of the value per pixel in x and y; 0 where it is not known.
    std::array<double, 2> gradient(Point place) const;
    bool valid(int x, int y) const { return valid_.contains(x, y) && valid_(x, y) != 0; }

  private:
    /// Whether all pixels of the spline's window are valid.
    bool smooth_at(Point place) const {
        const int x0 = static_cast<int>(std::floor(place.x));
        const int y0 = static_cast<int>(std::floor(place.y));
        return smooth_.contains(x0, y0) && smooth_(x0, y0);
    }
    bool outside(Point place) const {
        return !(place.x > -1 && place.y > -1 && place.x < valid_.width() &&
                 place.y < valid_.height());
    }
    std::optional<FieldSample> bilinear(Point place) const;

    const image& field_;
    double min_valid_;
    Bitmap<std::uint8_t> valid_;   ///< 1 = may be used
    Bitmap<std::uint8_t> smooth_;  ///< 1 = all pixels of the spline's window there are valid
    SplineCoefficients spline_;
    SplineEvaluation evaluation_;
};

}  // namespace vyn
