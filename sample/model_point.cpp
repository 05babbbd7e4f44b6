#include "sample/model_point.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "api/parallel.h"
#include "core/errors.h"
#include "process/model/model_inputs.h"
#include "sample/model_mesh.h"
#include "sample/model_scene.h"
#include "sample/synthetic_light.h"
#include "sample/synthetic_records.h"

namespace vyn {

namespace {

constexpr int fewest_nodes = 500;
constexpr int most_nodes = 5000000;
constexpr int row_block = 8;
constexpr int first_port_number = 101;
constexpr double steepest_dot = 65;  // degrees; more slanted ones are not found on pictures

Marker marker_at(const Vec3& place, std::int32_t number) {
    Marker marker;
    marker.x = place[0];
    marker.y = place[1];
    marker.z = place[2];
    marker.id = number;
    return marker;
}

/// Makes what belongs to one camera.
class View {
  public:
    View(const ModelPointOptions& options, const ModelCamera& camera, const ModelScene& scene,
         const ModelMotion& motion)
        : options_(options.point),
          camera_(camera),
          scene_(scene),
          motion_(motion),
          response_(synthetic_paint(), synthetic_flow()) {}

    SyntheticPoint make(Progress& progress) const {
        SyntheticPoint point;
        point.options = options_;
        point.lens = camera_.recorder.lens;
        point.dark_level = synthetic_dark_level;
        point.camera = camera_.recorder.record();
        point.paint = synthetic_paint();
        point.flow = synthetic_flow();
        SubProgress pictures(progress, 0, 0.7);
        SubProgress truth(progress, 0.7, 1);
        take_pictures(
            camera_.recorder, options_, [this](Point ideal) { return light(ideal); }, point,
            pictures);
        put_truth(point, truth);
        put_markers(point);
        return point;
    }

    double quantity(double pressure) const {
        return in_quantity(options_.quantity, pressure, response_.ratio(pressure),
                           synthetic_flow());
    }

  private:
    PixelLight light(Point ideal) const {
        const ModelRay ray = camera_.ray(ideal);
        PixelLight result{ModelScene::ground_counts, ModelScene::ground_counts};
        if (const auto hit = model_shape::nearest_hit(ray, 0))
            result.wind_off = scene_.light(hit->place);
        if (const auto hit = model_shape::nearest_hit(motion_.seen_by_model(ray), motion_.tip))
            result.wind_on =
                scene_.light(hit->place) / response_.ratio(scene_.pressure(hit->place));
        return result;
    }

    void put_truth(SyntheticPoint& point, Progress& progress) const {
        point.truth = image(options_.width, options_.height);
        point.truth.name = "truth";
        point.truth.quantity = quantity_of(options_.quantity);
        if (options_.quantity == FieldQuantity::pressure) point.truth.unit = point.flow.p_unit;
        parallel_rows(options_.height, row_block, progress, [&](int y0, int y1) {
            for (int y = y0; y < y1; ++y)
                for (int x = 0; x < options_.width; ++x) {
                    const auto hit =
                        model_shape::nearest_hit(camera_.ray({double(x), double(y)}), 0);
                    point.truth.mask()(x, y) = hit ? 0 : 1;
                    point.truth.values()(x, y) =
                        hit ? static_cast<float>(quantity(scene_.pressure(hit->place))) : 0;
                }
        });
    }

    /// Whether the camera sees a place on the surface, and not too slanted for a dot.
    bool sees(const SurfacePlace& at) const {
        const Vec3 sight = camera_.centre() - at.place;
        const double cosine = dot(model_shape::normal_at(at), sight) / length(sight);
        if (cosine < std::cos(steepest_dot * std::numbers::pi / 180)) return false;
        const Point raw = camera_.raw(at.place);
        if (!(raw.x > 0 && raw.y > 0 && raw.x < options_.width - 1 && raw.y < options_.height - 1))
            return false;
        const auto hit = model_shape::nearest_hit(camera_.ray(camera_.ideal(at.place)), 0);
        return !hit || hit->distance > length(sight) - scene_.dot_radius();
    }

    void put_markers(SyntheticPoint& point) const {
        for (MarkerSet* set :
             {&point.wind_off_markers, &point.wind_on_markers, &point.truth_markers, &point.ports})
            set->hasX = set->hasY = true;
        for (const ModelDot& dot : scene_.dots()) {
            if (!sees(dot.surface)) continue;
            const Vec3& place = dot.surface.place;
            const auto put = [&](MarkerSet& set, Point pixel) {
                set.markers.push_back(vyn::marker_at(pixel, dot.number));
            };
            put(point.wind_off_markers, camera_.raw(place));
            put(point.wind_on_markers, camera_.raw(motion_.moved(place)));
            put(point.truth_markers, camera_.ideal(place));
        }
        point.ports.hasF = true;
        point.ports.functionName = "P";
        std::int32_t number = first_port_number;
        for (const SurfacePlace& port : scene_.ports()) {
            Marker marker = vyn::marker_at(camera_.ideal(port.place), number++);
            marker.f = scene_.pressure(port);
            if (sees(port)) point.ports.markers.push_back(marker);
        }
    }

    const SyntheticOptions& options_;
    const ModelCamera& camera_;
    const ModelScene& scene_;
    const ModelMotion& motion_;
    PaintResponse response_;
};

/// The wing's edges from tip to tip, closer together at the tips.
std::array<std::vector<Vec3>, 2> wing_edges() {
    constexpr int points = 201;
    std::array<std::vector<Vec3>, 2> edges;
    for (int i = 0; i < points; ++i) {
        const double y = -model_shape::half_span * std::cos(std::numbers::pi * i / (points - 1));
        for (std::size_t e = 0; e < 2; ++e)
            edges[e].push_back(model_shape::wing_place(double(e), y, SurfacePlace::Part::upper));
    }
    return edges;
}

}  // namespace

std::string problem_of(const ModelPointOptions& options) {
    if (std::string problem = problem_of(options.point); !problem.empty()) return problem;
    if (options.mesh_nodes < fewest_nodes || options.mesh_nodes > most_nodes)
        return "a mesh of " + std::to_string(options.mesh_nodes) +
               " nodes: " + std::to_string(fewest_nodes) + " to " + std::to_string(most_nodes) +
               " are possible";
    if (options.cameras < 1 || options.cameras > 2)
        return std::to_string(options.cameras) + " cameras: 1 or 2 are possible";
    if (options.point.channels != SyntheticOptions::Channels::single || options.point.bending != 0)
        return "a point in space has a single channel and bends as its order says";
    return {};
}

ModelPoint make_model_point(const ModelPointOptions& options, Progress& progress) {
    if (const std::string problem = problem_of(options); !problem.empty())
        throw AlgoError("Algorithm error!", problem);
    ModelPoint point;
    point.options = options;
    for (int i = 0; i < options.cameras; ++i)
        point.cameras.push_back(model_camera(options.point, i));
    const double pixel = point.cameras.front().mm_per_pixel();
    const ModelScene scene(pixel, options.point.seed);
    point.motion = model_motion(options.point.order, pixel);

    point.markers.hasX = point.markers.hasY = point.markers.hasZ = true;
    for (const ModelDot& dot : scene.dots())
        point.markers.markers.push_back(marker_at(dot.surface.place, dot.number));
    point.edges = wing_edges();
    ModelMesh mesh = model_mesh(options.mesh_nodes);
    std::vector<NodeView> node_views;
    for (int i = 0; i < options.cameras; ++i) {
        const double share = 1.0 / options.cameras;
        SubProgress pictures(progress, i * share, (i + 0.8) * share);
        SubProgress nodes(progress, (i + 0.8) * share, (i + 1) * share);
        const ModelCamera& camera = point.cameras[static_cast<std::size_t>(i)];
        point.views.push_back(View(options, camera, scene, point.motion).make(pictures));
        node_views.push_back(view_nodes(mesh, camera, nodes));
    }

    const image& truth = point.views.front().truth;
    field_data<double>::Quantity values{mesh_quantity_name(truth), {}, truth.unit, {}};
    const View first(options, point.cameras.front(), scene, point.motion);
    for (const SurfacePlace& place : mesh.places)
        values.values.push_back(first.quantity(scene.pressure(place)));
    point.mesh = std::move(mesh.mesh);
    point.mesh.quantities.push_back(std::move(values));
    for (std::size_t i = 0; i < node_views.size(); ++i) {
        const std::string suffix = i == 0 ? "" : "_2";
        point.mesh.quantities.push_back({"seen" + suffix, std::move(node_views[i].seen), "", {}});
        point.mesh.quantities.push_back(
            {"angle" + suffix, std::move(node_views[i].angle), "deg", {}});
    }
    return point;
}

}  // namespace vyn
