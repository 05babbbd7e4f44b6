#pragma once

#include <optional>
#include <string>
#include <vector>

#include "mesh/surface.h"

namespace vyn {

/// Faces of the mesh under a name.
struct FacePatch {
    std::string name;
    std::vector<std::size_t> faces;
};

/// What the loads of a field are taken from.
struct LoadsRequest {
    std::string quantity;              ///< at the nodes or cells: pressure, or a coefficient
    double reference = 0;              ///< subtracted from the values: the static pressure; of Cp 0
    Vec3 about{};                      ///< moments' point, in the mesh's unit
    std::vector<std::string> zones;    ///< empty: all, each a patch of its own, and their sum
    std::vector<FacePatch> patches{};  ///< unless empty, these are taken in the zones' place
};

/// Force and moment of a patch. Faces with a place that was not seen do not count; the shares say
/// how much of the patch that leaves.
struct PatchLoads {
    std::string name;
    Vec3 force{};   ///< value times area: -∫ (p - reference) n dA
    Vec3 moment{};  ///< about the point
    double area = 0;
    double covered_area = 0;
    Vec3 projected{};  ///< area seen along x, y, z, both sides counted
    Vec3 covered_projected{};
    /// The force of one standard deviation everywhere at once, from the quantity "sigma_pose".
    std::optional<Vec3> force_sigma;
    /// Standard deviations of the force by the field's own: of "sigma_common", the same everywhere
    /// at once, and of "sigma_random", each node (or cell) for itself.
    std::optional<Vec3> force_sigma_common;
    std::optional<Vec3> force_sigma_random;

    double covered_share() const { return area > 0 ? covered_area / area : 0; }
};

/// Loads of every patch, the sum of them last under the name "sum". Values are linear on each
/// triangle, and moments exact for that: ∫ p x dA = A/12 Σ (1 + δij) pi xj. So a linear pressure on
/// a closed body gives -V grad p. Raises AlgoError for a quantity, zone or face that is not there.
std::vector<PatchLoads> surface_loads(const field_data<double>& mesh, const Surface& surface,
                                      const LoadsRequest& request);

/// The moment of a patch about the axis through two points, right-handed from the first to the
/// second; `about` is the point that its loads were taken about. NaN where the points are one.
double hinge_moment(const PatchLoads& patch, const Vec3& about, const Vec3& from, const Vec3& to);

/// A force of body axes (x downstream along the body, y to starboard, z up) as drag, side force and
/// lift; angles in radians, beta positive for wind from starboard.
Vec3 in_wind_axes(const Vec3& force, double alpha, double beta);

}  // namespace vyn
