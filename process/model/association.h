#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/progress.h"
#include "markers/marker.h"
#include "mesh/prepared_mesh.h"
#include "resect/resection.h"

namespace vyn {

/// The user tells which dot of a camera picture is which marker on the model. A dot belongs to the
/// marker whose number it has; all pixels are raw ones.

/// What an association goes on.
struct AssociationScene {
    std::vector<Marker> markers;               ///< on the model, mm
    std::shared_ptr<const PreparedMesh> mesh;  ///< null: nothing is hidden
    double mm_per_unit = 1;                    ///< of the mesh
    PinholeCamera camera;                      ///< as its record says
    ResectOptions options;
};

/// What was told so far and what follows from it.
struct Association {
    std::set<std::int32_t> told;  ///< numbers of the markers that the user has put on dots
    std::optional<Pose> pose;     ///< mm
    PinholeCamera camera;         ///< as adjusted with the pose
    std::optional<ViewResult>
        fit;              ///< of the dots by their numbers; nothing while they tell no pose
    std::string problem;  ///< why there is no pose or no fit, for the user
};

/// An association with the dots that it is of.
struct Associated {
    MarkerSet dots;
    Association association;
};

/// So many markers put on their dots give a pose.
inline constexpr std::size_t least_told = 4;

/// From a pose at hand, else from the dots' numbers where a pose agrees with them.
Association start_association(const AssociationScene& scene, const MarkerSet& dots,
                              const std::optional<Pose>& stored);

/// The dot gets the marker's number and takes part; a dot that had it gets one that is free. Where
/// the pose does not agree with what was told, or there is none, it is found from the told dots
/// alone. The rest is paired by it.
Associated associate(const AssociationScene& scene, const Association& before, MarkerSet dots,
                     std::size_t dot, std::int32_t number);

/// Gives the dots that seen markers fall on at the association's pose the numbers of these markers;
/// what was told stays. Other dots that bear a marker's number get free ones.
Associated pair_rest(const AssociationScene& scene, Association association, MarkerSet dots);

/// Pairs and pose without any help, as a resection finds them, the dots numbered by it. Raises
/// AlgoError "Resection Failed!", Aborted.
Associated find_association(const AssociationScene& scene, MarkerSet dots,
                            const Progress& progress);

/// Pose and residuals of the dots as they are now, starting at the association's pose.
Association refit(const AssociationScene& scene, Association association, const MarkerSet& dots);

/// A marker on the model as it stands to the picture.
struct AssociationRow {
    std::int32_t number = 0;
    std::optional<std::size_t> dot;  ///< index of the dot of that number
    Point dot_place;
    Point ring;           ///< where the pose sees the marker
    bool hidden = false;  ///< by the mesh
    bool told = false;
    /// `rejected`: farther off than the gate allows; `left_out`: the dot is switched off.
    enum class State { used, rejected, left_out, no_dot };
    State state = State::no_dot;
    double dx = 0;  ///< dot minus ring, pixels; 0 without a dot or a fit
    double dy = 0;
    double length() const { return std::hypot(dx, dy); }
};

/// Every active marker that the pose sees in front of the camera; without a pose as the camera
/// would see them from a side where few are hidden, spread over its picture, to be dragged; once
/// three are on their dots they take the others with them.
std::vector<AssociationRow> association_rows(const AssociationScene& scene,
                                             const Association& association, const MarkerSet& dots);

}  // namespace vyn
