#include "mesh/loads.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>

#include "core/errors.h"

namespace vyn {

namespace {

using Field = field_data<double>;

const Field::Quantity& quantity_of(const Field& mesh, const std::string& name) {
    if (const auto* quantity = mesh.find(name)) return *quantity;
    std::string known;
    for (const auto& quantity : mesh.quantities)
        known += (known.empty() ? "" : ", ") + quantity.name;
    throw AlgoError("Algorithm error!", "the mesh has no values '" + name +
                                            "'; there are: " + (known.empty() ? "none" : known));
}

std::array<double, 3> corner_values(const Field& mesh, const Field::Quantity& quantity,
                                    const Surface& surface, std::size_t t) {
    std::array<double, 3> values{};
    for (std::size_t c = 0; c < 3; ++c)
        values[c] = quantity.place == Field::Place::node
                        ? quantity.values[static_cast<std::size_t>(surface.triangles[t][c])]
                        : quantity.values[static_cast<std::size_t>(mesh.cell_of(t))];
    return values;
}

void add_face(const Field& mesh, const Surface& surface, std::size_t t,
              const std::array<double, 3>& p, const Vec3& about, PatchLoads& loads) {
    const Vec3 vector = 0.5 * surface.area_vector(mesh, t);
    const double area = length(vector);
    loads.covered_area += area;
    for (std::size_t i = 0; i < 3; ++i)
        loads.covered_projected[i] += std::abs(vector[i]);
    loads.force = loads.force - ((p[0] + p[1] + p[2]) / 3) * vector;
    // ∫ p x dA / A, from which the moment is -(∫ p x dA) × n.
    Vec3 first{};
    const double sum = p[0] + p[1] + p[2];
    for (std::size_t j = 0; j < 3; ++j) {
        const Vec3& x = mesh.vertices[static_cast<std::size_t>(surface.triangles[t][j])];
        first = first + ((sum + p[j]) / 12) * (x - about);
    }
    loads.moment = loads.moment - cross(first, vector);
}

/// The field's own standard deviations on a mesh.
struct FieldDeviation {
    explicit FieldDeviation(const Field& of)
        : mesh(of), common(of.find("sigma_common")), random(of.find("sigma_random")) {}
    bool known() const { return common && random; }
    /// The number of the value at a face's corner.
    std::size_t place(const Surface& surface, std::size_t t, std::size_t corner) const {
        return random->place == Field::Place::node
                   ? static_cast<std::size_t>(surface.triangles[t][corner])
                   : static_cast<std::size_t>(mesh.cell_of(t));
    }

    const Field& mesh;
    const Field::Quantity* common;
    const Field::Quantity* random;
};

/// `faces` in the order in which they are summed.
PatchLoads loads_of(const Field& mesh, const Surface& surface, const std::string& name,
                    const std::vector<std::size_t>& faces, const LoadsRequest& request) {
    const Field::Quantity& quantity = quantity_of(mesh, request.quantity);
    const Field::Quantity* sigma = mesh.find("sigma_pose");
    PatchLoads loads;
    loads.name = name;
    PatchLoads deviation;
    const FieldDeviation field(mesh);
    Vec3 common{};
    std::map<std::size_t, Vec3> weights;  // of the nodes' values in the force
    for (const std::size_t t : faces) {
        if (!surface.counts[t]) continue;
        const Vec3 vector = 0.5 * surface.area_vector(mesh, t);
        loads.area += length(vector);
        for (std::size_t i = 0; i < 3; ++i)
            loads.projected[i] += std::abs(vector[i]);
        auto p = corner_values(mesh, quantity, surface, t);
        if (std::ranges::any_of(p, [](double value) { return std::isnan(value); })) continue;
        for (double& value : p)
            value -= request.reference;
        add_face(mesh, surface, t, p, request.about, loads);
        if (sigma)
            add_face(mesh, surface, t, corner_values(mesh, *sigma, surface, t), request.about,
                     deviation);
        if (!field.known()) continue;
        const auto shared = corner_values(mesh, *field.common, surface, t);
        common = common + ((shared[0] + shared[1] + shared[2]) / 3) * vector;
        for (std::size_t c = 0; c < 3; ++c) {
            Vec3& weight = weights[field.place(surface, t, c)];
            weight = weight + (1.0 / 3) * vector;
        }
    }
    if (sigma) loads.force_sigma = -1 * deviation.force;
    if (!field.known()) return loads;
    Vec3 variance{};
    for (const auto& [place, weight] : weights)
        for (std::size_t i = 0; i < 3; ++i)
            variance[i] += std::pow(weight[i] * field.random->values[place], 2);
    for (std::size_t i = 0; i < 3; ++i) {
        common[i] = std::abs(common[i]);
        variance[i] = std::sqrt(variance[i]);
    }
    loads.force_sigma_common = common;
    loads.force_sigma_random = variance;
    return loads;
}

void add(PatchLoads& sum, const PatchLoads& part) {
    sum.force = sum.force + part.force;
    sum.moment = sum.moment + part.moment;
    sum.area += part.area;
    sum.covered_area += part.covered_area;
    sum.projected = sum.projected + part.projected;
    sum.covered_projected = sum.covered_projected + part.covered_projected;
    if (part.force_sigma) sum.force_sigma = sum.force_sigma.value_or(Vec3{}) + *part.force_sigma;
    if (!part.force_sigma_common || !part.force_sigma_random) return;
    Vec3& common =
        sum.force_sigma_common ? *sum.force_sigma_common : sum.force_sigma_common.emplace();
    Vec3& random =
        sum.force_sigma_random ? *sum.force_sigma_random : sum.force_sigma_random.emplace();
    // The common part moves all patches at once; without their signs it is at most that.
    common = common + *part.force_sigma_common;
    for (std::size_t i = 0; i < 3; ++i)
        random[i] = std::hypot(random[i], (*part.force_sigma_random)[i]);
}

}  // namespace

std::vector<PatchLoads> surface_loads(const Field& mesh, const Surface& surface,
                                      const LoadsRequest& request) {
    quantity_of(mesh, request.quantity);
    for (const std::string& name : request.zones)
        if (std::ranges::find(mesh.zones, name, &Field::Zone::name) == mesh.zones.end())
            throw AlgoError("Algorithm error!", "the mesh has no zone '" + name + "'");
    std::vector<PatchLoads> patches;
    PatchLoads sum;
    sum.name = "sum";
    const auto take = [&](const std::string& name, const std::vector<std::size_t>& faces) {
        patches.push_back(loads_of(mesh, surface, name, faces, request));
        add(sum, patches.back());
    };
    for (const FacePatch& patch : request.patches) {
        if (std::ranges::any_of(patch.faces,
                                [&](std::size_t t) { return t >= mesh.triangles.size(); }))
            throw AlgoError("Algorithm error!",
                            "patch '" + patch.name + "' has faces that the mesh has not");
        take(patch.name, patch.faces);
    }
    for (const auto& zone : mesh.zones) {
        if (!request.patches.empty()) break;
        const bool wanted = request.zones.empty() ||
                            std::ranges::find(request.zones, zone.name) != request.zones.end();
        if (!wanted) continue;
        std::vector<std::size_t> faces(zone.triangle_count);
        std::iota(faces.begin(), faces.end(), zone.first_triangle);
        take(zone.name, faces);
    }
    patches.push_back(sum);
    return patches;
}

double hinge_moment(const PatchLoads& patch, const Vec3& about, const Vec3& from, const Vec3& to) {
    const Vec3 axis = to - from;
    return dot(patch.moment + cross(about - from, patch.force), axis) / length(axis);
}

Vec3 in_wind_axes(const Vec3& force, double alpha, double beta) {
    const Vec3 downstream{std::cos(alpha) * std::cos(beta), -std::sin(beta),
                          std::sin(alpha) * std::cos(beta)};
    const Vec3 up{-std::sin(alpha), 0, std::cos(alpha)};
    return {dot(force, downstream), dot(force, cross(up, downstream)), dot(force, up)};
}

}  // namespace vyn
