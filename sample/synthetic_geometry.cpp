#include "sample/synthetic_geometry.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <numbers>

namespace vyn {

namespace {

/// Powers of x and y in the terms of PolyTransform.
struct Term {
    int x;
    int y;
};
constexpr std::array<Term, 10> terms{
    {{0, 0}, {1, 0}, {0, 1}, {1, 1}, {2, 0}, {0, 2}, {2, 1}, {1, 2}, {3, 0}, {0, 3}}};

/// Displacement in pixels per term, in coordinates centred on the picture and scaled to about +-1.
struct TermDisplacement {
    double x;
    double y;
};
constexpr std::array<TermDisplacement, 10> displacements{{{2.3, -1.7},
                                                          {0.32, 0.21},
                                                          {-0.24, 0.27},
                                                          {0.55, -0.6},
                                                          {1.15, 0.4},
                                                          {-0.8, 1.3},
                                                          {0.5, 0.35},
                                                          {-0.45, 0.55},
                                                          {0.8, -0.3},
                                                          {0.4, 0.9}}};

double binomial(int n, int k) {
    constexpr double table[4][4] = {{1, 0, 0, 0}, {1, 1, 0, 0}, {1, 2, 1, 0}, {1, 3, 3, 1}};
    return table[n][k];
}

std::size_t term_index(int x, int y) {
    std::size_t i = 0;
    while (terms[i].x != x || terms[i].y != y)
        ++i;
    return i;
}

/// Adds value ((x - cx) / scale)^term.x ((y - cy) / scale)^term.y to coefficients in plain pixels.
void add_centred_term(std::array<double, 10>& coefficients, Term term, double value, Point centre,
                      double scale) {
    const double scaled = value / std::pow(scale, term.x + term.y);
    for (int i = 0; i <= term.x; ++i)
        for (int j = 0; j <= term.y; ++j)
            coefficients[term_index(i, j)] += scaled * binomial(term.x, i) * binomial(term.y, j) *
                                              std::pow(-centre.x, term.x - i) *
                                              std::pow(-centre.y, term.y - j);
}

}  // namespace

PolyTransform synthetic_motion(int order, int width, int height, int point) {
    PolyTransform map;
    map.n = poly_coefficient_count(order);
    const Point centre{0.5 * (width - 1), 0.5 * (height - 1)};
    const double scale = 0.5 * std::max(width, height);
    if (map.n > 1) {
        map.ax[1] = 1;
        map.ay[2] = 1;
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(map.n); ++i) {
        add_centred_term(map.ax, terms[i], displacements[i].x, centre, scale);
        add_centred_term(map.ay, terms[i], displacements[i].y, centre, scale);
    }
    map.ax[0] += 1.3 * std::sin(1.7 * point);
    map.ay[0] += 1.1 * std::sin(2.3 * point);
    return map;
}

DisplacementField synthetic_bending(double most, int width, int height) {
    constexpr int step = 8;
    constexpr int ring = DisplacementField::ring;
    Bitmap<double> u((width - 1) / step + 1 + 2 * ring, (height - 1) / step + 1 + 2 * ring);
    Bitmap<double> v(u.width(), u.height());
    for (int r = 0; r < u.height(); ++r)
        for (int c = 0; c < u.width(); ++c) {
            const double x = 4 * std::numbers::pi * step * (c - ring) / width;
            const double y = 4 * std::numbers::pi * step * (r - ring) / height;
            u(c, r) = 0.4 * most * std::sin(0.8 * x + 0.4) * std::cos(0.6 * y);
            v(c, r) = most * std::sin(y + 0.5 * x + 0.7);
        }
    return {step, u, v};
}

ImageMap synthetic_motion(int order, double bending, int width, int height, int point) {
    ImageMap motion;
    if (bending != 0)
        motion.then(
            std::make_shared<const DisplacementField>(synthetic_bending(bending, width, height)));
    motion.then(synthetic_motion(order, width, height, point));
    return motion;
}

}  // namespace vyn
