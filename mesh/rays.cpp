// The only file that sees Embree; version 4 differs in the header's path and in how the filter
// and the query's arguments are handed over.
#include "mesh/rays.h"

#include <algorithm>

#include <embree3/rtcore.h>

#include "core/errors.h"

namespace vyn {

namespace {

struct ReleaseDevice {
    void operator()(RTCDevice device) const { rtcReleaseDevice(device); }
};
struct ReleaseScene {
    void operator()(RTCScene scene) const { rtcReleaseScene(scene); }
};
using Device = std::unique_ptr<RTCDeviceTy, ReleaseDevice>;
using SceneHandle = std::unique_ptr<RTCSceneTy, ReleaseScene>;

/// Lines that are traced at once; those of one block of nodes run close together.
constexpr std::size_t packet = 8;

/// A query that leaves out the faces at each line's own vertex.
struct Query {
    RTCIntersectContext context;  // first: the filter gets a pointer to it
    const std::vector<std::array<int, 3>>* faces;
    std::array<int, packet> places;  ///< by the ray's id
};

void leave_out_own_faces(const RTCFilterFunctionNArguments* args) {
    const auto& query = *reinterpret_cast<const Query*>(args->context);
    for (unsigned i = 0; i < args->N; ++i) {
        if (args->valid[i] == 0) continue;
        const unsigned face = RTCHitN_primID(args->hit, args->N, i);
        const int own = query.places[RTCRayN_id(args->ray, args->N, i)];
        for (const int place : (*query.faces)[face])
            if (place == own) args->valid[i] = 0;
    }
}

/// Asked by the threads that build the scene.
bool go_on(void* progress, double done) {
    static_cast<Progress*>(progress)->fraction(done);
    return !static_cast<Progress*>(progress)->aborted();
}

}  // namespace

struct RayScene::Scene {
    Device device;
    SceneHandle scene;
    Vec3 middle{};
    std::vector<std::array<int, 3>> faces;  ///< places of the corners, by the scene's face number
};

RayScene::RayScene(const field_data<double>& mesh, const Surface& surface, Progress& progress)
    : scene_(std::make_unique<Scene>()) {
    // It builds on the threads that all parallel work shares. A number here would hold those down
    // to it for the whole program, as long as the scene lives.
    scene_->device.reset(rtcNewDevice("set_affinity=0"));
    if (!scene_->device) throw AlgoError("Algorithm error!", "the ray tracer does not start");
    const RTCDevice device = scene_->device.get();
    scene_->middle = surface.middle;
    for (std::size_t t = 0; t < surface.triangles.size(); ++t)
        if (surface.counts[t]) {
            auto& face = scene_->faces.emplace_back();
            for (std::size_t c = 0; c < 3; ++c)
                face[c] = surface.place[static_cast<std::size_t>(surface.triangles[t][c])];
        }

    const RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
    auto* vertices = static_cast<float*>(
        rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3,
                                3 * sizeof(float), mesh.vertices.size()));
    auto* corners = static_cast<unsigned*>(
        rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                                3 * sizeof(unsigned), scene_->faces.size()));
    if (!vertices || !corners) {
        rtcReleaseGeometry(geometry);
        throw AlgoError("Algorithm error!", "not enough memory for the rays");
    }
    for (const Vec3& vertex : mesh.vertices)
        for (std::size_t i = 0; i < 3; ++i)
            *vertices++ = static_cast<float>(vertex[i] - surface.middle[i]);
    for (const auto& face : scene_->faces)
        for (const int place : face)
            *corners++ = static_cast<unsigned>(place);
    rtcCommitGeometry(geometry);
    scene_->scene.reset(rtcNewScene(device));
    const RTCScene scene = scene_->scene.get();
    rtcSetSceneFlags(scene, static_cast<RTCSceneFlags>(RTC_SCENE_FLAG_ROBUST |
                                                       RTC_SCENE_FLAG_CONTEXT_FILTER_FUNCTION));
    rtcAttachGeometry(scene, geometry);
    rtcReleaseGeometry(geometry);
    rtcSetSceneProgressMonitorFunction(scene, go_on, &progress);
    rtcCommitScene(scene);
    throw_if_aborted(progress);
    rtcSetSceneProgressMonitorFunction(scene, nullptr, nullptr);
    if (rtcGetDeviceError(device) != RTC_ERROR_NONE)
        throw AlgoError("Algorithm error!", "the ray tracer did not take the mesh");
}

RayScene::~RayScene() = default;

void RayScene::hidden(std::span<const SightLine> lines, std::span<std::uint8_t> answers) const {
    Query query{};
    rtcInitIntersectContext(&query.context);
    query.context.filter = leave_out_own_faces;
    query.context.flags = RTC_INTERSECT_CONTEXT_FLAG_COHERENT;
    query.faces = &scene_->faces;
    for (std::size_t first = 0; first < lines.size(); first += packet) {
        const std::size_t count = std::min(packet, lines.size() - first);
        alignas(32) std::array<int, packet> valid{};
        RTCRay8 rays{};
        for (std::size_t i = 0; i < count; ++i) {
            const SightLine& line = lines[first + i];
            const Vec3 from = line.from - scene_->middle;
            const Vec3 way = line.to - line.from;
            valid[i] = -1;
            query.places[i] = line.place;
            rays.id[i] = static_cast<unsigned>(i);
            rays.org_x[i] = static_cast<float>(from[0]);
            rays.org_y[i] = static_cast<float>(from[1]);
            rays.org_z[i] = static_cast<float>(from[2]);
            rays.dir_x[i] = static_cast<float>(way[0]);
            rays.dir_y[i] = static_cast<float>(way[1]);
            rays.dir_z[i] = static_cast<float>(way[2]);
            rays.tfar[i] = 1;
            rays.mask[i] = ~0U;
        }
        rtcOccluded8(valid.data(), scene_->scene.get(), &query.context, &rays);
        for (std::size_t i = 0; i < count; ++i)
            answers[first + i] = rays.tfar[i] < 0;
    }
}

}  // namespace vyn
