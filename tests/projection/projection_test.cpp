#include "projection/projection.h"

#include <cmath>
#include <numbers>

#include <Eigen/Geometry>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "api/parallel.h"
#include "core/errors.h"
#include "projection/view_geometry.h"
#include "tests/support/error_of.h"
#include "tests/support/meshes.h"

namespace vyn::test {
namespace {

Progress silent;

using Values = std::vector<double>;

/// A camera on an axis that looks at the origin from that distance, 500 x 400 pixels.
struct Shot {
    PinholeCamera camera{1500, 1500, {249.5, 199.5, 0, 0}, 500, 400};
    Pose pose;
    image field{500, 400};
    Eigen::MatrixXd covariance;

    Shot(const Eigen::Vector3d& from, const Eigen::Vector3d& up,
         const std::function<double(double x, double y)>& value) {
        const Eigen::Vector3d forward = -from.normalized();
        const Eigen::Vector3d right = forward.cross(up).normalized();
        pose.rotation << right.transpose(), forward.cross(right).transpose(), forward.transpose();
        pose.shift = -(pose.rotation * from);
        for (int y = 0; y < 400; ++y)
            for (int x = 0; x < 500; ++x)
                field.values()(x, y) = static_cast<float>(value(x, y));
    }
    ProjectedView view() const {
        return {"shot", &field, camera, camera.lens, pose, covariance, {}, 0};
    }
    Point pixel(const Vec3& p) const {
        return *ideal_pixel(camera, pose.in_camera({p[0], p[1], p[2]}));
    }
};

double linear(double x, double y) {
    return 100 + 0.25 * x - 0.125 * y;
}

Values values_of(const ProjectionResult& result, const std::string& name) {
    for (const auto& quantity : result.quantities)
        if (quantity.name == name) return quantity.values;
    return {};
}

ProjectionResult project(const Mesh& mesh, const std::vector<Shot>& shots,
                         const ProjectionOptions& options = {}, double mm_per_unit = 1) {
    const PreparedMesh prepared(mesh, silent);
    std::vector<ProjectedView> views;
    for (const Shot& shot : shots)
        views.push_back(shot.view());
    return project_fields(prepared, mm_per_unit, views, "P", "Pa", options, silent);
}

TEST(Projection, SeesTheCapOfASphere) {
    const Mesh mesh = sphere(120, 80);
    const double distance = 10;
    const Shot shot({distance, 0, 0}, {0, 0, 1}, linear);
    ProjectionOptions options;
    options.obliqueness = 90;
    options.sampling = ProjectionOptions::Sampling::point;
    const ProjectionResult result = project(mesh, {shot}, options);
    const Values p = values_of(result, "P");
    const Values angle = values_of(result, "angle");
    for (std::size_t v = 0; v < mesh.vertices.size(); ++v) {
        const double x = mesh.vertices[v][0];
        const double doubt = 0.02;  // faces are flat: the limb is that of a polyhedron
        if (x > 1 / distance + doubt) {
            EXPECT_FALSE(std::isnan(p[v])) << x;
            const Point pixel = shot.pixel(mesh.vertices[v]);
            EXPECT_NEAR(p[v], linear(pixel.x, pixel.y), 1e-6 * 175);
        }
        if (x < 1 / distance - doubt) {
            EXPECT_TRUE(std::isnan(p[v])) << x;
        }
    }
    EXPECT_NEAR(result.covered, (1 - 1 / distance) / 2, 0.02);
    options.obliqueness = 60;
    for (const double degrees : values_of(project(mesh, {shot}, options), "angle"))
        EXPECT_FALSE(degrees > 60);
}

TEST(Projection, SeesThreeFacesOfACubeAndTheirEdges) {
    const Mesh mesh = cube(9);
    const Shot shot({8, 6.4, 4.8}, {0, 0, 1}, [](double, double) { return 7.25; });
    for (const auto location :
         {ProjectionOptions::Location::nodes, ProjectionOptions::Location::cells}) {
        ProjectionOptions options;
        options.location = location;
        options.obliqueness = 85;
        const ProjectionResult result = project(mesh, {shot}, options);
        const Values p = values_of(result, "P");
        const std::size_t each = p.size() / 6;
        for (std::size_t i = 0; i < p.size(); ++i) {
            if ((i / each) % 2 == 1)
                EXPECT_NEAR(p[i], 7.25, 1e-6 * 7.25) << i;
            else
                EXPECT_TRUE(std::isnan(p[i])) << i;
        }
        EXPECT_NEAR(result.covered, 0.5, 1e-12);
        EXPECT_EQ(result.covered_share, (Values{0, 1, 0, 1, 0, 1}));
    }
}

/// The mesh in metres, markers and pose in mm; a plate with a lens that was refined after the
/// field was made: the value is that at the place where the old lens put the raw pixel.
TEST(Projection, GoesThroughTheNewLensAndBackByTheOldOne) {
    Mesh mesh;
    add_patch(mesh, "plate", 30, 30, [](double u, double v) {
        return MeshPlace{0.25 * (u - 0.5), 0.2 * (v - 0.5), 0};
    });
    Shot shot({0, 100, 1000}, {0, 1, 0}, linear);
    const PreparedMesh prepared(mesh, silent);
    ProjectedView view = shot.view();
    view.camera.lens = {251, 198, 4e-7, -1e-13};
    view.field_lens = {249.5, 199.5, 2e-7, 0};
    ProjectionOptions options;
    options.sampling = ProjectionOptions::Sampling::point;
    const ProjectionResult result =
        project_fields(prepared, 1000, {view}, "P", "Pa", options, silent);
    double farthest = 0;
    for (std::size_t v = 0; v < mesh.vertices.size(); ++v) {
        const Vec3 place = 1000.0 * mesh.vertices[v];
        const auto ideal =
            ideal_pixel(view.camera, view.pose.in_camera({place[0], place[1], place[2]}));
        const Point raw = *raw_from_ideal(view.camera.lens, *ideal);
        const Point old = ideal_position(view.field_lens, raw);
        farthest = std::max(farthest, std::hypot(old.x - ideal->x, old.y - ideal->y));
        EXPECT_NEAR(result.quantities[0].values[v], linear(old.x, old.y), 1e-6 * 175);
    }
    EXPECT_GT(farthest, 1) << "the lens must matter";
}

/// Behind the camera, too; the field's lens the camera's own and another one.
TEST(ViewGeometry, ManyPlacesAreSeenAsSingleOnes) {
    Shot shot({30, 100, 1000}, {0, 1, 0}, linear);
    ProjectedView view = shot.view();
    view.camera.lens = {251, 198, 4e-7, -1e-13};
    constexpr double mm_per_unit = 10;
    std::vector<Vec3> places;
    for (int i = 0; i < 37; ++i)
        places.push_back({8 - 0.4 * i, 0.3 * i - 5, 7.0 * i - 70});
    for (const Distortion& field_lens : {view.camera.lens, Distortion{249.5, 199.5, 2e-7, 0}}) {
        view.field_lens = field_lens;
        const ViewGeometry geometry(view, mm_per_unit);
        std::vector<double> base;
        for (const char* isa : {"base", "avx2", "avx512"}) {
            setenv("VYNLITE_ISA", isa, 1);
            std::vector<double> x(places.size());
            std::vector<double> y(places.size());
            geometry.pixels(places, x.data(), y.data());
            unsetenv("VYNLITE_ISA");
            int behind = 0;
            for (std::size_t i = 0; i < places.size(); ++i) {
                const auto single = geometry.pixel(places[i]);
                EXPECT_EQ(single.has_value(), !std::isnan(x[i])) << isa << ' ' << i;
                behind += !single;
                if (!single) continue;
                EXPECT_NEAR(x[i], single->x, 1e-9) << isa << ' ' << i;
                EXPECT_NEAR(y[i], single->y, 1e-9) << isa << ' ' << i;
            }
            EXPECT_GT(behind, 5);
            if (base.empty()) base = x;
            for (std::size_t i = 0; i < places.size(); ++i)
                EXPECT_TRUE(x[i] == base[i] || std::isnan(x[i])) << isa << ' ' << i;
        }
    }
}

/// Linear fields are met to 1e-6 of their range at points and by means of whole pixels alike.
TEST(Projection, MeansOverTheFootprintOfCoarseNodes) {
    Mesh mesh;
    add_patch(mesh, "plate", 9, 9, [](double u, double v) {
        return MeshPlace{200 * u - 100, 160 * v - 80, 0};
    });
    Shot shot({0, 0, 1000}, {0, 1, 0}, linear);
    const ProjectionResult area = project(mesh, {shot});
    const std::size_t middle = 4 * 9 + 4;
    // Nodes are 37.5 and 30 pixels apart.
    EXPECT_NEAR(values_of(area, "px")[middle], 37.5 * 30, 40);
    EXPECT_NEAR(values_of(area, "P")[middle], linear(249.5, 199.5), 0.2);
    double pixels = 0;
    for (const double px : values_of(area, "px"))
        pixels += px;
    EXPECT_EQ(pixels, 300.0 * 240) << "every pixel of the plate belongs to one node";

    ProjectionOptions options;
    options.sampling = ProjectionOptions::Sampling::point;
    const ProjectionResult point = project(mesh, {shot}, options);
    for (std::size_t v = 0; v < mesh.vertices.size(); ++v) {
        const Point at = shot.pixel(mesh.vertices[v]);
        EXPECT_NEAR(values_of(point, "P")[v], linear(at.x, at.y), 1e-6 * 175);
    }
}

TEST(Projection, NeverTakesExcludedPixels) {
    Mesh mesh;
    add_patch(mesh, "plate", 60, 60, [](double u, double v) {
        return MeshPlace{100 * u - 50, 100 * v - 50, 0};
    });
    Shot shot({0, 0, 1000}, {0, 1, 0}, linear);
    for (int y = 180; y < 220; ++y)
        for (int x = 230; x < 270; ++x) {
            shot.field.mask()(x, y) = 1;
            shot.field.values()(x, y) = (x + y) % 2 ? 1e30F : std::nanf("");
        }
    for (const auto sampling :
         {ProjectionOptions::Sampling::point, ProjectionOptions::Sampling::area}) {
        ProjectionOptions options;
        options.sampling = sampling;
        const ProjectionResult result = project(mesh, {shot}, options);
        const Values p = values_of(result, "P");
        std::size_t lost = 0;
        for (std::size_t v = 0; v < mesh.vertices.size(); ++v) {
            const Point at = shot.pixel(mesh.vertices[v]);
            const bool deep = at.x > 232 && at.x < 267 && at.y > 182 && at.y < 217;
            lost += std::isnan(p[v]);
            if (deep) {
                EXPECT_TRUE(std::isnan(p[v]));
            }
            if (!std::isnan(p[v])) {
                EXPECT_NEAR(p[v], linear(at.x, at.y), 0.4) << "half a footprint at the rim";
            }
        }
        EXPECT_EQ(result.counts[0].by_mask, lost);
    }
}

/// A second camera whose field is 2 higher: the spread tells, the seam between what one and what
/// both see has no step.
TEST(Projection, BlendsTwoViewsWithoutASeam) {
    Mesh mesh;
    add_patch(mesh, "plate", 201, 21, [](double u, double v) {
        return MeshPlace{200 * u - 100, 20 * v - 10, 0};
    });
    Shot left({0, 0, 1000}, {0, 1, 0}, [](double, double) { return 10.0; });
    Shot right = left;
    right.field.values().fill(12);
    for (int y = 0; y < 400; ++y)
        for (int x = 0; x < 500; ++x) {
            left.field.mask()(x, y) = x > 300;
            right.field.mask()(x, y) = x < 200;
        }
    const ProjectionResult result = project(mesh, {left, right});
    const Values p = values_of(result, "P");
    const Values views = values_of(result, "views");
    const Values spread = values_of(result, "spread");
    const std::size_t row = 10 * 201;
    for (std::size_t i = row + 1; i < row + 201; ++i)
        EXPECT_LT(std::abs(p[i] - p[i - 1]), 0.4) << i;
    EXPECT_EQ(p[row + 5], 10);
    EXPECT_EQ(p[row + 195], 12);
    EXPECT_TRUE(std::isnan(spread[row + 5]));
    EXPECT_EQ(views[row + 100], 2);
    EXPECT_NEAR(spread[row + 100], 1, 1e-6);
    ProjectionOptions options;
    options.blend = ProjectionOptions::Blend::best;
    for (const double value : values_of(project(mesh, {left, right}, options), "P"))
        EXPECT_LT(std::min(std::abs(value - 10), std::abs(value - 12)), 1e-5 * 12);
    options = {.sampling = ProjectionOptions::Sampling::point, .independent_errors = true};
    const Values deviation = values_of(project(mesh, {left, right}, options), "P");
    EXPECT_NEAR(deviation[row + 100], std::hypot(10, 12) / 2, 1e-5) << "of the views' mean";
    EXPECT_NEAR(deviation[row + 5], 10, 1e-5);
}

/// The stated uncertainty from the pose is how values change when the pose does.
TEST(Projection, StatesWhatThePoseIsUncertainBy) {
    Mesh mesh;
    add_patch(mesh, "plate", 5, 5, [](double u, double v) {
        return MeshPlace{100 * u - 50, 100 * v - 50, 20 * u};
    });
    Shot shot({0, 100, 1000}, {0, 1, 0}, linear);
    ProjectionOptions options;
    options.sampling = ProjectionOptions::Sampling::point;
    for (int parameter = 0; parameter < 6; ++parameter) {
        const double step = parameter < 3 ? 1e-4 : 0.1;
        shot.covariance = Eigen::MatrixXd::Zero(6, 6);
        shot.covariance(parameter, parameter) = step * step;
        const ProjectionResult stated = project(mesh, {shot}, options);
        Shot moved = shot;
        if (parameter < 3) {
            const Eigen::Matrix3d turn = rotation_of(step * Eigen::Vector3d::Unit(parameter));
            moved.pose.rotation = turn * shot.pose.rotation;
        } else {
            moved.pose.shift[parameter - 3] += step;
        }
        const ProjectionResult changed = project(mesh, {moved}, options);
        for (std::size_t v = 0; v < mesh.vertices.size(); ++v)
            EXPECT_NEAR(values_of(stated, "sigma_pose")[v],
                        std::abs(values_of(changed, "P")[v] - values_of(stated, "P")[v]), 1e-4)
                << parameter;
    }
}

TEST(Projection, IsTheSameForAnyNumberOfThreads) {
    const Mesh mesh = sphere(200, 150);
    const std::vector<Shot> shots{Shot({8, 1, 2}, {0, 0, 1}, linear),
                                  Shot({2, 9, 1}, {0, 0, 1}, linear)};
    const ProjectionResult all = project(mesh, shots);
    const ThreadLimit one(1);
    const ProjectionResult alone = project(mesh, shots);
    for (std::size_t q = 0; q < all.quantities.size(); ++q)
        EXPECT_TRUE(same_values(all.quantities[q].values, alone.quantities[q].values));
}

TEST(Projection, RefusesAFieldOfAnotherSize) {
    Shot shot({0, 0, 1000}, {0, 1, 0}, linear);
    shot.camera.width = 250;
    const auto error = error_of<AlgoError>([&] { project(cube(3), {shot}); });
    EXPECT_THAT(error.detail, testing::HasSubstr("500 x 400 pixels, its camera 250 x 400"));
}

}  // namespace
}  // namespace vyn::test
