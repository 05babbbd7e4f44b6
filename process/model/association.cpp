#include "process/model/association.h"

#include <algorithm>
#include <cmath>

#include <Eigen/Geometry>

#include "align/poly_transform.h"
#include "core/errors.h"
#include "resect/pairing.h"

namespace vyn {

namespace {

Eigen::Vector3d place_of(const Marker& marker) {
    return {marker.x, marker.y, marker.z};
}

bool is_marker(const AssociationScene& scene, std::int32_t number) {
    return std::ranges::any_of(scene.markers, [&](const Marker& m) { return m.id == number; });
}

/// The least number that neither a dot nor a marker has.
std::int32_t free_number(const AssociationScene& scene, const MarkerSet& dots) {
    std::set<std::int32_t> taken;
    for (const Marker& marker : scene.markers)
        taken.insert(marker.id);
    for (const Marker& dot : dots.markers)
        taken.insert(dot.id);
    std::int32_t number = 1;
    while (taken.contains(number))
        ++number;
    return number;
}

void give_number(const AssociationScene& scene, MarkerSet& dots, std::size_t dot,
                 std::int32_t number) {
    for (std::size_t i = 0; i < dots.markers.size(); ++i)
        if (i != dot && dots.markers[i].id == number) dots.markers[i].id = free_number(scene, dots);
    dots.markers[dot].id = number;
}

MarkerSet told_dots(const Association& association, const MarkerSet& dots) {
    MarkerSet told = dots;
    std::erase_if(told.markers, [&](const Marker& dot) {
        return !dot.active || !association.told.contains(dot.id);
    });
    return told;
}

/// Markers by index: 1 where the mesh lies between the marker and the camera.
std::vector<std::uint8_t> hidden_markers(const AssociationScene& scene, const Pose& pose) {
    std::vector<std::uint8_t> hidden(scene.markers.size(), 0);
    if (!scene.mesh) return hidden;
    // Markers are measured to some tenths of a millimetre: they may lie below the mesh's surface.
    const double lift = 3e-3 * scene.mesh->surface.diagonal;
    const Eigen::Vector3d centre = pose.centre() / scene.mm_per_unit;
    std::vector<SightLine> lines;
    for (const Marker& marker : scene.markers) {
        const Eigen::Vector3d place = place_of(marker) / scene.mm_per_unit;
        const Eigen::Vector3d from = place + lift * (centre - place).normalized();
        lines.push_back({{from.x(), from.y(), from.z()}, {centre.x(), centre.y(), centre.z()}, -1});
    }
    scene.mesh->rays.hidden(lines, hidden);
    return hidden;
}

/// A resection of this picture alone by the dots' numbers.
ViewResult resect_by_number(const AssociationScene& scene, const MarkerSet& dots,
                            const std::optional<Pose>& start, double gate) {
    ResectOptions options = scene.options;
    options.pairing = PairingKind::by_number;
    options.start = start ? StartKind::stored : StartKind::automatic;
    options.min_pairs = static_cast<int>(least_told);
    options.gate = gate;
    const UnloggedErrors quiet;  // while the user drags most of them say nothing new
    return resect(scene.markers, {{"", scene.camera, dots.markers, start}}, options, Progress())
        .views.front();
}

void take(Association& association, ViewResult result) {
    association.pose = result.pose;
    association.camera = result.camera;
    association.fit = std::move(result);
    association.problem.clear();
}

std::string told_words(std::size_t told) {
    return "drag rings onto their dots: " + std::to_string(told) + " of " +
           std::to_string(least_told);
}

/// The fit uses every dot that was told.
bool agrees(const Association& association, const MarkerSet& told) {
    return association.fit && std::ranges::all_of(told.markers, [&](const Marker& dot) {
               return std::ranges::any_of(association.fit->markers, [&](const MarkerResult& m) {
                   return m.used && m.dot_id == dot.id;
               });
           });
}

/// How a camera may look at the markers before anything is known: straight at their broad side, the
/// model's x to the right, all of them within seven tenths of the picture.
Pose first_guess(const AssociationScene& scene) {
    std::vector<DotPair> places;
    for (const Marker& marker : scene.markers)
        if (marker.active) places.push_back({0, 0, place_of(marker), {}, 1});
    const Spread spread = spread_of(places);
    const auto seen_along = [&](const Eigen::Vector3d& forward) {
        Eigen::Vector3d right = spread.axes.col(0);
        if (right.x() < 0) right = -right;
        Pose pose;
        pose.rotation.row(0) = right;
        pose.rotation.row(1) = forward.cross(right);
        pose.rotation.row(2) = forward;
        const PinholeCamera& camera = scene.camera;
        double distance = 0;
        for (const DotPair& pair : places) {
            const Eigen::Vector3d at = pose.rotation * (pair.place - spread.middle);
            constexpr double half = 0.35;  // of the picture
            distance =
                std::max({distance, std::abs(at.x()) * camera.fx / (half * camera.width) - at.z(),
                          std::abs(at.y()) * camera.fy / (half * camera.height) - at.z()});
        }
        // The lens' centre need not be the picture's.
        const Eigen::Vector3d middle{(0.5 * camera.width - camera.lens.cx) / camera.fx * distance,
                                     (0.5 * camera.height - camera.lens.cy) / camera.fy * distance,
                                     distance};
        pose.shift = middle - pose.rotation * spread.middle;
        return pose;
    };
    const Pose front = seen_along(spread.axes.col(2));
    const Pose back = seen_along(-spread.axes.col(2));
    const auto lost = [&](const Pose& pose) {
        return std::ranges::count(hidden_markers(scene, pose), 1);
    };
    const auto lost_in_front = lost(front);
    const auto lost_behind = lost(back);
    if (lost_in_front != lost_behind) return lost_in_front < lost_behind ? front : back;
    return spread.axes.col(2).z() < 0 ? front : back;  // from above
}

/// Rings of a guess follow the first three that were put on their dots, by the affine mapping that
/// these tell, so that the fourth dot is near; none leaves the picture.
void follow_told(std::vector<AssociationRow>& rows, const PinholeCamera& camera) {
    constexpr std::size_t affine = 3;
    std::vector<Point> rings;
    std::vector<Point> dots;
    for (const AssociationRow& row : rows) {
        if (!row.told) continue;
        rings.push_back(row.ring);
        dots.push_back(row.dot_place);
    }
    std::optional<PolyTransform> map;
    if (rings.size() >= affine) map = fit_poly(rings, dots, affine).map;
    for (AssociationRow& row : rows) {
        if (row.told) row.ring = row.dot_place;
        if (row.told || !map) continue;
        const Point moved = apply_poly(*map, row.ring);
        row.ring = {std::clamp(moved.x, 0.0, camera.width - 1.0),
                    std::clamp(moved.y, 0.0, camera.height - 1.0)};
    }
}

}  // namespace

Association start_association(const AssociationScene& scene, const MarkerSet& dots,
                              const std::optional<Pose>& stored) {
    Association association;
    association.camera = scene.camera;
    association.pose = stored;
    if (stored) {
        association = refit(scene, std::move(association), dots);
        if (association.fit) return association;
    }
    try {
        ViewResult found = resect_by_number(scene, dots, std::nullopt, scene.options.gate);
        // Few numbers agree with some pose or other.
        if (found.used >= static_cast<std::size_t>(std::max(scene.options.min_pairs, 6)))
            take(association, std::move(found));
    } catch (const AlgoError&) {
    }
    if (!association.pose) association.problem = told_words(0);
    return association;
}

Association refit(const AssociationScene& scene, Association association, const MarkerSet& dots) {
    association.fit.reset();
    if (!association.pose) {
        association.problem = told_words(told_dots(association, dots).markers.size());
        return association;
    }
    try {
        take(association, resect_by_number(scene, dots, association.pose, scene.options.gate));
    } catch (const AlgoError& error) {
        association.problem = error.detail;
    }
    return association;
}

Associated associate(const AssociationScene& scene, const Association& before, MarkerSet dots,
                     std::size_t dot, std::int32_t number) {
    give_number(scene, dots, dot, number);
    dots.markers[dot].active = true;
    Association next = before;
    next.told.insert(number);
    next = refit(scene, std::move(next), dots);
    const MarkerSet told = told_dots(next, dots);
    if (agrees(next, told)) return pair_rest(scene, std::move(next), std::move(dots));
    if (told.markers.size() < least_told) return {std::move(dots), std::move(next)};
    try {
        // Four dots tell a pose less well than all will.
        constexpr double gates = 4;
        take(next, resect_by_number(scene, told, std::nullopt, gates * scene.options.gate));
    } catch (const AlgoError& error) {
        next.problem = "the markers put on dots tell no pose: " + error.detail;
        return {std::move(dots), std::move(next)};
    }
    return pair_rest(scene, std::move(next), std::move(dots));
}

Associated pair_rest(const AssociationScene& scene, Association association, MarkerSet dots) {
    if (!association.pose) return {std::move(dots), std::move(association)};
    const std::vector<std::uint8_t> hidden = hidden_markers(scene, *association.pose);
    std::vector<Marker> seen;
    for (std::size_t i = 0; i < scene.markers.size(); ++i)
        if (!hidden[i]) seen.push_back(scene.markers[i]);
    const auto found = settle_pairs(association.camera, *association.pose, seen, dots.markers,
                                    scene.options.gate, scene.options.image_sigma, Progress());
    if (found) {
        const MarkerSet told = told_dots(association, dots);
        const auto was_told = [&](std::int32_t number) {
            return std::ranges::any_of(told.markers,
                                       [&](const Marker& dot) { return dot.id == number; });
        };
        const std::vector<Marker> before = dots.markers;
        std::vector<std::int32_t> numbers(before.size(), 0);
        for (const DotPair& pair : found->pairs) {
            const std::int32_t number = seen[static_cast<std::size_t>(pair.marker)].id;
            const auto dot = static_cast<std::size_t>(pair.dot);
            if (!was_told(number) && !was_told(before[dot].id)) numbers[dot] = number;
        }
        for (std::size_t i = 0; i < before.size(); ++i) {
            const Marker& dot = before[i];
            const bool keeps = was_told(dot.id) || !dot.active || numbers[i] != 0;
            if (!keeps && is_marker(scene, dot.id)) dots.markers[i].id = free_number(scene, dots);
        }
        for (std::size_t i = 0; i < before.size(); ++i)
            if (numbers[i] != 0) give_number(scene, dots, i, numbers[i]);
        association.pose = found->pose;
    }
    association = refit(scene, std::move(association), dots);
    return {std::move(dots), std::move(association)};
}

Associated find_association(const AssociationScene& scene, MarkerSet dots,
                            const Progress& progress) {
    const ViewResult found =
        resect(scene.markers, {{"", scene.camera, dots.markers, {}}}, scene.options, progress)
            .views.front();
    Association association;
    take(association, found);
    return pair_rest(scene, std::move(association), std::move(dots));
}

std::vector<AssociationRow> association_rows(const AssociationScene& scene,
                                             const Association& association,
                                             const MarkerSet& dots) {
    const bool guessed = !association.pose;
    const Pose pose = guessed ? first_guess(scene) : *association.pose;
    const PinholeCamera& camera = guessed ? scene.camera : association.camera;
    const std::vector<std::uint8_t> hidden = hidden_markers(scene, pose);
    std::vector<AssociationRow> rows;
    for (std::size_t i = 0; i < scene.markers.size(); ++i) {
        const Marker& marker = scene.markers[i];
        const auto ring = raw_pixel(camera, pose.in_camera(place_of(marker)));
        if (!marker.active || !ring) continue;
        AssociationRow row;
        row.number = marker.id;
        row.ring = *ring;
        row.hidden = hidden[i] != 0;
        const auto dot = std::ranges::find(dots.markers, marker.id, &Marker::id);
        // Before there is a fit the dots' numbers are a claim, but for those told.
        const bool told = association.told.contains(marker.id);
        if (dot != dots.markers.end() && (told || association.fit)) {
            row.told = told;
            row.dot = static_cast<std::size_t>(dot - dots.markers.begin());
            row.dot_place = {dot->x, dot->y};
            const bool used =
                association.fit &&
                std::ranges::any_of(association.fit->markers, [&](const MarkerResult& m) {
                    return m.used && m.marker_id == marker.id;
                });
            row.state = !dot->active               ? AssociationRow::State::left_out
                        : used || !association.fit ? AssociationRow::State::used
                                                   : AssociationRow::State::rejected;
            if (association.fit) {
                row.dx = dot->x - ring->x;
                row.dy = dot->y - ring->y;
            }
        }
        rows.push_back(row);
    }
    if (guessed) follow_told(rows, camera);
    return rows;
}

}  // namespace vyn
