#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include <gtest/gtest.h>

#include "api/parallel.h"
#include "render/iso_levels.h"
#include "render/model/model_picture.h"
#include "tests/support/meshes.h"

namespace vyn::test {
namespace {

Progress silent;

/// Triangles anywhere round the origin, some large.
Mesh scattered_triangles(int count) {
    Mesh mesh;
    std::uint64_t state = 7;
    const auto random = [&] {
        state = state * 6364136223846793005U + 1442695040888963407U;
        return double(state >> 33) / double(1U << 31) * 2 - 1;
    };
    for (int t = 0; t < count; ++t) {
        const Vec3 middle{3 * random(), 3 * random(), 3 * random()};
        const double size = t % 5 == 0 ? 3 : 0.4;
        for (int c = 0; c < 3; ++c)
            mesh.vertices.push_back(middle + size * Vec3{random(), random(), random()});
        mesh.triangles.push_back({3 * t, 3 * t + 1, 3 * t + 2});
    }
    mesh.zones.push_back({"all", 0, mesh.triangles.size(), 0, 0, 0});
    return mesh;
}

/// The eye among the triangles, so that some are behind it and some reach past it.
ModelView inside_view(ModelView::Kind kind) {
    ModelView view;
    view.kind = kind;
    const double c = std::cos(0.4);
    const double s = std::sin(0.4);
    view.rotation = {{{c, s, 0}, {-s, c, 0}, {0, 0, 1}}};
    view.shift = {0.1, -0.2, 1.5};
    view.fx = kind == ModelView::Kind::perspective ? 90 : 20;
    view.fy = 1.1 * view.fx;
    view.cx = 60.3;
    view.cy = 47.8;
    view.width = 120;
    view.height = 100;
    return view;
}

struct Hit {
    double depth = 0;
    int face = -1;
    bool doubtful = false;  ///< near an edge, or two faces at one place
};

/// Every face against the line of sight through a pixel.
Hit cast(const Mesh& mesh, const ModelView& view, double x, double y) {
    const bool perspective = view.kind == ModelView::Kind::perspective;
    const double u = (x - view.cx) / view.fx;
    const double v = (y - view.cy) / view.fy;
    const Vec3 from = perspective ? Vec3{} : Vec3{u, v, 0};
    const Vec3 along = perspective ? Vec3{u, v, 1} : Vec3{0, 0, 1};
    Hit hit{std::numeric_limits<double>::infinity()};
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        Vec3 p[3];
        for (std::size_t c = 0; c < 3; ++c)
            p[c] = view.in_view(mesh.vertices[std::size_t(mesh.triangles[t][c])]);
        const Vec3 e1 = p[1] - p[0];
        const Vec3 e2 = p[2] - p[0];
        const Vec3 h = cross(along, e2);
        const double determinant = dot(e1, h);
        const double a = dot(from - p[0], h) / determinant;
        const Vec3 q = cross(from - p[0], e1);
        const double b = dot(along, q) / determinant;
        const double depth = dot(e2, q) / determinant;
        if (perspective && depth < 0.01) continue;
        const double inside = std::min({a, b, 1 - a - b});
        const bool sliver = std::abs(determinant) < 0.02;
        if (inside > -0.02 && (inside < 0.02 || sliver) && depth < hit.depth + 0.01)
            hit.doubtful = true;
        if (inside < 0) continue;
        if (std::abs(depth - hit.depth) < 1e-3) hit.doubtful = true;
        if (depth < hit.depth) hit = {depth, int(t), hit.doubtful};
    }
    return hit;
}

class Faces : public testing::TestWithParam<ModelView::Kind> {};

/// What a pixel shows is what a ray through it meets first, also of faces that reach behind the eye
/// and far out of the picture; on one thread as on several.
TEST_P(Faces, AreThoseThatRaysMeetFirst) {
    const Mesh mesh = scattered_triangles(150);
    const Surface surface = prepare_surface(mesh, silent);
    const ModelView view = inside_view(GetParam());
    VisibleFaces faces;
    faces.draw(mesh, surface, view, {}, silent);
    int compared = 0;
    for (int y = 0; y < view.height; ++y)
        for (int x = 0; x < view.width; ++x) {
            const Hit hit = cast(mesh, view, x, y);
            if (hit.doubtful) continue;
            ASSERT_EQ(faces.face(x, y), hit.face) << x << ", " << y;
            ++compared;
            if (hit.face >= 0) {
                ASSERT_NEAR(faces.depth(x, y), hit.depth, 0.02 * std::abs(hit.depth) + 0.02);
                const auto probe = probe_model(mesh, surface, faces, nullptr, x, y);
                ASSERT_NEAR(view.in_view(probe->place)[2], hit.depth,
                            2e-4 * (1 + std::abs(hit.depth)));
            }
        }
    EXPECT_GT(compared, view.width * view.height / 3);

    const ThreadLimit alone(1);
    VisibleFaces again;
    again.draw(mesh, surface, view, {}, silent);
    for (int y = 0; y < view.height; ++y)
        for (int x = 0; x < view.width; ++x)
            ASSERT_EQ(again.face(x, y), faces.face(x, y));
}

INSTANTIATE_TEST_SUITE_P(Views, Faces,
                         testing::Values(ModelView::Kind::parallel, ModelView::Kind::perspective));

/// A plate before a camera: every pixel has the colour of the value at its place, nodes without
/// values are grey, and the picture is the camera's.
TEST(ModelPictures, ShowValuesWhereTheCameraSeesThem) {
    Mesh mesh;
    add_patch(mesh, "plate", 11, 11, [](double u, double v) {
        return MeshPlace{100 * u, 80 * v, 0};
    });
    Mesh::Quantity linear{"P", {}, "Pa", Mesh::Place::node};
    for (const auto& place : mesh.vertices)
        linear.values.push_back(place[0] > 85 ? std::nan("") : place[0] + 2 * place[1]);
    mesh.quantities.push_back(linear);
    Mesh::View camera;
    camera.rotation = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    camera.shift = {-50, -40, 400};
    camera.fx = camera.fy = 500;
    camera.lens.cx = 80.25;
    camera.lens.cy = 60.5;
    camera.width = 160;
    camera.height = 120;
    const ModelView view = view_of_camera(camera, /*mm_per_unit=*/1, /*zoom=*/1);
    const Surface surface = prepare_surface(mesh, silent);
    ModelLook look;
    look.quantity = &mesh.quantities.front();
    look.light = look.silhouettes = false;
    look.colours = colour_map(0, 260, *find_palette("viridis"));
    VisibleFaces faces;
    faces.draw(mesh, surface, view, {}, silent);
    std::vector<std::uint32_t> pixels(160 * 120);
    paint_model(mesh, surface, vertex_normals(mesh, surface), faces, look, {pixels.data(), 160},
                silent);
    const auto colour_at = [&](int x, int y) { return pixels[std::size_t(y * 160 + x)]; };
    int plate = 0;
    for (int y = 0; y < 120; ++y)
        for (int x = 0; x < 160; ++x) {
            const double px = 50 + (x - 80.25) * 400 / 500;
            const double py = 40 + (y - 60.5) * 400 / 500;
            if (std::min({px, 100 - px, py, 80 - py}) < 0.01) continue;
            ++plate;
            if (px > 80) {
                EXPECT_EQ(colour_at(x, y), look.unseen);
                continue;
            }
            const auto value = float(px + 2 * py);
            const auto index = [&](float at) { return look.colours.index(at, false, true); };
            if (index(value - 1e-3F) != index(value + 1e-3F)) continue;
            EXPECT_EQ(colour_at(x, y), look.colours.colour(value, false, true));
        }
    EXPECT_GT(plate, 11000);
    EXPECT_EQ(colour_at(0, 0), look.background);
    const auto probe = probe_model(mesh, surface, faces, look.quantity, 80, 60);
    EXPECT_NEAR(probe->value, probe->place[0] + 2 * probe->place[1], 1e-4);
    EXPECT_FALSE(probe_model(mesh, surface, faces, look.quantity, 0, 0));
}

/// A line where the value crosses a level, one pixel wide in pictures drawn finer, too; none where
/// nothing was seen.
TEST(ModelPainter, DrawsIsolinesWhereValuesCrossTheirLevels) {
    Mesh mesh = cube(9, 100);
    Mesh::Quantity p{"P", {}, "Pa", Mesh::Place::node};
    for (const Vec3& place : mesh.vertices)
        p.values.push_back(place[2] > 90 ? std::nan("") : place[1]);
    mesh.quantities = {p};
    const Surface surface = prepare_surface(mesh, silent);
    const ModelView view = view_from(0, 0, mesh, 200, 200);
    ModelLook look;
    look.quantity = &mesh.quantities.front();
    look.light = look.silhouettes = false;
    FrameOptions frame;
    frame.limits = {0, 100};
    frame.iso_labels = false;
    frame.iso_levels = iso_levels_by_step({10, 95}, 40);
    ASSERT_EQ(frame.iso_levels, (std::vector<double>{40, 80}));
    EXPECT_EQ(iso_levels({0, 1}, 3), (std::vector<double>{0.25, 0.5, 0.75}));
    EXPECT_EQ(iso_levels_by_step({0, 0.3}, 0.1).size(), 4U);
    EXPECT_TRUE(iso_levels_by_step({0, 1}, 1e-4).empty());
    EXPECT_TRUE(iso_levels_by_step({0, 1}, -1).empty());
    const auto draw = [&] {
        return pixels_of(model_figure(mesh, surface, vertex_normals(mesh, surface), view, look,
                                      frame, {}, silent));
    };
    const RgbPicture with = draw();
    frame.iso_levels.clear();
    const RgbPicture without = draw();
    for (const int y : {40, 100, 150}) {
        for (int x = 0; x < 200; ++x) {
            double nearest = 1e9;
            for (const double level : {40.0, 80.0})
                nearest = std::min(nearest, std::abs((*pixel_of(view, {0, level, 50}))[0] - x));
            const bool dark = with.at(x, y)[1] + 20 < without.at(x, y)[1] ||
                              with.at(x, y)[0] + 20 < without.at(x, y)[0];
            if (nearest < 0.4 && !dark) ADD_FAILURE() << x << ' ' << y;
            if (nearest > 1.6 && dark) ADD_FAILURE() << x << ' ' << y;
        }
    }
    EXPECT_EQ(std::memcmp(with.at(0, 12), without.at(0, 12), 600), 0) << "in grey";
}

/// From the front a wing's starboard half (y above 0) is to the left, from above to the right; up
/// is up. The mesh fills nine tenths of the picture.
TEST(ModelViews, AreThoseOfTheModelsAxes) {
    Mesh mesh = cube(2, 2);
    const auto pixel = [&](double azimuth, double elevation, const Vec3& place) {
        const ModelView view = view_from(azimuth, elevation, mesh, 200, 200);
        const Vec3 p = view.in_view(place);
        return std::array<double, 2>{view.fx * p[0] + view.cx, view.fy * p[1] + view.cy};
    };
    constexpr double middle = 99.5;
    const Vec3 starboard{1, 2, 1};
    const Vec3 top{1, 1, 2};
    const Vec3 nose{0, 1, 1};
    EXPECT_NEAR(pixel(0, 0, starboard)[0], middle - 90, 1e-9);
    EXPECT_NEAR(pixel(0, 0, top)[1], middle - 90, 1e-9);
    EXPECT_NEAR(pixel(180, 90, starboard)[0], middle + 90, 1e-9);
    EXPECT_NEAR(pixel(180, 90, nose)[1], middle - 90, 1e-9);
    EXPECT_NEAR(pixel(90, 0, nose)[0], middle + 90, 1e-9);
    EXPECT_NEAR(pixel(0, -90, nose)[1], middle - 90, 1e-9);
}

}  // namespace
}  // namespace vyn::test
