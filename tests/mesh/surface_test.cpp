#include "mesh/surface.h"

#include <atomic>
#include <numbers>

#include <gtest/gtest.h>

#include "mesh/prepared_mesh.h"
#include "tests/support/meshes.h"

namespace vyn::test {
namespace {

Progress silent;

void turn_zone(Mesh& mesh, std::size_t zone) {
    for (auto t = mesh.zones[zone].first_triangle; t < mesh.zones[zone].end_triangle(); ++t)
        std::swap(mesh.triangles[t][1], mesh.triangles[t][2]);
}

/// Zones are joined through equal places; whatever was inside out points outward again.
TEST(Surfaces, AreTurnedOutward) {
    Mesh mesh = cube(5, 2);
    turn_zone(mesh, 2);
    turn_zone(mesh, 4);
    const Surface surface = prepare_surface(mesh, silent);
    ASSERT_EQ(surface.pieces.size(), 1u);
    EXPECT_EQ(surface.open_edges, 0u);
    EXPECT_EQ(surface.turned, 2u * 32);
    EXPECT_EQ(surface.zone_turned, (std::vector<std::uint8_t>{0, 0, 1, 0, 1, 0}));
    EXPECT_NEAR(surface.pieces[0].volume, 8, 1e-12);
    EXPECT_NEAR(surface.pieces[0].area, 24, 1e-12);
    for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
        const Vec3 out = mesh.vertices[std::size_t(mesh.triangles[t][0])] +
                         mesh.vertices[std::size_t(mesh.triangles[t][1])] +
                         mesh.vertices[std::size_t(mesh.triangles[t][2])] - Vec3{3, 3, 3};
        EXPECT_GT(dot(out, surface.area_vector(mesh, t)), 0);
        for (std::size_t side = 0; side < 3; ++side) {
            const int other = surface.neighbour[3 * t + side];
            ASSERT_GE(other, 0);
            const auto& corners = surface.triangles[std::size_t(other)];
            int shared = 0;
            for (const int corner : corners)
                for (const std::size_t end : {side, (side + 1) % 3})
                    shared += surface.place[std::size_t(corner)] ==
                              surface.place[std::size_t(surface.triangles[t][end])];
            EXPECT_EQ(shared, 2);
        }
    }
}

TEST(Surfaces, WithHolesAndWithout) {
    Mesh box = cube(3);
    box.triangles.resize(box.zones.back().first_triangle);  // the lid is off
    box.zones.pop_back();
    for (std::size_t z = 0; z < box.zones.size(); ++z)
        turn_zone(box, z);
    const Surface open_box = prepare_surface(box, silent);
    EXPECT_TRUE(open_box.pieces[0].has_inside);
    EXPECT_EQ(open_box.open_edges, 8u);
    EXPECT_EQ(open_box.turned, box.triangles.size());

    Mesh sheet;
    add_patch(sheet, "sheet", 4, 4, [](double u, double v) { return MeshPlace{u, v, 0}; });
    turn_zone(sheet, 0);
    const Surface filed = prepare_surface(sheet, silent);
    EXPECT_FALSE(filed.pieces[0].has_inside);
    EXPECT_EQ(filed.turned, 0u) << "a lone sheet keeps its order";

    const Mesh ball = sphere(40, 20);
    const Surface round = prepare_surface(ball, silent);
    EXPECT_EQ(round.degenerate, 80u) << "one in each cell at the poles";
    EXPECT_EQ(round.open_edges, 0u) << "the seam is closed through equal places";
    EXPECT_NEAR(round.pieces[0].volume, 4.0 / 3 * std::numbers::pi, 0.05);

    const Mesh both = with_mirror_image(sheet, 2);
    EXPECT_EQ(both.zones[1].name, "sheet mirrored");
    EXPECT_EQ(both.triangles[18],
              (std::array<int, 3>{16, 16 + sheet.triangles[0][2], 16 + sheet.triangles[0][1]}));
}

TEST(Normals, AreSmoothOnASphereAndSharpOnACube) {
    const Mesh ball = sphere(60, 30);
    const VertexNormals smooth = vertex_normals(ball, prepare_surface(ball, silent));
    for (std::size_t v = 0; v < ball.vertices.size(); ++v) {
        ASSERT_LE(smooth.first[v + 1] - smooth.first[v], 1u);
        if (smooth.first[v + 1] == smooth.first[v]) continue;
        EXPECT_GT(dot(smooth.normals[smooth.first[v]], ball.vertices[v]), 0.999);
    }
    Mesh box = cube(3);
    box.zones = {{"all", 0, box.triangles.size(), 0, 0, 0}};  // 45 degrees, not zones, decide
    const VertexNormals sharp = vertex_normals(box, prepare_surface(box, silent));
    for (std::size_t v = 0; v < box.vertices.size(); ++v) {
        ASSERT_EQ(sharp.first[v + 1] - sharp.first[v], 1u);
        const Vec3& n = sharp.normals[sharp.first[v]];
        EXPECT_DOUBLE_EQ(std::max({std::abs(n[0]), std::abs(n[1]), std::abs(n[2])}), 1);
    }
}

/// Wherever the user stops it.
TEST(PreparedMeshes, AreGivenUpWhenAsked) {
    class StopsAt final : public Progress {
      public:
        explicit StopsAt(int look) : looks_(look) {}
        bool aborted() const override { return looks_-- <= 0; }

      private:
        mutable std::atomic<int> looks_;
    };
    const Mesh mesh = cube(5, 2);
    int stops = 0;
    for (bool done = false; !done; ++stops) {
        StopsAt progress(stops);
        try {
            const PreparedMesh prepared(mesh, progress);
            done = true;
            EXPECT_EQ(prepared.surface.pieces.size(), 1U);
        } catch (const Aborted&) {
        }
    }
    EXPECT_GT(stops, 5);
}

/// From 10 cm beside a small sphere behind a plate, far from the origin.
TEST(Rays, SeeWhatIsNotHidden) {
    const Vec3 far{1e5, -2e5, 3e5};
    Mesh scene;
    add_patch(scene, "plate", 2, 2, [&](double u, double v) {
        return far + Vec3{2 * u - 1, 2 * v - 1, 1};
    });
    add_patch(scene, "behind", 21, 21, [&](double u, double v) {
        return far + Vec3{4 * u - 2, 4 * v - 2, 0};
    });
    const Surface surface = prepare_surface(scene, silent);
    const RayScene rays(scene, surface, silent);
    const Vec3 eye = far + Vec3{0, 0, 1000};
    for (std::size_t v = 0; v < scene.vertices.size(); ++v) {
        const Vec3 place = scene.vertices[v];
        const SightLine line{place, eye, surface.place[v]};
        std::uint8_t hidden = 2;
        rays.hidden({&line, 1}, {&hidden, 1});
        const Vec3 d = place - far;
        const double cover = 1000.0 / 999;  // the shadow of the plate's edge
        const bool shaded = v >= 4 && std::abs(d[0]) < cover && std::abs(d[1]) < cover;
        EXPECT_EQ(hidden, shaded) << d[0] << " " << d[1];
    }
}

}  // namespace
}  // namespace vyn::test
