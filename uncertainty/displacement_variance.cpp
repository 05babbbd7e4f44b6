#include "uncertainty/displacement_variance.h"

#include <algorithm>
#include <cmath>

#include <Eigen/Dense>

namespace vyn {

namespace {

/// Polynomials of sixth degree over a picture are straight enough over so many pixels.
constexpr int node_step = 16;

int nodes_over(int pixels) {
    return (pixels + node_step - 2) / node_step + 1;
}

/// The terms of a mapping (align/poly_transform.h) about the middle of its points, scaled to +-1.
class Terms {
  public:
    Terms(const std::vector<MarkerPair>& pairs, int count) : count_(count) {
        for (const MarkerPair& pair : pairs) {
            centre_.x += pair.reference.x / double(pairs.size());
            centre_.y += pair.reference.y / double(pairs.size());
        }
        for (const MarkerPair& pair : pairs)
            scale_ = std::max({scale_, std::abs(pair.reference.x - centre_.x),
                               std::abs(pair.reference.y - centre_.y)});
    }

    Eigen::VectorXd at(Point place) const {
        const double x = (place.x - centre_.x) / scale_;
        const double y = (place.y - centre_.y) / scale_;
        Eigen::VectorXd all(10);
        all << 1, x, y, x * y, x * x, y * y, x * x * y, x * y * y, x * x * x, y * y * y;
        return all.head(count_);
    }

  private:
    int count_;
    Point centre_;
    double scale_ = 1;
};

/// Both axes' sums of squared residuals.
Point squares(const std::vector<Point>& residuals) {
    Point sum;
    for (const Point& residual : residuals) {
        sum.x += residual.x * residual.x;
        sum.y += residual.y * residual.y;
    }
    return sum;
}

DisplacementVariance on_nodes(const std::string& source, int width, int height) {
    DisplacementVariance variance;
    variance.source = source;
    variance.step = node_step;
    variance.x = Bitmap<float>(nodes_over(width), nodes_over(height), 0);
    variance.y = variance.x;
    return variance;
}

/// Nodes of a plane between which a row of pixels lies.
class NodeRow {
  public:
    NodeRow(const Bitmap<float>& nodes, int step, int row) : last_(nodes.width() - 1) {
        const int r = std::min(row / step, std::max(0, nodes.height() - 2));
        share_ = nodes.height() < 2 ? 0 : std::min(1.0F, float(row - r * step) / float(step));
        above_ = nodes.row(r);
        below_ = nodes.row(std::min(r + 1, nodes.height() - 1));
    }
    float at(int c) const {
        const int node = std::min(c, last_);
        return above_[node] + share_ * (below_[node] - above_[node]);
    }

  private:
    int last_;
    float share_;
    const float* above_;
    const float* below_;
};

/// Between nodes, and that of the outermost beyond them; 0 where the place is none.
double value_at(const Bitmap<float>& nodes, int step, Point place) {
    if (!std::isfinite(place.x) || !std::isfinite(place.y)) return 0;
    const double column = std::clamp(place.x / step, 0.0, double(nodes.width() - 1));
    const double row = std::clamp(place.y / step, 0.0, double(nodes.height() - 1));
    const int c = std::min(static_cast<int>(column), std::max(0, nodes.width() - 2));
    const int r = std::min(static_cast<int>(row), std::max(0, nodes.height() - 2));
    const int right = std::min(c + 1, nodes.width() - 1);
    const int below = std::min(r + 1, nodes.height() - 1);
    const auto along = [&](int line) {
        return std::lerp(double(nodes(c, line)), double(nodes(right, line)), column - c);
    };
    return std::lerp(along(r), along(below), row - r);
}

}  // namespace

void DisplacementVariance::row(int n, int row, float* var_x, float* var_y) const {
    std::vector<float> shares(static_cast<std::size_t>(step));
    for (int k = 0; k < step; ++k)
        shares[static_cast<std::size_t>(k)] = float(k) / float(step);
    const auto interpolate = [&](const Bitmap<float>& plane, float* out) {
        const NodeRow nodes(plane, step, row);
        for (int c = 0; c * step < n; ++c) {
            const float left = nodes.at(c);
            const float change = nodes.at(c + 1) - left;
            const int count = std::min(step, n - c * step);
            float* const to = out + c * step;
            for (int k = 0; k < count; ++k)
                to[k] = left + change * shares[static_cast<std::size_t>(k)];
        }
    };
    interpolate(x, var_x);
    interpolate(y, var_y);
}

DisplacementVariance DisplacementVariance::halved() const {
    DisplacementVariance half = *this;
    for (Bitmap<float>* nodes : {&half.x, &half.y})
        for (int r = 0; r < nodes->height(); ++r)
            for (int c = 0; c < nodes->width(); ++c)
                (*nodes)(c, r) /= 2;
    return half;
}

double DisplacementVariance::typical() const {
    if (!known()) return 0;
    double sum = 0;
    for (int r = 0; r < x.height(); ++r)
        for (int c = 0; c < x.width(); ++c)
            sum += double(x(c, r)) + double(y(c, r));
    return std::sqrt(sum / (2.0 * x.width() * x.height()));
}

DisplacementVariance variance_of_markers(const MarkerMatch& match, double marker_sigma, int width,
                                         int height) {
    const int n = match.moved_from_reference.n;
    const int pairs = static_cast<int>(match.pairs.size());
    const double of_pair = 2 * marker_sigma * marker_sigma;
    const Point sse = squares(match.residuals);
    const bool tells = pairs > n + 2;
    const auto of_fit = [&](double sum) { return tells ? sum / (pairs - n - 1) : of_pair; };
    const auto of_model = [&](double sum) {
        return tells ? std::max(0.0, sum / (pairs - n) - of_pair) : 0.0;
    };
    DisplacementVariance variance =
        on_nodes(tells ? "marker residuals" : "uncertainty of the markers", width, height);
    const Terms terms(match.pairs, n);
    Eigen::MatrixXd normal = Eigen::MatrixXd::Zero(n, n);
    for (const MarkerPair& pair : match.pairs) {
        const Eigen::VectorXd phi = terms.at({pair.reference.x, pair.reference.y});
        normal += phi * phi.transpose();
    }
    // Where the pairs leave a term open, the mapping keeps the identity's.
    const Eigen::MatrixXd inverse = normal.completeOrthogonalDecomposition().pseudoInverse();
    for (int r = 0; r < variance.x.height(); ++r)
        for (int c = 0; c < variance.x.width(); ++c) {
            const Eigen::VectorXd phi = terms.at({double(c) * node_step, double(r) * node_step});
            const double handed_on = n == 0 ? 0 : phi.dot(inverse * phi);
            variance.x(c, r) = float(of_fit(sse.x) * handed_on + of_model(sse.x));
            variance.y(c, r) = float(of_fit(sse.y) * handed_on + of_model(sse.y));
        }
    return variance;
}

DisplacementVariance variance_of_correlation(const image& sigma) {
    DisplacementVariance variance;
    if (!sigma.displacement) return variance;
    variance.source = "cross-correlation";
    variance.step = sigma.displacement->step;
    const auto squared = [](Bitmap<float> plane) {
        for (int r = 0; r < plane.height(); ++r)
            for (int c = 0; c < plane.width(); ++c)
                plane(c, r) = std::isfinite(plane(c, r)) ? plane(c, r) * plane(c, r) : 0;
        return plane;
    };
    variance.x = squared(sigma.displacement->u);
    variance.y = squared(sigma.displacement->v);
    return variance;
}

DisplacementVariance carried_to_frame(const DisplacementVariance& of_picture,
                                      const ImageMap& reference, const ImageMap& moved, int width,
                                      int height) {
    if (!of_picture.known()) return {};
    DisplacementVariance variance = on_nodes(of_picture.source, width, height);
    for (int r = 0; r < variance.x.height(); ++r)
        for (int c = 0; c < variance.x.width(); ++c) {
            const Point pixel{double(c) * node_step, double(r) * node_step};
            const Point place = reference.at(pixel);
            const double of_x = value_at(of_picture.x, of_picture.step, place);
            const double of_y = value_at(of_picture.y, of_picture.step, place);
            const Jacobian by = moved.derivative(pixel);
            const double determinant = by.xx * by.yy - by.xy * by.yx;
            const double square = determinant * determinant;
            const bool leads = square > 0 && std::isfinite(square);
            variance.x(c, r) =
                leads ? float((by.yy * by.yy * of_x + by.xy * by.xy * of_y) / square) : 0;
            variance.y(c, r) =
                leads ? float((by.yx * by.yx * of_x + by.xx * by.xx * of_y) / square) : 0;
        }
    return variance;
}

DisplacementVariance uniform_variance(double sigma, int width, int height) {
    if (!(sigma > 0)) return {};
    DisplacementVariance variance = on_nodes("entered", width, height);
    const float square = float(sigma * sigma);
    variance.x = Bitmap<float>(variance.x.width(), variance.x.height(), square);
    variance.y = variance.x;
    return variance;
}

}  // namespace vyn
