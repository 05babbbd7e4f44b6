#pragma once

#include <string>
#include <vector>

#include "mesh/surface.h"

namespace vyn {

/// A plane: the points x with normal · x = offset; the normal of length 1.
struct SectionPlane {
    Vec3 normal{};
    double offset = 0;
};

struct SectionPoint {
    Vec3 place{};
    double s = 0;            ///< along the curve from its first point
    double x_c = 0;          ///< from the section's leading (0) to its trailing point (1)
    double value = 0;        ///< NaN where it was not seen
    double sigma = 0;        ///< of "sigma_pose"; NaN without
    double sigma_field = 0;  ///< of "sigma_common" and "sigma_random" together; NaN without
    double view = 0;         ///< of "view"; NaN without
};

/// Points in order along one zone's cut; the last point of a closed one is the first again.
struct SectionCurve {
    std::string zone;
    bool closed = false;
    std::vector<SectionPoint> points;
};

/// Coefficients of a section in its plane: `along` is the chord's direction, `up` the other one.
struct SectionLoads {
    Vec3 along{};
    Vec3 up{};
    double chord = 0;
    double normal = 0;         ///< cn: -∮ value n·up ds / chord
    double axial = 0;          ///< ca: -∮ value n·along ds / chord
    double moment = 0;         ///< cm about the quarter chord, nose up positive, over chord squared
    double covered_share = 0;  ///< of the cut's length
};

struct Section {
    std::vector<SectionCurve> curves;
    SectionLoads loads;
};

/// Cuts the mesh. Segments are joined through shared edges; values are linear along edges. A value
/// is NaN where an end of its edge was not seen. The chord's direction is the model's x axis in the
/// plane (y where the plane is one of constant x); leading and trailing point are the cut's first
/// and last in it. Quantities at nodes only; raises AlgoError for one that is not there.
Section cut_section(const field_data<double>& mesh, const Surface& surface,
                    const SectionPlane& plane, const std::string& quantity);

/// The edges of a wing as polylines in the mesh's unit, both along its span (y, or z for a fin).
struct ChordLines {
    std::vector<Vec3> leading;
    std::vector<Vec3> trailing;
};

/// The curves over the mesh at a constant share of the chord, from the leading (0) to the trailing
/// line (1) at a point's place along the span; only between the ends of both lines. Raises
/// AlgoError for lines of less than two points and a quantity that is not at the nodes.
std::vector<SectionCurve> cut_at_chord(const field_data<double>& mesh, const Surface& surface,
                                       const ChordLines& lines, double x_c,
                                       const std::string& quantity);

}  // namespace vyn
