#include "process/model/model_ports.h"

#include <cmath>
#include <utility>

#include "calib/flow.h"
#include "calib/units.h"
#include "core/keys.h"
#include "process/report/point_check.h"
#include "render/model/visible_faces.h"

namespace vyn {

namespace {

/// Where the line of sight through a pixel first meets the surface.
std::optional<Vec3> place_at(const field_data<double>& mesh, const Surface& surface,
                             const VisibleFaces& faces, const Marker& port) {
    const double column = std::round(port.x);
    const double row = std::round(port.y);
    const ModelView& view = faces.view();
    if (!(column >= 0 && row >= 0 && column < view.width && row < view.height)) return std::nullopt;
    const auto number = faces.face(static_cast<int>(column), static_cast<int>(row));
    if (number == VisibleFaces::nothing) return std::nullopt;
    const auto face = static_cast<std::size_t>(number);
    const FaceShares shares = faces.shares(surface, face, port.x, port.y);
    Vec3 place{};
    for (std::size_t i = 0; i < 3; ++i)
        place =
            place + shares[i] * mesh.vertices[static_cast<std::size_t>(surface.triangles[face][i])];
    return place;
}

}  // namespace

std::vector<ModelPort> ports_on_model(const Session& session, const field_data<double>& mesh,
                                      const Surface& surface, double mm_per_unit,
                                      Progress& progress) {
    const auto field = session.images.find(image_names::field);
    if (!field || !is_comparable(field->quantity)) return {};
    const MarkerSet ports = ports_of_point(session.data, session.images);
    if (!ports.hasF || (!ports.hasZ && mesh.views.empty())) return {};
    flowFeatures flow;
    read(std::as_const(session.data), std::string(keys::flow), flow);
    VisibleFaces faces;
    if (!ports.hasZ)
        faces.draw(mesh, surface, view_of_camera(mesh.views.front(), mm_per_unit, 1), {}, progress);
    const UnitMessagesOnce once;
    std::vector<ModelPort> result;
    for (const Marker& port : ports.markers) {
        if (!port.active || !std::isfinite(port.f)) continue;
        const auto place = ports.hasZ ? std::optional(Vec3{port.x, port.y, port.z})
                                      : place_at(mesh, surface, faces, port);
        if (place) result.push_back({port.id, *place, port_value(*field, port.f, flow)});
    }
    return result;
}

std::vector<SectionPort> ports_of_section(const std::vector<ModelPort>& ports,
                                          const Section& section, const SectionPlane& plane,
                                          double reach) {
    const SectionLoads& loads = section.loads;
    if (section.curves.empty() || section.curves.front().points.empty() || !(loads.chord > 0))
        return {};
    const SectionPoint& known = section.curves.front().points.front();
    const double leading = dot(loads.along, known.place) - known.x_c * loads.chord;
    std::vector<SectionPort> result;
    for (const ModelPort& port : ports)
        if (std::abs(dot(plane.normal, port.place) - plane.offset) <= reach)
            result.push_back(
                {port.number, (dot(loads.along, port.place) - leading) / loads.chord, port.value});
    return result;
}

}  // namespace vyn
