#include "projection/projection.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "api/parallel.h"
#include "core/errors.h"
#include "projection/edge_distance.h"
#include "projection/targets.h"

namespace vyn {

namespace {

using Field = field_data<double>;

constexpr double unseen = std::numeric_limits<double>::quiet_NaN();
/// Smaller footprints, in square pixels, are sampled at a point.
constexpr double point_footprint = 2;
constexpr int targets_per_block = 2048;

enum class Fate : std::uint8_t { seen, off_surface, angle, occlusion, mask, border };

int blocks_of(std::size_t count) {
    return static_cast<int>((count + targets_per_block - 1) / targets_per_block);
}

std::size_t first_of(int block) {
    return static_cast<std::size_t>(block) * targets_per_block;
}

/// What one view says of every target.
struct ViewSamples {
    std::vector<Fate> fate;
    std::vector<float> value;
    std::vector<float> cosine;
    std::vector<float> edge;
    std::vector<float> sigma;
    std::vector<std::int32_t> pixels;

    explicit ViewSamples(std::size_t count)
        : fate(count, Fate::off_surface),
          value(count),
          cosine(count),
          edge(count),
          sigma(count),
          pixels(count) {}
};

class ViewProjector {
  public:
    ViewProjector(const Targets& targets, const ProjectedView& view, double mm_per_unit,
                  const ProjectionOptions& options, bool with_edges, Progress& progress)
        : targets_(targets),
          view_(view),
          options_(options),
          geometry_(view, mm_per_unit),
          sampler_(*view.field, options.min_valid,
                   options.marker_patch > 0 ? options.marker_patch + options.edge_px : 0, progress),
          least_cosine_(std::cos(options.obliqueness * std::numbers::pi / 180)),
          lift_(options.tolerance * targets.prepared().surface.diagonal) {
        project_vertices(progress);
        if (with_edges)
            edges_ = edge_distance(sampler_, geometry_, targets.prepared(), view.field->width(),
                                   view.field->height(), progress);
    }

    void run(std::size_t begin, std::size_t end, ViewSamples& samples) const {
        Block block;
        Target target;
        for (std::size_t i = begin; i < end; ++i)
            look(i, target, samples, block);
        Quads quads;
        std::vector<std::uint8_t> hidden(block.lines.size());
        targets_.prepared().rays.hidden(block.lines, hidden);
        std::vector<const Candidate*> seen;
        std::vector<double> x;
        std::vector<double> y;
        for (const Candidate& candidate : block.candidates) {
            std::size_t free = 0;
            for (std::size_t k = 0; k < candidate.lines; ++k)
                free += !hidden[candidate.first_line + k];
            // A cell is seen when three of its places are, or all of fewer.
            if (free < std::min<std::size_t>(candidate.lines, 3)) {
                samples.fate[candidate.target] = Fate::occlusion;
            } else {
                seen.push_back(&candidate);
                x.push_back(candidate.pixel.x);
                y.push_back(candidate.pixel.y);
            }
        }
        FieldSampler::SplineSamples splines;
        sampler_.sample_spline(x, y, splines);
        for (std::size_t i = 0; i < seen.size(); ++i)
            sample(
                *seen[i], [&] { return sampler_.at(seen[i]->pixel, splines, i); }, samples, quads);
    }

  private:
    using Quads = std::vector<std::array<Point, 4>>;
    struct Candidate {
        std::size_t target;
        std::size_t first_line;
        std::size_t lines;
        Point pixel;
        Vec3 place;
    };
    struct Block {
        std::vector<SightLine> lines;
        std::vector<Candidate> candidates;
    };

    /// Where the view sees every node; NaN where it does not.
    void project_vertices(Progress& progress) {
        const auto& vertices = targets_.prepared().mesh.vertices;
        pixels_.resize(vertices.size());
        parallel_rows(blocks_of(vertices.size()), 1, progress, [&](int b0, int b1) {
            const std::size_t begin = first_of(b0);
            const std::size_t count = std::min(vertices.size(), first_of(b1)) - begin;
            std::vector<double> x(count);
            std::vector<double> y(count);
            geometry_.pixels({vertices.data() + begin, count}, x.data(), y.data());
            for (std::size_t i = 0; i < count; ++i)
                pixels_[begin + i] = {x[i], y[i]};
        });
    }

    /// The cheap tests; who passes them gets rays.
    void look(std::size_t index, Target& target, ViewSamples& samples, Block& block) const {
        targets_.get(index, target);
        if (target.normals.empty()) return;
        const Vec3 to_camera = geometry_.centre() - target.place;
        const double distance = length(to_camera);
        double cosine = -1;
        Vec3 lift{};
        for (const Vec3& normal : target.normals) {
            double c = dot(normal, to_camera) / distance;
            const bool turned = c < 0 && target.both_sides;
            if (turned) c = -c;
            if (c <= cosine) continue;
            cosine = c;
            lift = (turned ? -lift_ : lift_) * normal;
        }
        samples.fate[index] = Fate::angle;
        if (!(cosine >= least_cosine_)) return;
        samples.fate[index] = Fate::border;
        const Point pixel = targets_.at_nodes()
                                ? pixels_[index]
                                : geometry_.pixel(target.place).value_or(Point{unseen, unseen});
        if (!(pixel.x > -1 && pixel.y > -1 && pixel.x < view_.field->width() &&
              pixel.y < view_.field->height()))
            return;
        samples.cosine[index] = static_cast<float>(cosine);
        block.candidates.push_back(
            {index, block.lines.size(), target.probes.size(), pixel, target.place});
        for (const Vec3& probe : target.probes)
            block.lines.push_back({probe + lift, geometry_.centre(), target.own_place});
    }

    /// `at_pixel` gives the value at the candidate's pixel.
    template <class AtPixel>
    void sample(const Candidate& candidate, const AtPixel& at_pixel, ViewSamples& samples,
                Quads& quads) const {
        const std::size_t i = candidate.target;
        const auto found = value_of(candidate, at_pixel, quads);
        if (!found) {
            samples.fate[i] = Fate::mask;
            return;
        }
        samples.fate[i] = Fate::seen;
        samples.value[i] = static_cast<float>(found->value);
        samples.pixels[i] = found->pixels;
        if (!edges_.empty()) {
            const int x =
                std::clamp(static_cast<int>(std::lround(candidate.pixel.x)), 0, edges_.width() - 1);
            const int y = std::clamp(static_cast<int>(std::lround(candidate.pixel.y)), 0,
                                     edges_.height() - 1);
            samples.edge[i] = edges_(x, y);
        }
        if (view_.covariance.rows() >= 6)
            samples.sigma[i] = static_cast<float>(geometry_.sigma(
                candidate.place, candidate.pixel, sampler_.gradient(candidate.pixel)));
    }

    /// `quads` is room to work in.
    template <class AtPixel>
    std::optional<FieldSample> value_of(const Candidate& candidate, const AtPixel& at_pixel,
                                        Quads& quads) const {
        using Sampling = ProjectionOptions::Sampling;
        if (options_.sampling == Sampling::point || !targets_.at_nodes()) return at_pixel();
        quads.clear();
        double area = 0;
        const Surface& surface = targets_.prepared().surface;
        for (const int* face = targets_.faces_begin(candidate.target);
             face != targets_.faces_end(candidate.target); ++face) {
            const auto& corners = surface.triangles[static_cast<std::size_t>(*face)];
            std::array<Point, 3> seen;
            std::size_t own = 0;
            bool whole = true;
            for (std::size_t c = 0; c < 3; ++c) {
                const auto vertex = static_cast<std::size_t>(corners[c]);
                if (vertex == candidate.target) own = c;
                seen[c] = pixels_[vertex];
                whole &= !std::isnan(seen[c].x);
            }
            if (!whole) continue;
            quads.push_back(dual_quad(seen, own));
            area += quad_area(quads.back());
        }
        if (area < point_footprint && options_.sampling == Sampling::automatic) return at_pixel();
        return sampler_.mean(candidate.pixel, quads);
    }

    /// A corner's third of a triangle: corner, middle of a side, centroid, middle of the other.
    static std::array<Point, 4> dual_quad(const std::array<Point, 3>& t, std::size_t own) {
        const Point& a = t[own];
        const Point& b = t[(own + 1) % 3];
        const Point& c = t[(own + 2) % 3];
        return {a, Point{(a.x + b.x) / 2, (a.y + b.y) / 2},
                Point{(t[0].x + t[1].x + t[2].x) / 3, (t[0].y + t[1].y + t[2].y) / 3},
                Point{(a.x + c.x) / 2, (a.y + c.y) / 2}};
    }

    static double quad_area(const std::array<Point, 4>& q) {
        return std::abs((q[2].x - q[0].x) * (q[3].y - q[1].y) -
                        (q[3].x - q[1].x) * (q[2].y - q[0].y)) /
               2;
    }

    const Targets& targets_;
    const ProjectedView& view_;
    const ProjectionOptions& options_;
    ViewGeometry geometry_;
    FieldSampler sampler_;
    std::vector<Point> pixels_;  ///< by vertex of the mesh
    double least_cosine_;
    double lift_;
    Bitmap<float> edges_;
};

double smoothstep(double x) {
    x = std::clamp(x, 0.0, 1.0);
    return x * x * (3 - 2 * x);
}

/// The views' values at the targets become one.
class Blending {
  public:
    Blending(const std::vector<ViewSamples>& views, const std::string& name,
             const std::string& unit, const ProjectionOptions& options, bool with_sigma)
        : views_(views), options_(options), with_sigma_(with_sigma) {
        const std::size_t count = views.front().fate.size();
        const auto place = options.location == ProjectionOptions::Location::nodes
                               ? Field::Place::node
                               : Field::Place::cell;
        const auto add = [&](const std::string& quantity, const std::string& of_unit) {
            result.push_back({quantity, std::vector<double>(count, unseen), of_unit, place});
        };
        add(name, unit);
        add("view", "");
        add("views", "");
        add("angle", "deg");
        add("px", "");
        add("spread", unit);
        if (with_sigma) add("sigma_pose", unit);
    }

    /// Of one target; `weight` is room to work in.
    void blend(std::size_t i, std::vector<double>& weight) {
        const bool alone = views_.size() == 1;
        double clearest = 0;
        for (const ViewSamples& view : views_)
            if (view.fate[i] == Fate::seen)
                clearest = std::max(clearest, static_cast<double>(view.edge[i]));
        double sum = 0;
        double weights = 0;
        double best = -1;
        std::size_t best_view = 0;
        int seen = 0;
        weight.assign(views_.size(), 0);
        for (std::size_t v = 0; v < views_.size(); ++v) {
            const ViewSamples& view = views_[v];
            if (view.fate[i] != Fate::seen) continue;
            ++seen;
            weight[v] = alone ? 1 : weight_of(view, i, clearest);
            if (weight[v] > best) {
                best = weight[v];
                best_view = v;
            }
        }
        if (seen == 0) return;
        if (options_.blend == ProjectionOptions::Blend::best || !(best > 0))
            for (std::size_t v = 0; v < weight.size(); ++v)
                weight[v] = v == best_view ? 1 : 0;
        double variance = 0;
        double of_means = 0;
        for (std::size_t v = 0; v < views_.size(); ++v) {
            const double weighted = weight[v] * static_cast<double>(views_[v].value[i]);
            sum += weighted;
            of_means += weighted * weighted / std::max(1, views_[v].pixels[i]);
            weights += weight[v];
            const double sigma = weight[v] * static_cast<double>(views_[v].sigma[i]);
            variance += sigma * sigma;
        }
        const double value = (options_.independent_errors ? std::sqrt(of_means) : sum) / weights;
        double squares = 0;
        double spread_weights = 0;
        for (std::size_t v = 0; v < views_.size(); ++v) {
            if (views_[v].fate[i] != Fate::seen) continue;
            const double off = static_cast<double>(views_[v].value[i]) - value;
            squares += off * off;
            spread_weights += 1;
        }
        const ViewSamples& main = views_[best_view];
        result[0].values[i] = value;
        result[1].values[i] = static_cast<double>(best_view + 1);
        result[2].values[i] = seen;
        result[3].values[i] =
            std::acos(std::min(1.0, static_cast<double>(main.cosine[i]))) * 180 / std::numbers::pi;
        result[4].values[i] = main.pixels[i];
        if (seen > 1) result[5].values[i] = std::sqrt(squares / spread_weights);
        if (with_sigma_) result[6].values[i] = std::sqrt(variance) / weights;
    }

    std::vector<Field::Quantity> result;

  private:
    double weight_of(const ViewSamples& view, std::size_t i, double clearest) const {
        const double edge = static_cast<double>(view.edge[i]);
        if (edge < options_.edge_px && clearest >= options_.edge_px) return 0;
        const double feather = options_.feather_px > 0 ? smoothstep(edge / options_.feather_px) : 1;
        return std::pow(static_cast<double>(view.cosine[i]), options_.blend_power) *
               std::max(feather, 1e-6);
    }

    const std::vector<ViewSamples>& views_;
    const ProjectionOptions& options_;
    bool with_sigma_;
};

ViewCounts count(const ViewSamples& samples) {
    ViewCounts counts;
    for (const Fate fate : samples.fate)
        switch (fate) {
            case Fate::seen:
                ++counts.seen;
                break;
            case Fate::off_surface:
                ++counts.off_surface;
                break;
            case Fate::angle:
                ++counts.by_angle;
                break;
            case Fate::occlusion:
                ++counts.by_occlusion;
                break;
            case Fate::mask:
                ++counts.by_mask;
                break;
            case Fate::border:
                ++counts.by_border;
                break;
        }
    return counts;
}

void check_sizes(const std::vector<ProjectedView>& views) {
    if (views.empty()) throw AlgoError("Algorithm error!", "there is no field to project");
    for (const ProjectedView& view : views) {
        view.field->check_planes();
        if (view.field->width() != view.camera.width || view.field->height() != view.camera.height)
            throw AlgoError("Algorithm error!",
                            view.name + ": the field has " + std::to_string(view.field->width()) +
                                " x " + std::to_string(view.field->height()) +
                                " pixels, its camera " + std::to_string(view.camera.width) + " x " +
                                std::to_string(view.camera.height));
    }
}

}  // namespace

void measure_cover(const PreparedMesh& prepared, const Field::Quantity& value,
                   ProjectionResult& result) {
    double all_covered = 0;
    double all = 0;
    const bool nodes = value.place == Field::Place::node;
    for (const auto& zone : prepared.mesh.zones) {
        double covered = 0;
        double area = 0;
        for (auto t = zone.first_triangle; t < zone.end_triangle(); ++t) {
            if (!prepared.surface.counts[t]) continue;
            const double size = length(prepared.surface.area_vector(prepared.mesh, t)) / 2;
            area += size;
            const auto known = [&](int i) {
                return !std::isnan(value.values[static_cast<std::size_t>(i)]);
            };
            const bool seen = nodes ? std::ranges::all_of(prepared.mesh.triangles[t], known)
                                    : known(prepared.mesh.cell_of(t));
            if (seen) covered += size;
        }
        result.covered_share.push_back(area > 0 ? covered / area : 0);
        all_covered += covered;
        all += area;
    }
    result.covered = all > 0 ? all_covered / all : 0;
}

ProjectionResult project_fields(const PreparedMesh& prepared, double mm_per_unit,
                                const std::vector<ProjectedView>& views, const std::string& name,
                                const std::string& unit, const ProjectionOptions& options,
                                Progress& progress) {
    check_sizes(views);
    const Targets targets(prepared, options);
    const bool several = views.size() > 1;
    ProjectionResult result;
    std::vector<ViewSamples> samples;
    const bool with_sigma = std::ranges::all_of(
        views, [](const ProjectedView& view) { return view.covariance.rows() >= 6; });
    for (std::size_t v = 0; v < views.size(); ++v) {
        SubProgress part(progress, double(v) / double(views.size()),
                         double(v + 1) / double(views.size()));
        Progress quiet;
        const ViewProjector projector(targets, views[v], mm_per_unit, options, several, quiet);
        ViewSamples& view = samples.emplace_back(targets.count());
        parallel_rows(blocks_of(targets.count()), 1, part, [&](int b0, int b1) {
            for (int b = b0; b < b1; ++b)
                projector.run(first_of(b), std::min(first_of(b + 1), targets.count()), view);
        });
        result.counts.push_back(count(view));
    }
    Blending blending(samples, name, unit, options, with_sigma);
    Progress quiet;
    parallel_rows(blocks_of(targets.count()), 1, quiet, [&](int b0, int b1) {
        std::vector<double> weight;
        const std::size_t end = std::min(first_of(b1), targets.count());
        for (std::size_t i = first_of(b0); i < end; ++i)
            blending.blend(i, weight);
    });
    result.quantities = std::move(blending.result);
    measure_cover(prepared, result.quantities.front(), result);
    return result;
}

}  // namespace vyn
