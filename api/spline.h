#pragma once

#include "api/image.h"
#include "api/kernels/prefilter_kernels.h"
#include "api/kernels/spline_kernels.h"
#include "core/progress.h"

namespace vyn {

/// B-spline coefficients of a picture (Unser, Aldroubi & Eden 1993; Thevenaz, Blu & Unser 2000):
/// recursive prefilter along rows and columns with mirrored borders, index period 2 * length - 2.
///
/// The coefficient plane carries a mirrored margin, so that evaluation inside the picture never
/// folds an index.
class SplineCoefficients {
  public:
    /// `degree` 2 to 5, anything else raises AlgoError with the detail "Invalid spline degree".
    /// With stored edges values are prefiltered as they are, excluded pixels included; non-finite
    /// ones are replaced by the mean of the finite valid pixels (mask byte 0) first, since one NaN
    /// would spread over the whole plane. With extended edges excluded and non-finite pixels get
    /// the values of `extend_edges` first, as far as they can be felt. Raises DimError when the
    /// planes differ in size.
    SplineCoefficients(const Bitmap<float>& values, const Bitmap<std::uint8_t>& mask, int degree,
                       SplineEdges edges, Progress& progress);

    int degree() const { return degree_; }
    int width() const { return width_; }
    int height() const { return height_; }

    /// The spline at a position, which is first mirrored into the picture: the weighted sum of the
    /// (degree + 1)^2 coefficients around it. Even degrees centre their window on floor(x + 0.5),
    /// odd ones on floor(x). 0 for positions that are not finite or 2^30 pixels and more away. The
    /// picture must not be empty. The reference of the row kernels, which give the same bits.
    float at(double x, double y) const;

    static constexpr int margin = spline_margin;
    /// Padded plane: coefficient (x, y) lies at (x + margin, y + margin).
    const Bitmap<float>& padded() const { return padded_; }
    /// The same for the kernels.
    SplinePlane plane() const;

  private:
    void filter_stored(const Bitmap<float>& values, const Bitmap<std::uint8_t>& mask,
                       Progress& progress);
    void filter_extended(const Bitmap<float>& values, const Bitmap<std::uint8_t>& mask,
                         Progress& progress);
    /// False when some value is not finite. The rows may be those of the coefficients themselves.
    bool filter_rows(const float* values, std::ptrdiff_t stride, Progress& progress);
    void filter_columns(Progress& progress);
    int degree_ = 3;
    int width_ = 0;
    int height_ = 0;
    Bitmap<float> padded_;
};

/// Values of a spline at many positions, with the bits of SplineCoefficients::at. The coefficients
/// must outlive it.
class SplineEvaluation {
  public:
    explicit SplineEvaluation(const SplineCoefficients& spline);
    void operator()(const double* x, const double* y, int n, float* out) const {
        kernels_.values(plane_, x, y, n, out);
    }
    /// And the bytes of a plane of the picture's size at the positions truncated toward zero; 1
    /// outside.
    void operator()(const double* x, const double* y, int n, float* out,
                    const Bitmap<std::uint8_t>& plane, std::uint8_t* bytes) const {
        const BytePlanes source{plane.row(0), nullptr, plane.stride(), plane.width(),
                                plane.height()};
        kernels_.samples(plane_, source, x, y, n, out, bytes, nullptr);
    }

  private:
    SplinePlane plane_;
    const SplineKernels& kernels_;
};

}  // namespace vyn
