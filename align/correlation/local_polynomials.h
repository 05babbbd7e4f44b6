#pragma once

#include <cstdint>
#include <vector>

#include "align/correlation/field_equations.h"
#include "api/point.h"
#include "core/progress.h"

namespace vyn {

/// Local regression (Cleveland 1979) of a displacement field: about each place of a lattice the
/// polynomial that fits the equations of the nodes around it best, with Gaussian weights. Between
/// the places, polynomials of the four around are blended. Lengths in nodes.
class LocalPolynomials {
  public:
    struct Shape {
        int degree = 4;         ///< 2 or 4
        double band_width = 2;  ///< standard deviation of the Gaussian
    };

    LocalPolynomials(const FieldEquations& equations, Shape shape, Progress& progress);

    /// Whether the equations determine the displacement of a node.
    bool is_known(int column, int row) const { return known_(column, row) != 0; }
    /// The displacement of a known node.
    Point at(int column, int row) const { return {u_(column, row), v_(column, row)}; }

    /// How the displacement changes from a known node to the place `offset` away from it, by the
    /// polynomial there up to its quadratic or its linear terms.
    enum class Extent { linear, quadratic };
    Point change(int column, int row, Point offset, Extent extent) const;

    /// Variances of the displacement of a known node if every equation's error had the variance
    /// that it was divided by.
    struct Variance {
        double u, v;
        double sum() const { return u + v; }
    };
    Variance variance(int column, int row) const {
        return {variance_u_(column, row), variance_v_(column, row)};
    }

  private:
    struct Corners;
    Corners corners(int column, int row) const;
    std::size_t offset(int place_column, int place_row) const {
        return (static_cast<std::size_t>(place_row) * static_cast<std::size_t>(lattice_columns_) +
                static_cast<std::size_t>(place_column)) *
               static_cast<std::size_t>(quantities_);
    }
    const float* result_of(int place_column, int place_row) const {
        return results_.data() + offset(place_column, place_row);
    }
    Point term_sum(int place_column, int place_row, double x, double y) const;
    void evaluate_node(int column, int row, double noise_gain);

    Shape shape_;
    int spacing_ = 1;
    int first_column_ = 0;
    int first_row_ = 0;
    int lattice_columns_ = 0;
    int lattice_rows_ = 0;
    int quantities_ = 0;          ///< of a place: those of RegressionPlaces::result
    std::vector<float> results_;  ///< by row, column, quantity
    Bitmap<double> u_;
    Bitmap<double> v_;
    Bitmap<float> variance_u_;
    Bitmap<float> variance_v_;
    Bitmap<std::uint8_t> known_;
};

/// What generalised cross-validation says of a band width.
struct BandWidth {
    double width = 2;  ///< nodes
    double score = 1;  ///< variance of the equations' errors, in units of what they were divided by
};

/// The band width, 0.6 to 40 nodes, with the least RSS / N / (1 - tr / N)^2 over a sample of the
/// nodes (Craven & Wahba 1979), for polynomials of degree 4.
BandWidth best_band_width(const FieldEquations& equations, Progress& progress);

}  // namespace vyn
