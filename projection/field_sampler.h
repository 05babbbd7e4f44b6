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
    /// What is cheap at many places at once: the spline, and 1 where `at` does not take its value
    /// as it is.
    struct SplineSamples {
        std::vector<float> values;
        std::vector<std::uint8_t> rough;
    };
    void sample_spline(std::span<const double> x, std::span<const double> y,
                       SplineSamples& samples) const;
    /// As `at`, with number i of those at hand.
    std::optional<FieldSample> at(Point place, const SplineSamples& samples, std::size_t i) const {
        if (!samples.rough[i]) return FieldSample{static_cast<double>(samples.values[i])};
        return bilinear(place);
    }
    /// The mean over the valid pixels whose centres lie in a union of quadrangles that do not
    /// overlap, carried from their middle to the place by the field's slope there; `min_valid` of
    /// the pixels inside must be valid. Nothing inside: as `at(place)`.
    std::optional<FieldSample> mean(Point place, std::span<const std::array<Point, 4>> quads) const;
    /// Change of the value per pixel in x and y; 0 where it is not known.
    std::array<double, 2> gradient(Point place) const;
    bool valid(int x, int y) const { return valid_.contains(x, y) && valid_(x, y) != 0; }

  private:
    bool outside(Point place) const {
        return !(place.x > -1 && place.y > -1 && place.x < valid_.width() &&
                 place.y < valid_.height());
    }
    std::optional<FieldSample> bilinear(Point place) const;

    const image& field_;
    double min_valid_;
    Bitmap<std::uint8_t> valid_;  ///< 1 = may be used
    Bitmap<std::uint8_t> rough_;  ///< 0 = all pixels of the spline's window there are valid
    SplineCoefficients spline_;
    SplineEvaluation evaluation_;
};

}  // namespace vyn
