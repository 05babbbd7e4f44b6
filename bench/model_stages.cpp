#include "bench/model_stages.h"

#include <chrono>
#include <cmath>
#include <memory>
#include <random>
#include <stdexcept>

#include <unistd.h>

#include "api/image_io.h"
#include "process/model/association.h"
#include "projection/field_sampler.h"
#include "projection/view_geometry.h"
#include "render/model/model_painter.h"
#include "resect/adjustment.h"
#include "resect/pairing.h"
#include "resect/start.h"
#include "sample/model_mesh.h"
#include "sample/synthetic_point.h"

namespace vyn::bench {

namespace {

constexpr int side = 2048;
constexpr int nodes = 402000;  // asked for: 535 000
constexpr double marker_noise = 0.05;
constexpr std::size_t true_dots = 48;

Progress silent;

field_data<double> bench_mesh() {
    return model_mesh(nodes).mesh;
}

ModelCamera bench_camera() {
    SyntheticOptions options;
    options.width = options.height = side;
    return model_camera(options, 0);
}

/// Smooth, a 7 x 7 dot excluded in each 97 x 97 pixels.
image bench_field() {
    image field(side, side);
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            field.values()(x, y) =
                static_cast<float>(9e4 + 1e4 * std::sin(0.02 * x) * std::cos(0.03 * y));
            field.mask()(x, y) = x % 97 < 7 && y % 97 < 7;
        }
    return field;
}

/// The lines of sight that the projection asks for.
void add_lines(ModelInputs& inputs) {
    const ProjectionOptions options;
    const VertexNormals& normals = inputs.prepared.normals;
    const Eigen::Vector3d c = inputs.view.pose.centre();
    const Vec3 centre{c.x(), c.y(), c.z()};
    const double least = std::cos(options.obliqueness * std::acos(-1.0) / 180);
    for (std::size_t v = 0; v < inputs.mesh.vertices.size(); ++v) {
        if (normals.first[v] == normals.first[v + 1]) continue;
        const Vec3& place = inputs.mesh.vertices[v];
        const Vec3& normal = normals.normals[normals.first[v]];
        const Vec3 sight = centre - place;
        if (dot(normal, sight) < least * length(sight)) continue;
        inputs.faced.push_back(place);
        const double lift = options.tolerance * inputs.prepared.surface.diagonal;
        inputs.lines.push_back({place + lift * normal, centre, inputs.prepared.surface.place[v]});
    }
}

void add_markers(ModelInputs& inputs) {
    std::mt19937 random(3);
    const auto uniform = [&](double size) {
        return size * (double(random()) / double(std::mt19937::max()) - 0.5);
    };
    std::normal_distribution<double> noise(0, marker_noise);
    inputs.marker_camera = {2400, 2395, {620, 500, 0, 0}, 1280, 1024};
    inputs.marker_pose.rotation = rotation_of({0.2, -0.35, 0.1});
    inputs.marker_pose.shift = {15, -20, 1200};
    for (int i = 0; i < 60; ++i) {
        Marker marker;
        marker.id = i + 1;
        marker.x = uniform(400);
        marker.y = uniform(300);
        marker.z = uniform(120);
        inputs.markers.push_back(marker);
        const auto pixel = raw_pixel(inputs.marker_camera,
                                     inputs.marker_pose.in_camera({marker.x, marker.y, marker.z}))
                               .value();
        Marker dot;
        dot.id = i + 1;
        const bool is_false = i % 5 == 4;
        dot.x = is_false ? 640 + uniform(900) : pixel.x + noise(random);
        dot.y = is_false ? 512 + uniform(700) : pixel.y + noise(random);
        inputs.dots.push_back(dot);
    }
    for (const DotPair& pair : pairs_by_number(inputs.markers, inputs.dots, marker_noise))
        if (inputs.pairs.size() < 30 && pair.marker % 5 != 4) inputs.pairs.push_back(pair);
    std::shuffle(inputs.dots.begin(), inputs.dots.end(), random);
}

/// Something to colour the faces with.
std::shared_ptr<field_data<double>::Quantity> constant_values(const field_data<double>& mesh) {
    auto values = std::make_shared<field_data<double>::Quantity>();
    for (const auto& place : mesh.vertices)
        values->values.push_back(place[0]);
    return values;
}

}  // namespace

ModelInputs::ModelInputs()
    : mesh(bench_mesh()),
      prepared(mesh, silent),
      field(bench_field()),
      stl(std::filesystem::temp_directory_path() /
          ("vyn_bench_" + std::to_string(getpid()) + ".stl")) {
    const ModelCamera camera = bench_camera();
    view = {"bench", &field, camera.pinhole, camera.pinhole.lens, camera.pose, {}, {}, 0};
    add_lines(*this);
    add_markers(*this);
    register_plugins("*.3dio");
    write_field(mesh, stl, silent);
}

ModelInputs::~ModelInputs() {
    std::error_code ignored;
    std::filesystem::remove(stl, ignored);
}

std::vector<ModelStage> model_stages(const ModelInputs& inputs) {
    const auto count = [](const auto& list) { return static_cast<double>(list.size()); };
    const auto pose = [&inputs] {
        const auto starts = direct_linear_poses(inputs.marker_camera, inputs.pairs);
        Adjustment problem{.cameras = {{inputs.marker_camera, {}}},
                           .views = {{0, starts.at(0), inputs.pairs}},
                           .loss = RobustLoss::none};
        adjust(problem, silent);
    };
    const auto pairing = [&inputs] {
        if (!pairs_by_geometry(inputs.marker_camera, inputs.markers, inputs.dots, 3, marker_noise,
                               silent))
            throw std::runtime_error("the benchmark's dots were not paired");
    };
    // What a mouse does that drags a ring over a dot.
    AssociationScene scene{
        inputs.markers, {std::shared_ptr<void>(), &inputs.prepared}, 1, inputs.marker_camera, {}};
    MarkerSet dots;
    dots.markers = inputs.dots;
    const auto drag = [scene, dots, at_pose = start_association(scene, dots, inputs.marker_pose)] {
        const Associated next = associate(scene, at_pose, dots, 0, dots.markers[0].id);
        if (!next.association.fit || next.association.fit->used < true_dots)
            throw std::runtime_error("the benchmark's dots tell no pose");
        association_rows(scene, next.association, next.dots);
    };
    const auto visibility = [&inputs,
                             hidden = std::vector<std::uint8_t>(inputs.lines.size())]() mutable {
        inputs.prepared.rays.hidden(inputs.lines, hidden);
    };
    const auto sampler = std::make_shared<const FieldSampler>(inputs.field, 0.5, 0, silent);
    const auto node_sample = [&inputs, sampler] {
        const ViewGeometry geometry(inputs.view, 1);
        constexpr std::size_t block = 2048;
        std::vector<double> x(block);
        std::vector<double> y(block);
        FieldSampler::SplineSamples splines;
        double sum = 0;
        for (std::size_t first = 0; first < inputs.faced.size(); first += block) {
            const std::size_t here = std::min(block, inputs.faced.size() - first);
            geometry.pixels({inputs.faced.data() + first, here}, x.data(), y.data());
            sampler->sample_spline({x.data(), here}, {y.data(), here}, splines);
            for (std::size_t i = 0; i < here; ++i)
                if (const auto value = sampler->at({x[i], y[i]}, splines, i)) sum += value->value;
        }
        if (!(sum > 0)) throw std::runtime_error("the benchmark's field was not seen");
    };
    const auto project = [&inputs](const PreparedMesh& prepared) {
        project_fields(prepared, 1, {inputs.view}, "P", "Pa", {}, silent);
    };
    const auto frame = [&inputs, values = constant_values(inputs.mesh)](int width, int height) {
        return [&inputs, values, width, height, faces = std::make_shared<VisibleFaces>(),
                view = view_from(30, 30, inputs.mesh, width, height),
                pixels = std::vector<std::uint32_t>(static_cast<std::size_t>(width) *
                                                    static_cast<std::size_t>(height))]() mutable {
            ModelLook look;
            look.quantity = values.get();
            faces->draw(inputs.mesh, inputs.prepared.surface, view, {}, silent);
            paint_model(inputs.mesh, inputs.prepared.surface, inputs.prepared.normals, *faces, look,
                        {pixels.data(), width}, silent);
        };
    };
    return {{"pose", 1, "pose", pose},
            {"pairing", 1, "pairing", pairing},
            {"drag", 1, "step", drag},
            {"visibility", count(inputs.lines), "ray", visibility},
            {"node_sample", count(inputs.faced), "node", node_sample},
            {"project_known", count(inputs.mesh.vertices), "node",
             [&inputs, project] { project(inputs.prepared); }},
            {"project_first", count(inputs.mesh.vertices), "node",
             [&inputs, project] { project(PreparedMesh(inputs.mesh, silent)); }},
            {"frame", 1, "picture", frame(1000, 800)},
            {"frame_large", 1, "picture", frame(1600, 1000)},
            {"stl_read", count(inputs.mesh.triangles), "triangle",
             [&inputs] { read_field(inputs.stl, silent); }}};
}

double time_once(const ModelStage& stage) {
    const auto start = std::chrono::steady_clock::now();
    stage.run();
    const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
    return spent.count();
}

}  // namespace vyn::bench
