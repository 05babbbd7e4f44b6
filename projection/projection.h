#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "api/image.h"
#include "core/progress.h"
#include "mesh/prepared_mesh.h"
#include "resect/camera_model.h"

namespace vyn {

struct ProjectionOptions {
    double obliqueness = 70;  ///< largest angle between normal and line of sight, degrees
    double tolerance = 1e-5;  ///< lift of ray origins, share of the mesh's diagonal
    enum class OpenSheets { filed, both };
    OpenSheets open_sheets = OpenSheets::filed;  ///< sides of a lone sheet that are painted
    enum class Location { nodes, cells };
    Location location = Location::nodes;
    enum class Sampling { point, area, automatic };
    Sampling sampling = Sampling::automatic;
    double min_valid = 0.5;  ///< least valid weight of a sample
    double edge_px = 2;      ///< nearer to an edge another view is taken where it has better
    enum class Blend { weighted, best };
    Blend blend = Blend::weighted;
    double blend_power = 2;  ///< of the cosine
    double feather_px = 10;
    /// Radius of the dots of the fields' markers, pixels; above 0 they and `edge_px` around them
    /// are left out.
    double marker_patch = 0;
    /// The fields are standard deviations of pixels that err independently; what comes out is that
    /// of the means over pixels and views.
    bool independent_errors = false;
};

/// A field in ideal pixels and where its camera stood. The field lives in pixels made with
/// `field_lens`; a node goes through the camera's lens to the raw pixel and by the field's lens to
/// the ideal one, so that a lens refined since then does no harm.
struct ProjectedView {
    std::string name;
    const image* field = nullptr;
    PinholeCamera camera;
    Distortion field_lens;
    Pose pose;  ///< shift in mm
    /// Of rotation vector, shift and `freed` intrinsics, as the resection reports it; may be empty.
    Eigen::MatrixXd covariance;
    std::vector<Intrinsic> freed;
    double rms = 0;  ///< of the markers, for the record
};

/// What became of the nodes (or cells) of one view.
struct ViewCounts {
    std::size_t seen = 0;
    std::size_t off_surface = 0;  ///< blanked, or of no face
    std::size_t by_angle = 0;
    std::size_t by_occlusion = 0;
    std::size_t by_mask = 0;
    std::size_t by_border = 0;  ///< of the picture, or behind the camera
};

struct ProjectionResult {
    /// Value under the field's name, then "view" (number of the best, from 1), "views", "angle"
    /// (degrees), "px" (pixels averaged), "spread" and, with a covariance, "sigma_pose".
    std::vector<field_data<double>::Quantity> quantities;
    std::vector<ViewCounts> counts;     ///< by view
    std::vector<double> covered_share;  ///< of the area, by zone; a face counts when all is seen
    double covered = 0;                 ///< share of all zones' area
};

/// Sets the shares of the area at whose nodes, or in whose cells, a quantity is known.
void measure_cover(const PreparedMesh& prepared, const field_data<double>::Quantity& value,
                   ProjectionResult& result);

/// Values of the views' fields at the nodes or cells of a mesh whose coordinates are `mm_per_unit`
/// mm each. A node is seen when a normal of its is turned to the camera, nothing lies in between
/// and its sample is valid; excluded pixels never enter a value. Splits by blocks of nodes: the
/// same bits for any number of threads. Raises AlgoError when a field's size is not its camera's,
/// Aborted when told to stop.
ProjectionResult project_fields(const PreparedMesh& prepared, double mm_per_unit,
                                const std::vector<ProjectedView>& views, const std::string& name,
                                const std::string& unit, const ProjectionOptions& options,
                                Progress& progress);

}  // namespace vyn
