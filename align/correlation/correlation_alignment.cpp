#include "align/correlation/correlation_alignment.h"

#include <algorithm>
#include <cmath>

#include "align/correlation/block_equations.h"
#include "align/correlation/field_search.h"
#include "align/correlation/global_shift.h"
#include "align/correlation/picture_pyramid.h"
#include "align/correlation/vector_validation.h"
#include "align/correlation/warp.h"
#include "api/median.h"
#include "core/numbers.h"

namespace vyn {

namespace {

constexpr int most_iterations = 100;
constexpr int least_cell = 4;
constexpr int least_measured = 20;
constexpr double least_measured_share = 0.1;
constexpr int global_side = 128;  ///< long side of the copies that the global pass compares
constexpr int smallest_side = 16;
constexpr double least_continuation_width = 2;  ///< nodes
constexpr double search_share = 0.2;            ///< of the progress
constexpr double passes_from = 0.25;            ///< likewise
constexpr double first_low_pass = 1;            ///< pixels, until the pictures are aligned

[[noreturn]] void refuse(const std::string& why) {
    throw AlgoError("Algorithm error!", why);
}

std::string size_text(int width, int height) {
    return std::to_string(width) + " x " + std::to_string(height) + " pixels";
}

std::string named(const image& picture, const char* otherwise) {
    return picture.name.empty() ? otherwise : otherwise + (" '" + picture.name + "'");
}

MaskedPlane usable_part(const image& picture, const char* role, const CorrelationOptions& options,
                        Progress& progress) {
    MaskedPlane plane =
        usable_pixels(picture, options.level, std::max(options.cell / 4, 1), progress);
    if (count_set(plane.valid) == 0) {
        std::string why = named(picture, role) +
                          " has no usable pixel: all are excluded, not finite or outside the "
                          "region of interest";
        if (std::isfinite(options.level))
            why +=
                ", or below the level of " + format_general(static_cast<double>(options.level), 6);
        refuse(why);
    }
    return plane;
}

/// Both pictures and their smaller copies.
struct Pyramids {
    Pyramids(const MaskedPlane& off, const MaskedPlane& on, Progress& progress)
        : off_copies(smaller_copies(off, smallest_side, progress)),
          on_copies(smaller_copies(on, smallest_side, progress)) {
        levels.off.push_back(&off);
        levels.on.push_back(&on);
        for (const MaskedPlane& copy : off_copies)
            levels.off.push_back(&copy);
        for (const MaskedPlane& copy : on_copies)
            levels.on.push_back(&copy);
    }
    std::vector<MaskedPlane> off_copies;
    std::vector<MaskedPlane> on_copies;
    PictureLevels levels;
};

/// The base field moved by the one shift that fits the pictures best.
BaseField moved_as_a_whole(const PictureLevels& levels, int cell, const BaseField& base,
                           Progress& progress) {
    std::size_t level = 0;
    while (level + 1 < levels.off.size() &&
           std::max(levels.off[level]->width(), levels.off[level]->height()) > global_side)
        ++level;
    const MaskedPlane& off = *levels.off[level];
    const NodeGrid grid{off.width(), off.height(), std::max(cell / 2, 1), cell};
    const DisplacementField start = base_only(grid, at_level(base, static_cast<int>(level)));
    const MaskedPlane seen = WarpSource(*levels.on[level], progress).seen_through(start, progress);
    const std::optional<Point> shift = global_shift(off, seen, cell, progress);
    if (!shift) return base;
    const double scale = std::ldexp(1.0, static_cast<int>(level));
    return [base, scale, by = *shift](Point at) {
        const Point d = base(at);
        return Point{d.x + by.x * scale, d.y + by.y * scale};
    };
}

/// Node by node over the measured ones.
template <class Quantity>
std::vector<double> over_measured(const Bitmap<std::uint8_t>& measured, const Quantity& quantity) {
    std::vector<double> values;
    for (int r = 0; r < measured.height(); ++r)
        for (int c = 0; c < measured.width(); ++c)
            if (measured(c, r)) values.push_back(quantity(c, r));
    return values;
}

/// The passes over the full picture.
class Refinement {
  public:
    Refinement(const MaskedPlane& off, const MaskedPlane& on, const NodeGrid& grid,
               SearchedField start, BaseKind kind, Progress& progress)
        : off_(off), source_(on, progress), grid_(grid), kind_(kind), state_(std::move(start)) {}

    void pass(Progress& progress);

    /// False when too few cells could be measured to go on.
    bool has_enough() const {
        return statistics_.measured >= least_measured &&
               statistics_.measured >= least_measured_share * statistics_.cells;
    }
    CorrelationResult result() &&;

  private:
    void count(const Bitmap<CellState>& state);
    void drop_undetermined(const LocalPolynomials& polynomials);
    void update_base(const LocalPolynomials& polynomials);

    const MaskedPlane& off_;
    const WarpSource source_;
    const NodeGrid grid_;
    const BaseKind kind_;
    SearchedField state_;
    Bitmap<std::uint8_t> measured_;
    Bitmap<NodeSource> node_source_;
    Bitmap<float> sigma_u_;
    Bitmap<float> sigma_v_;
    CorrelationStatistics statistics_;
};

void Refinement::count(const Bitmap<CellState>& state) {
    statistics_.cells = statistics_.measured = 0;
    measured_ = Bitmap<std::uint8_t>(state.width(), state.height(), 0);
    for (int r = 0; r < state.height(); ++r)
        for (int c = 0; c < state.width(); ++c) {
            if (state(c, r) == CellState::outside) continue;
            ++statistics_.cells;
            if (state(c, r) != CellState::measured) continue;
            ++statistics_.measured;
            measured_(c, r) = 1;
        }
}

/// Takes away nodes that little is known of, whose polynomial left the place that was compared, or
/// that were compared through a field no model bends to, which makes smooth pictures of noise.
void Refinement::drop_undetermined(const LocalPolynomials& polynomials) {
    constexpr double largest_ratio = 8 * 8;  // of a variance to the usual one
    constexpr double largest_strain = 0.5;
    const auto variance = [&](int c, int r) { return polynomials.variance(c, r).sum(); };
    const double largest = largest_ratio * median(over_measured(measured_, variance));
    const double farthest = grid_.cell / 2.0;
    const auto strain = [&](int c, int r) {
        const DisplacementField::Gradient g = state_.field.gradient(
            {static_cast<double>(c) * grid_.step, static_cast<double>(r) * grid_.step});
        return std::max({std::abs(g.ux), std::abs(g.uy), std::abs(g.vx), std::abs(g.vy)});
    };
    for (int r = 0; r < measured_.height(); ++r)
        for (int c = 0; c < measured_.width(); ++c) {
            if (!measured_(c, r)) continue;
            const Point before = state_.field.at(
                {static_cast<double>(c) * grid_.step, static_cast<double>(r) * grid_.step});
            const Point now = polynomials.at(c, r);
            if (polynomials.is_known(c, r) && variance(c, r) <= largest &&
                std::hypot(now.x - before.x, now.y - before.y) <= farthest &&
                strain(c, r) <= largest_strain)
                continue;
            measured_(c, r) = 0;
            --statistics_.measured;
        }
}

void Refinement::update_base(const LocalPolynomials& polynomials) {
    if (kind_ == BaseKind::given) return;
    NodeVectors vectors{Bitmap<double>(measured_.width(), measured_.height(), 0.0),
                        Bitmap<double>(measured_.width(), measured_.height(), 0.0), measured_};
    for (int r = 0; r < measured_.height(); ++r)
        for (int c = 0; c < measured_.width(); ++c) {
            if (!measured_(c, r)) continue;
            const Point d = polynomials.at(c, r);
            vectors.u(c, r) = d.x;
            vectors.v(c, r) = d.y;
        }
    const PolyTransform mapping = robust_mapping(vectors, grid_.step);
    if (mapping.n > 0)
        state_.base = [mapping](Point at) {
            const Point to = apply_poly(mapping, at);
            return Point{to.x - at.x, to.y - at.y};
        };
}

void Refinement::pass(Progress& progress) {
    SubProgress warping(progress, 0, 0.25);
    SubProgress comparing(progress, 0.25, 0.6);
    SubProgress smoothing(progress, 0.6, 1);
    const MaskedPlane seen = source_.seen_through(state_.field, warping);
    const PairComparison comparison({off_, seen, state_.field}, grid_, comparing);
    statistics_.low_pass =
        statistics_.changes.empty() ? first_low_pass : best_low_pass(comparison, comparing);
    const BlockEquations blocks = comparison.equations(statistics_.low_pass, comparing);
    count(blocks.state);
    if (!has_enough()) return;

    const BandWidth band = best_band_width(blocks.equations, smoothing);
    statistics_.band_width = band.width * grid_.step;
    const LocalPolynomials polynomials(blocks.equations, {4, band.width}, smoothing);
    drop_undetermined(polynomials);
    if (!has_enough()) return;
    update_base(polynomials);
    const LocalPolynomials continuation(
        blocks.equations, {2, std::max(band.width, least_continuation_width)}, smoothing);
    FilledField filled = filled_field(polynomials, continuation, measured_, grid_, state_.base);
    statistics_.changes.push_back(median(over_measured(measured_, [&](int c, int r) {
        const Point at{static_cast<double>(c) * grid_.step, static_cast<double>(r) * grid_.step};
        const Point before = state_.field.at(at);
        const Point now = filled.field.at(at);
        return std::hypot(now.x - before.x, now.y - before.y);
    })));
    state_.field = std::move(filled.field);
    node_source_ = std::move(filled.source);
    sigma_u_ = Bitmap<float>(measured_.width(), measured_.height(), 0.0F);
    sigma_v_ = sigma_u_;
    for (int r = 0; r < measured_.height(); ++r)
        for (int c = 0; c < measured_.width(); ++c) {
            if (!measured_(c, r)) continue;
            const LocalPolynomials::Variance variance = polynomials.variance(c, r);
            sigma_u_(c, r) = static_cast<float>(std::sqrt(band.score * variance.u));
            sigma_v_(c, r) = static_cast<float>(std::sqrt(band.score * variance.v));
        }
}

CorrelationResult Refinement::result() && {
    CorrelationResult result;
    if (!has_enough()) {
        if (statistics_.cells == 0)
            result.failure = "the two images do not overlap in usable pixels";
        else
            result.failure = "only " + std::to_string(statistics_.measured) + " of " +
                             std::to_string(statistics_.cells) +
                             " cells show texture that both images have in common; a tenth of the "
                             "cells and at least " +
                             std::to_string(least_measured) + " are needed";
        result.statistics = statistics_;
        return result;
    }
    std::vector<double> lengths = over_measured(measured_, [&](int c, int r) {
        const Point d = state_.field.at(
            {static_cast<double>(c) * grid_.step, static_cast<double>(r) * grid_.step});
        return std::hypot(d.x, d.y);
    });
    statistics_.largest_displacement = *std::max_element(lengths.begin(), lengths.end());
    statistics_.median_displacement = median(std::move(lengths));
    statistics_.no_texture = 1 - static_cast<double>(statistics_.measured) / statistics_.cells;
    result.field = std::move(state_.field);
    result.source = std::move(node_source_);
    result.sigma_u = std::move(sigma_u_);
    result.sigma_v = std::move(sigma_v_);
    result.statistics = std::move(statistics_);
    return result;
}

}  // namespace

void CorrelationOptions::check(int width, int height) const {
    if (iterations < 1 || iterations > most_iterations)
        refuse("the number of iterations must be 1 to " + std::to_string(most_iterations) +
               ", not " + std::to_string(iterations));
    if (step < 1) refuse("the step must be at least 1 pixel, not " + std::to_string(step));
    if (cell < least_cell)
        refuse("the cell must have at least " + std::to_string(least_cell) + " pixels, not " +
               std::to_string(cell));
    if (cell > width || cell > height)
        refuse("the cell of " + std::to_string(cell) + " pixels is larger than the images of " +
               size_text(width, height));
    if (step > width || step > height)
        refuse("the step of " + std::to_string(step) + " pixels is larger than the images of " +
               size_text(width, height));
    if (std::isnan(level)) refuse("the level is no number");
}

CorrelationResult align_by_correlation(const image& off, const image& on,
                                       const CorrelationOptions& options, const StartMapping& start,
                                       Progress& progress) {
    off.check_planes();
    on.check_planes();
    if (!off.values().same_size(on.values()))
        throw DimError(named(off, "the wind-off image") + " has " +
                       size_text(off.width(), off.height()) + ", " +
                       named(on, "the wind-on image") + " " + size_text(on.width(), on.height()));
    options.check(off.width(), off.height());
    SubProgress searching(progress, 0, search_share);
    const MaskedPlane off_plane = usable_part(off, "the wind-off image", options, searching);
    const MaskedPlane on_plane = usable_part(on, "the wind-on image", options, searching);

    const BaseKind kind = start ? BaseKind::given : BaseKind::guessed;
    BaseField base = [](Point) { return Point{}; };
    if (start)
        base = [start](Point at) {
            const Point to = start(at);
            return Point{to.x - at.x, to.y - at.y};
        };
    const NodeGrid grid{off.width(), off.height(), options.step, options.cell};
    SearchedField found = [&] {
        const Pyramids pyramids(off_plane, on_plane, searching);
        if (options.global == GlobalPass::yes)
            base = moved_as_a_whole(pyramids.levels, options.cell, base, searching);
        return search_field(pyramids.levels, options.step, options.cell, base, kind, searching);
    }();

    SubProgress preparing(progress, search_share, passes_from);
    Refinement refinement(off_plane, on_plane, grid, std::move(found), kind, preparing);
    for (int i = 0; i < options.iterations; ++i) {
        const double share = (1 - passes_from) / options.iterations;
        SubProgress pass(progress, passes_from + i * share, passes_from + (i + 1) * share);
        refinement.pass(pass);
        if (!refinement.has_enough()) break;
    }
    return std::move(refinement).result();
}

}  // namespace vyn
