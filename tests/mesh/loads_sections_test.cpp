#include <algorithm>
#include <numbers>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/errors.h"
#include "mesh/loads.h"
#include "mesh/sections.h"
#include "tests/support/error_of.h"
#include "tests/support/meshes.h"

namespace vyn::test {
namespace {

Progress silent;

void put_pressure(Mesh& mesh, const std::function<double(const Vec3&)>& pressure) {
    Mesh::Quantity p{"P", {}, "Pa", Mesh::Place::node};
    for (const Vec3& vertex : mesh.vertices)
        p.values.push_back(pressure(vertex));
    mesh.quantities = {p};
}

/// The divergence theorem: -V grad p, with its moment at the volume's middle.
TEST(Loads, OfALinearPressureOnAClosedBody) {
    const Vec3 gradient{300, -200, 50};
    for (Mesh mesh : {cube(7, 2), sphere(50, 31)}) {
        put_pressure(mesh, [&](const Vec3& x) { return 1e5 + dot(gradient, x); });
        const Surface surface = prepare_surface(mesh, silent);
        const double volume = surface.pieces[0].volume;
        LoadsRequest request{"P", 101325, {5, -3, 2}, {}};
        const auto loads = surface_loads(mesh, surface, request);
        ASSERT_EQ(loads.size(), mesh.zones.size() + 1);
        const PatchLoads& sum = loads.back();
        const double scale = 1e5 * sum.area * 1e-9;  // of the forces that cancel
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(sum.force[i], -volume * gradient[i], scale);
        EXPECT_EQ(sum.covered_share(), 1);
        // Both bodies are symmetric about their middle: ∫ x dV = V middle.
        const Vec3 moment = cross(surface.middle - request.about, (-volume) * gradient);
        if (mesh.zones.size() == 6) {
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_NEAR(sum.moment[i], moment[i], 10 * scale);
        }
        put_pressure(mesh, [](const Vec3&) { return 1e5; });
        const auto even = surface_loads(mesh, surface, request);
        for (const double force : even.back().force)
            EXPECT_NEAR(force, 0, scale);
    }
}

/// A patch of a zone's faces is the zone; patches add up.
TEST(Loads, OfPatchesOfFaces) {
    Mesh mesh = cube(5, 2);
    put_pressure(mesh, [](const Vec3& x) { return 3 + x[0] - 2 * x[1] * x[2]; });
    const Surface surface = prepare_surface(mesh, silent);
    const Mesh::Zone& zone = mesh.zones[2];
    LoadsRequest request{"P", 1, {1, 2, 3}, {zone.name}};
    const PatchLoads whole = surface_loads(mesh, surface, request)[0];
    request.patches.resize(2);
    for (auto face = zone.first_triangle; face < zone.end_triangle(); ++face)
        request.patches[face % 2].faces.push_back(face);
    const auto halves = surface_loads(mesh, surface, request);
    ASSERT_EQ(halves.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(halves[2].force[i], whole.force[i], 1e-12);
        EXPECT_NEAR(halves[2].moment[i], whole.moment[i], 1e-12);
    }
    EXPECT_NEAR(halves[0].area, whole.area / 2, 1e-12);
    request.patches[1].faces.push_back(mesh.triangles.size());
    EXPECT_THROW(surface_loads(mesh, surface, request), AlgoError);
}

TEST(Loads, LeaveOutWhatWasNotSeen) {
    Mesh mesh = cube(5);
    put_pressure(mesh, [](const Vec3&) { return 2.0; });
    const std::size_t each = mesh.vertices.size() / 6;
    std::fill_n(mesh.quantities[0].values.begin() + std::ptrdiff_t(2 * each), each, not_seen);
    mesh.quantities[0].values[12] = not_seen;  // the middle of x-: eight triangles around
    const Surface surface = prepare_surface(mesh, silent);
    const auto loads = surface_loads(mesh, surface, {"P", 0, {}, {}});
    EXPECT_EQ(loads[2].name, "y-");
    EXPECT_EQ(loads[2].covered_share(), 0);
    EXPECT_LT(loads[0].covered_share(), 0.85);
    EXPECT_NEAR(loads[0].force[0], 2 * loads[0].covered_area, 1e-12);
    EXPECT_NEAR(loads[1].force[0], -2, 1e-12);
    EXPECT_NEAR(loads.back().force[1], -2, 1e-12);
    EXPECT_NEAR(loads.back().projected[1], 2, 1e-12);
    EXPECT_NEAR(loads.back().covered_projected[1], 1, 1e-12);
    const auto one = surface_loads(mesh, surface, {"P", 0, {}, {"z+"}});
    EXPECT_EQ(one.size(), 2u);
    EXPECT_THAT(error_of<AlgoError>([&] {
                    surface_loads(mesh, surface, {"Cp", 0, {}, {}});
                }).detail,
                testing::HasSubstr("there are: P"));
    EXPECT_THROW(surface_loads(mesh, surface, {"P", 0, {}, {"fin"}}), AlgoError);
}

/// The common part moves all at once, the random one each node for itself: the middle of a side of
/// 5 x 5 nodes carries a third of the six triangles about it.
TEST(Loads, KnowHowSureTheFieldIs) {
    Mesh mesh = cube(5);
    put_pressure(mesh, [](const Vec3&) { return 2.0; });
    Mesh::Quantity common{"sigma_common", {}, "Pa", Mesh::Place::node};
    common.values.assign(mesh.vertices.size(), 3.0);
    Mesh::Quantity random{"sigma_random", {}, "Pa", Mesh::Place::node};
    random.values.assign(mesh.vertices.size(), 0.0);
    random.values[12] = 6;
    mesh.quantities.push_back(common);
    mesh.quantities.push_back(random);
    const Surface surface = prepare_surface(mesh, silent);
    const auto loads = surface_loads(mesh, surface, {"P", 0, {}, {}});
    ASSERT_TRUE(loads[0].force_sigma_common && loads[0].force_sigma_random);
    EXPECT_NEAR((*loads[0].force_sigma_common)[0], 3, 1e-12);
    EXPECT_NEAR((*loads[0].force_sigma_random)[0], 6 * (6.0 / 3) / 32, 1e-12);
    EXPECT_NEAR((*loads.back().force_sigma_random)[0], 6 * (6.0 / 3) / 32, 1e-12);
    const Section section = cut_section(mesh, surface, {{0, 0, 1}, 0.6}, "P");
    EXPECT_NEAR(section.curves[0].points[0].sigma_field, 3, 1e-12);
}

TEST(Loads, InWindAxes) {
    const double alpha = 0.1;
    const double beta = 0.2;
    const Vec3 wind{std::cos(alpha) * std::cos(beta), -std::sin(beta),
                    std::sin(alpha) * std::cos(beta)};
    const Vec3 drag = in_wind_axes(7 * wind, alpha, beta);
    EXPECT_NEAR(drag[0], 7, 1e-12);
    EXPECT_NEAR(drag[1], 0, 1e-12);
    EXPECT_NEAR(drag[2], 0, 1e-12);
    EXPECT_NEAR(in_wind_axes({0, 0, 1}, alpha, 0)[2], std::cos(alpha), 1e-12);
    EXPECT_NEAR(in_wind_axes({0, 1, 0}, 0, 0)[1], 1, 1e-12);
}

/// A circle cut from a sphere: order, length, linear values, coefficients by the divergence
/// theorem.
TEST(Sections, OfASphereAreClosedCircles) {
    Mesh mesh = sphere(90, 60);
    put_pressure(mesh, [](const Vec3& x) { return 4 * x[2] + 1; });
    const Surface surface = prepare_surface(mesh, silent);
    const Section section = cut_section(mesh, surface, {{0, 1, 0}, 0.3}, "P");
    ASSERT_EQ(section.curves.size(), 1u);
    const SectionCurve& curve = section.curves[0];
    EXPECT_TRUE(curve.closed);
    const double radius = std::sqrt(1 - 0.09);
    EXPECT_NEAR(curve.points.back().s, 2 * std::numbers::pi * radius, 0.02);
    double area = 0;
    for (std::size_t i = 0; i < curve.points.size(); ++i) {
        const SectionPoint& point = curve.points[i];
        EXPECT_NEAR(point.place[1], 0.3, 1e-12);
        EXPECT_NEAR(point.value, 4 * point.place[2] + 1, 1e-12);
        EXPECT_NEAR(point.x_c, (point.place[0] / radius + 1) / 2, 2e-3);
        if (i == 0) continue;
        const SectionPoint& before = curve.points[i - 1];
        EXPECT_LT(point.s - before.s, 0.1) << "neighbours follow one another";
        area += (before.place[0] * point.place[2] - point.place[0] * before.place[2]) / 2;
    }
    // -∮ p n ds = -grad p times the area of the cut.
    EXPECT_NEAR(section.loads.normal, -4 * std::abs(area) / section.loads.chord, 1e-9);
    EXPECT_NEAR(section.loads.axial, 0, 1e-9);
    EXPECT_EQ(section.loads.covered_share, 1);
    EXPECT_TRUE(cut_section(mesh, surface, {{0, 1, 0}, 3}, "P").curves.empty());
}

/// A plate that tapers: the curve at a share of the chord is straight between the shares of the
/// lines, and ends where a line does. A moment about a hinge is force times arm.
TEST(Sections, AtAShareOfTheChordFollowTheLines) {
    Mesh mesh;
    add_patch(mesh, "wing", 41, 31, [](double u, double v) {
        return MeshPlace{2 * v + (3 - v) * u, 5 * v, 0};
    });
    put_pressure(mesh, [](const Vec3& x) { return x[0]; });
    const Surface surface = prepare_surface(mesh, silent);
    const ChordLines lines{{{0, 0, 0}, {2, 5, 0}}, {{3, 0, 0}, {3.8, 4, 0}}};
    const auto curves = cut_at_chord(mesh, surface, lines, 0.3, "P");
    ASSERT_EQ(curves.size(), 1u);
    double farthest = 0;
    for (const SectionPoint& point : curves[0].points) {
        const double y = point.place[1];
        EXPECT_NEAR(point.place[0], 0.4 * y + 0.3 * (3 - 0.2 * y), 2e-3);
        EXPECT_NEAR(point.value, point.place[0], 1e-12);
        EXPECT_EQ(point.x_c, 0.3);
        farthest = std::max(farthest, y);
    }
    EXPECT_GT(farthest, 3.8);
    EXPECT_LE(farthest, 4);
    EXPECT_THROW(cut_at_chord(mesh, surface, {{{0, 0, 0}}, lines.trailing}, 0.3, "P"), AlgoError);

    PatchLoads patch;
    patch.force = {0, 0, 10};
    patch.moment = {0, -20, 0};  // the force acts 2 behind the origin
    EXPECT_NEAR(hinge_moment(patch, {}, {1.5, -1, 3}, {1.5, 4, 3}), -5, 1e-12);
}

TEST(Sections, BreakWhereNothingWasSeenAndAtZones) {
    Mesh mesh = cube(9);
    put_pressure(mesh, [](const Vec3& x) { return x[0]; });
    const std::size_t each = mesh.vertices.size() / 6;
    std::fill_n(mesh.quantities[0].values.begin() + std::ptrdiff_t(5 * each), each, not_seen);
    const Surface surface = prepare_surface(mesh, silent);
    // Through vertices: y = 0.5 is a row of them.
    const Section section = cut_section(mesh, surface, {{0, 1, 0}, 0.5}, "P");
    ASSERT_EQ(section.curves.size(), 4u);
    for (const SectionCurve& curve : section.curves) {
        EXPECT_FALSE(curve.closed);
        EXPECT_NEAR(curve.points.back().s, 1, 1e-12);
        for (const SectionPoint& point : curve.points)
            EXPECT_EQ(std::isnan(point.value), curve.zone == "z+");
    }
    EXPECT_NEAR(section.loads.covered_share, 0.75, 1e-12);
}

}  // namespace
}  // namespace vyn::test
