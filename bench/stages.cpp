#include "bench/stages.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "align/dots/marker_centroid.h"
#include "align/dots/marker_detection.h"
#include "align/image_map.h"
#include "api/correction.h"
#include "api/extended_edges.h"
#include "api/filters.h"
#include "api/parallel.h"
#include "api/pixel_ops.h"
#include "api/resample.h"
#include "uncertainty/uncertainty_map.h"

namespace vyn::bench {

namespace {

class NullSink final : public Sink {
  public:
    void take(const image&) override {}
    void take(const Bitmap<float>&) override {}
};

/// FNV-1a over the elements.
class DigestSink final : public Sink {
  public:
    void take(const image& picture) override {
        take(picture.values());
        take_plane(picture.mask());
        if (picture.has_region()) take_plane(picture.region());
    }
    void take(const Bitmap<float>& plane) override { take_plane(plane); }
    std::uint64_t value() const { return value_; }

  private:
    template <class T>
    void take_plane(const Bitmap<T>& plane) {
        for (int y = 0; y < plane.height(); ++y)
            for (int x = 0; x < plane.width(); ++x) {
                std::uint32_t bits = 0;
                std::memcpy(&bits, &plane.row(y)[x], sizeof(T));
                value_ = (value_ ^ bits) * 0x100000001b3ULL;
            }
    }
    std::uint64_t value_ = 0xcbf29ce484222325ULL;
};

image corrected(const Scene& scene, const image& raw) {
    Progress progress;
    return correct_intensity(raw, scene.dark_level, &scene.dark, &scene.flat, progress);
}

image undistorted(const Scene& scene, const image& picture) {
    Progress progress;
    return undistort(picture, scene.lens, progress);
}

image aligned(const Scene& scene, const image& picture) {
    Progress progress;
    return resample(picture, scene.size, scene.size, row_map(scene.off_from_on), progress);
}

SplineCoefficients cubic(const image& picture) {
    Progress progress;
    return SplineCoefficients(picture.values(), picture.mask(), 3, picture.edges, progress);
}

Bitmap<float> continued(const image& picture) {
    constexpr int reach = 11;
    Progress progress;
    Bitmap<float> values(picture.width(), picture.height());
    extend_edges(picture.values(), picture.mask(), reach, {values.row(0), values.stride()},
                 progress);
    return values;
}

image ratio_of(const image& off, const image& on) {
    Progress progress;
    return form_ratio(off, on, {}, progress);
}

image converted(const Scene& scene, const image& ratio) {
    Progress progress;
    return convert_field(ratio, scene.conversion, progress);
}

image field_of(const Scene& scene, const image& off, const image& on) {
    return converted(scene, ratio_of(off, on));
}

/// The alignment's mapping and waves of 1 px besides, nodes every 8 pixels: what an alignment by
/// texture gives.
std::shared_ptr<const DisplacementField> bent(const Scene& scene) {
    constexpr int step = 8;
    constexpr int ring = DisplacementField::ring;
    const int nodes = (scene.size - 1) / step + 1 + 2 * ring;
    Bitmap<double> u(nodes, nodes);
    Bitmap<double> v(nodes, nodes);
    for (int r = 0; r < nodes; ++r)
        for (int c = 0; c < nodes; ++c) {
            const Point at{double(step) * (c - ring), double(step) * (r - ring)};
            const Point to = apply_poly(scene.off_from_on, at);
            u(c, r) = to.x - at.x + std::sin(12 * at.y / scene.size);
            v(c, r) = to.y - at.y + std::sin(9 * at.x / scene.size);
        }
    return std::make_shared<const DisplacementField>(step, u, v);
}

/// The corrected image through a map and the lens.
image sampled_once(const Scene& scene, const image& picture, ImageMap map) {
    map.then(scene.lens);
    Progress progress;
    return resample(picture, scene.size, scene.size, map.rows(), progress);
}

image field_of_point_once(const Scene& scene) {
    const image off = undistorted(scene, corrected(scene, scene.off));
    return field_of(
        scene, off,
        sampled_once(scene, corrected(scene, scene.on), ImageMap().then(scene.off_from_on)));
}

image field_of_point(const Scene& scene) {
    const image off = undistorted(scene, corrected(scene, scene.off));
    const image on = aligned(scene, undistorted(scene, corrected(scene, scene.on)));
    return field_of(scene, off, on);
}

/// The point of `chain_once` as its uncertainty needs it: noise of the camera, its flat field, and
/// an alignment as sure as a tenth of a pixel.
UncertaintyMap uncertainty_of(const Inputs& inputs) {
    const Scene& scene = inputs.scene;
    UncertainPoint point;
    point.ratio = &inputs.ratio;
    point.field = &inputs.field;
    NoiseLine noise;
    noise.source = NoiseSource::transfer;
    noise.offset = 9;
    noise.slope = 0.5;
    const RowMap off = ImageMap().then(scene.lens).rows();
    const RowMap on = ImageMap().then(scene.off_from_on).then(scene.lens).rows();
    point.pictures = {{&inputs.undistorted_off, off, {}, noise, &scene.flat},
                      {&inputs.aligned_on, on, {}, noise, &scene.flat}};
    point.shared = {{.a = 0, .b = 1, .flat_relative = 0.002, .same_dark = false}};
    point.moved = {{{{1, -1}}, uniform_variance(0.1, scene.size, scene.size)}};
    point.conversion = scene.conversion;
    point.law.by_log_ratio = {0, scene.conversion.law.b, 2 * scene.conversion.law.c};
    point.law.temperature = {1e4, 0, 0, 0, 0};
    Progress progress;
    return uncertainty_map(point, progress);
}

/// `off`, the ground excluded: no paint is as dark.
image masked_off(const Scene& scene) {
    image picture = scene.off;
    exclude_below(picture, scene.dark_level);
    return picture;
}

/// Centres of the dots drawn on `off`: a grid of 64 pixels, off whole pixels.
std::vector<Point> dot_centres(int n) {
    std::vector<Point> centres;
    for (int y = 48; y < n - 48; y += 64)
        for (int x = 48; x < n - 48; x += 64)
            centres.push_back({x + 0.3, y - 0.2});
    return centres;
}

/// `off` with round dark dots of a radius of 3 pixels, half as bright as the paint.
image dotted_off(const Scene& scene, const std::vector<Point>& centres) {
    constexpr int reach = 6;
    constexpr double radius = 3;
    image picture = masked_off(scene);
    for (const Point& centre : centres)
        for (int dy = -reach; dy <= reach; ++dy)
            for (int dx = -reach; dx <= reach; ++dx) {
                const int x = static_cast<int>(centre.x) + dx;
                const int y = static_cast<int>(centre.y) + dy;
                const double r = std::hypot(x - centre.x, y - centre.y);
                const double depth = 0.5 / (1 + std::exp(4 * (r - radius)));
                picture.values()(x, y) *= static_cast<float>(1 - depth);
            }
    return picture;
}

Bitmap<float> as_plane(const std::vector<Point>& points) {
    Bitmap<float> plane(2, static_cast<int>(points.size()));
    for (int i = 0; i < plane.height(); ++i) {
        plane(0, i) = static_cast<float>(points[static_cast<std::size_t>(i)].x);
        plane(1, i) = static_cast<float>(points[static_cast<std::size_t>(i)].y);
    }
    return plane;
}

Bitmap<float> detected(const image& picture) {
    Progress progress;
    std::vector<Point> found;
    for (const Marker& marker : find_markers(picture, {}, progress).markers)
        found.push_back({marker.x, marker.y});
    return as_plane(found);
}

/// Every dot refined from a pixel beside its centre.
Bitmap<float> refined(const image& picture, std::vector<Point> points, MarkerRefinement refinement,
                      int box) {
    for (Point& point : points) {
        point = {std::round(point.x) + 1, std::round(point.y)};
        refine_marker(picture, point, box, DotPolarity::dark, refinement);
    }
    return as_plane(points);
}

/// A filter as the chain runs it by default, on windows of size x size pixels.
Stage filter_stage(std::string name, FilterType type, int size, const image& picture) {
    FilterOptions options;
    options.type = type;
    options.dx = options.dy = size;
    return {std::move(name), [options, &picture](Sink& sink) {
                Progress progress;
                sink.take(filtered(picture, options, progress));
            }};
}

Bitmap<float> evaluated(const Scene& scene, const SplineCoefficients& spline) {
    constexpr int tile = 256;
    const int n = scene.size;
    const RowMap map = row_map(scene.off_from_on);
    const SplineEvaluation evaluate(spline);
    Bitmap<float> out(n, n);
    Progress progress;
    parallel_rows(n, 16, progress, [&](int y0, int y1) {
        double x[tile];
        double y[tile];
        for (int x0 = 0; x0 < n; x0 += tile)
            for (int row = y0; row < y1; ++row) {
                const int count = std::min(tile, n - x0);
                map(x0, count, row, x, y);
                evaluate(x, y, count, out.row(row) + x0);
            }
    });
    return out;
}

void triad(const Bitmap<float>& b, const Bitmap<float>& c, Bitmap<float>& a) {
    Progress progress;
    parallel_rows(a.height(), 32, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const float* const from_b = b.row(y);
            const float* const from_c = c.row(y);
            float* const to = a.row(y);
            for (int x = 0; x < a.width(); ++x)
                to[x] = from_b[x] + 2 * from_c[x];
        }
    });
}

}  // namespace

Inputs::Inputs(int n)
    : scene(n),
      bending(bent(scene)),
      corrected_off(corrected(scene, scene.off)),
      corrected_on(corrected(scene, scene.on)),
      undistorted_off(undistorted(scene, corrected_off)),
      undistorted_on(undistorted(scene, corrected_on)),
      aligned_on(aligned(scene, undistorted_on)),
      ratio(ratio_of(undistorted_off, aligned_on)),
      field(converted(scene, ratio)),
      filter_source(masked_off(scene)),
      dots(dot_centres(n)),
      dotted(dotted_off(scene, dots)),
      coefficients(cubic(corrected_off)),
      triad_a(n, n, 0),
      triad_b(n, n, 1),
      triad_c(n, n, 2) {}

std::vector<Stage> our_stages(Inputs& inputs) {
    const Scene& scene = inputs.scene;
    std::vector<Stage> stages{
        {"triad",
         [&](Sink& sink) {
             triad(inputs.triad_b, inputs.triad_c, inputs.triad_a);
             sink.take(inputs.triad_a);
         }},
        {"correct_fused", [&](Sink& sink) { sink.take(corrected(scene, scene.off)); }},
        {"prefilter", [&](Sink& sink) { sink.take(cubic(inputs.corrected_off).padded()); }},
        {"extend_edges", [&](Sink& sink) { sink.take(continued(inputs.corrected_off)); }},
        {"spline_eval", [&](Sink& sink) { sink.take(evaluated(scene, inputs.coefficients)); }},
        {"undistort", [&](Sink& sink) { sink.take(undistorted(scene, inputs.corrected_off)); }},
        {"polywarp", [&](Sink& sink) { sink.take(aligned(scene, inputs.undistorted_on)); }},
        {"mapwarp",
         [&](Sink& sink) {
             sink.take(sampled_once(scene, inputs.corrected_on, ImageMap().then(inputs.bending)));
         }},
        {"field_fused",
         [&](Sink& sink) {
             sink.take(field_of(scene, inputs.undistorted_off, inputs.aligned_on));
         }},
        {"sigma", [&](Sink& sink) { sink.take(uncertainty_of(inputs).total); }},
        {"chain", [&](Sink& sink) { sink.take(field_of_point(scene)); }},
        {"chain_once", [&](Sink& sink) { sink.take(field_of_point_once(scene)); }},
        {"detect", [&](Sink& sink) { sink.take(detected(inputs.dotted)); }},
        {"centroid_surface",
         [&](Sink& sink) {
             sink.take(refined(inputs.dotted, inputs.dots, MarkerRefinement::surface, 7));
         }},
        {"centroid_dot",
         [&](Sink& sink) {
             sink.take(refined(inputs.dotted, inputs.dots, MarkerRefinement::dot, 13));
         }},
    };
    for (const int size : {3, 5, 9, 15}) {
        const std::string digits = std::to_string(size);
        const image& source = inputs.filter_source;
        stages.push_back(filter_stage("median" + digits, FilterType::median, size, source));
        stages.push_back(filter_stage("box" + digits + "_masked", FilterType::box, size, source));
        stages.push_back(
            filter_stage("gauss" + digits + "_masked", FilterType::gauss, size, source));
        stages.push_back(
            filter_stage("range" + digits + "_masked", FilterType::range_gauss, size, source));
    }
    return stages;
}

std::uint64_t digest(const Stage& stage) {
    DigestSink sink;
    stage.run(sink);
    return sink.value();
}

double time_once(const Stage& stage) {
    NullSink sink;
    const auto start = std::chrono::steady_clock::now();
    stage.run(sink);
    const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
    return spent.count();
}

void check_same_bits(const Stage& stage) {
    const auto digest_with = [&](int threads) {
        const ThreadLimit limit(threads);
        return digest(stage);
    };
    if (digest_with(1) != digest_with(2))
        throw std::runtime_error(stage.name + ": one and two threads give different bits");
}

}  // namespace vyn::bench
