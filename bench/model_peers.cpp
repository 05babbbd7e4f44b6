#include "bench/model_peers.h"

#include <chrono>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <stdexcept>

#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#include <embree3/rtcore.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "api/parallel.h"
#include "bench/measure.h"
#include "bench/model_stages.h"

namespace vyn::bench {

namespace {

/// The faces in Embree, robust, and one ray after the other.
class BareRays {
  public:
    explicit BareRays(const ModelInputs& inputs)
        : device_(rtcNewDevice("threads=1")), scene_(rtcNewScene(device_)) {
        const Vec3 middle = inputs.prepared.surface.middle;
        RTCGeometry geometry = rtcNewGeometry(device_, RTC_GEOMETRY_TYPE_TRIANGLE);
        auto* vertices = static_cast<float*>(
            rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3,
                                    3 * sizeof(float), inputs.mesh.vertices.size()));
        auto* corners = static_cast<unsigned*>(
            rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                                    3 * sizeof(unsigned), inputs.mesh.triangles.size()));
        for (const Vec3& vertex : inputs.mesh.vertices)
            for (std::size_t i = 0; i < 3; ++i)
                *vertices++ = static_cast<float>(vertex[i] - middle[i]);
        for (const auto& triangle : inputs.mesh.triangles)
            for (const int corner : triangle)
                *corners++ = static_cast<unsigned>(corner);
        rtcCommitGeometry(geometry);
        rtcSetSceneFlags(scene_, RTC_SCENE_FLAG_ROBUST);
        rtcAttachGeometry(scene_, geometry);
        rtcReleaseGeometry(geometry);
        rtcCommitScene(scene_);
        for (const SightLine& line : inputs.lines) {
            const Vec3 from = line.from - middle;
            const Vec3 way = line.to - line.from;
            RTCRay ray{};
            ray.org_x = float(from[0]);
            ray.org_y = float(from[1]);
            ray.org_z = float(from[2]);
            ray.dir_x = float(way[0]);
            ray.dir_y = float(way[1]);
            ray.dir_z = float(way[2]);
            ray.tfar = 1;
            ray.mask = ~0U;
            rays_.push_back(ray);
        }
    }
    ~BareRays() {
        rtcReleaseScene(scene_);
        rtcReleaseDevice(device_);
    }
    BareRays(const BareRays&) = delete;
    BareRays& operator=(const BareRays&) = delete;

    void run() {
        RTCIntersectContext context;
        rtcInitIntersectContext(&context);
        for (RTCRay ray : rays_) {
            rtcOccluded1(scene_, &context, &ray);
            hidden_ += ray.tfar < 0;
        }
    }

  private:
    RTCDevice device_;
    RTCScene scene_;
    std::vector<RTCRay> rays_;
    std::size_t hidden_ = 0;
};

/// OpenCV with its own lens at 0, as a division model has no counterpart there.
class CameraPeer {
  public:
    explicit CameraPeer(const ModelInputs& inputs)
        : values_(inputs.field.height(), inputs.field.width(), CV_32F),
          valid_(values_.size(), CV_8U),
          camera_(matrix_of(inputs.view.camera)),
          marker_camera_(matrix_of(inputs.marker_camera)) {
        for (int y = 0; y < values_.rows; ++y)
            for (int x = 0; x < values_.cols; ++x) {
                values_.at<float>(y, x) = inputs.field.values()(x, y);
                valid_.at<std::uint8_t>(y, x) = inputs.field.mask()(x, y) == 0 ? 255 : 0;
            }
        for (const Vec3& p : inputs.faced)
            nodes_.emplace_back(float(p[0]), float(p[1]), float(p[2]));
        const Eigen::Vector3d turn = vector_of(inputs.view.pose.rotation);
        turn_ = {turn.x(), turn.y(), turn.z()};
        const Eigen::Vector3d& shift = inputs.view.pose.shift;
        shift_ = {shift.x(), shift.y(), shift.z()};
        for (const DotPair& pair : inputs.pairs) {
            places_.emplace_back(pair.place.x(), pair.place.y(), pair.place.z());
            dots_.emplace_back(pair.pixel.x, pair.pixel.y);
        }
    }

    void solve() {
        cv::Vec3d turn;
        cv::Vec3d shift;
        cv::solvePnP(places_, dots_, marker_camera_, cv::noArray(), turn, shift);
    }

    void sample() {
        std::vector<cv::Point2f> pixels;
        cv::projectPoints(nodes_, turn_, shift_, camera_, cv::noArray(), pixels);
        // A map of one row would be longer than remap takes.
        constexpr std::size_t columns = 4096;
        pixels.resize((pixels.size() + columns - 1) / columns * columns, {-9, -9});
        const cv::Mat map(static_cast<int>(pixels.size() / columns), int(columns), CV_32FC2,
                          pixels.data());
        cv::Mat values;
        cv::Mat valid;
        cv::remap(values_, values, map, cv::noArray(), cv::INTER_CUBIC);
        cv::remap(valid_, valid, map, cv::noArray(), cv::INTER_LINEAR);
    }

  private:
    static cv::Matx33d matrix_of(const PinholeCamera& camera) {
        return {camera.fx, 0, camera.lens.cx, 0, camera.fy, camera.lens.cy, 0, 0, 1};
    }

    cv::Mat values_;
    cv::Mat valid_;
    cv::Matx33d camera_;
    cv::Matx33d marker_camera_;
    std::vector<cv::Point3f> nodes_;
    cv::Vec3d turn_;
    cv::Vec3d shift_;
    std::vector<cv::Point3d> places_;
    std::vector<cv::Point2d> dots_;
};

void import_mesh(const ModelInputs& inputs) {
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(inputs.stl.string(), 0);
    if (!scene || scene->mNumMeshes == 0) throw std::runtime_error("assimp read nothing");
}

/// Largest ratios of our time to the peer's, or our time in seconds.
struct Target {
    const char* stage;
    const char* against;
    double acceptable;
    double good;
    double best;
    enum class Threads { one, all } threads = Threads::one;
};

constexpr Target targets[] = {
    {"pose", "solvePnP", 2, 1, 0.6},
    {"pairing", "s", 5, 2, 0.5},
    {"drag", "s", 0.05, 0.05, 0.05},
    {"visibility", "Embree", 1.5, 1.15, 0.8},
    {"node_sample", "OpenCV", 0.8, 0.4, 0.25},
    {"project_known", "s", 0.5, 0.2, 0.1, Target::Threads::all},
    {"project_first", "s", 3, 1.5, 0.8, Target::Threads::all},
    {"frame", "s", 0.06, 0.033, 0.02, Target::Threads::all},
    {"frame_large", "s", 0.1, 0.06, 0.033, Target::Threads::all},
    {"stl_read", "assimp", 3, 1.5, 1},
};

double time_of(const std::function<void()>& work) {
    return time_once(ModelStage{"peer", 1, "", work});
}

/// Medians of runs by turns.
std::pair<double, double> alternated(const ModelStage& stage, const std::function<void()>& peer) {
    constexpr double enough_ns = 2e9;
    constexpr std::size_t least = 7;
    std::vector<double> ours;
    std::vector<double> theirs;
    stage.run();
    if (peer) peer();
    for (double spent = 0; ours.size() < least || spent < enough_ns;) {
        ours.push_back(time_once(stage));
        theirs.push_back(peer ? time_of(peer) : 1e9);
        spent += ours.back() + (peer ? theirs.back() : 0);
    }
    return {median(ours), median(theirs)};
}

}  // namespace

void print_model_peers() {
    const ModelInputs inputs;
    BareRays rays(inputs);
    CameraPeer camera(inputs);
    const auto peer_of = [&](const std::string& stage) -> std::function<void()> {
        if (stage == "pose") return [&] { camera.solve(); };
        if (stage == "visibility") return [&] { rays.run(); };
        if (stage == "node_sample") return [&] { camera.sample(); };
        if (stage == "stl_read") return [&] { import_mesh(inputs); };
        return {};
    };
    std::cout
        << "\non a model of " << inputs.mesh.vertices.size() << " nodes, "
        << inputs.mesh.triangles.size() << " triangles, " << inputs.field.width() << " x "
        << inputs.field.height() << " pixels; ns by unit\n"
        << "stage          threads           ours            ref.   ratio   against  acceptable  "
           "good  best\n";
    const std::vector<ModelStage> stages = model_stages(inputs);
    for (const ModelStage& stage : stages) {
        const Target& target = *std::ranges::find_if(
            targets, [&](const Target& one) { return stage.name == one.stage; });
        for (const int threads : thread_counts()) {
            if (target.threads == Target::Threads::one && threads != 1) continue;
            const ThreadLimit limit(threads);
            cv::setNumThreads(threads);
            const auto [ours, theirs] = alternated(stage, peer_of(stage.name));
            std::cout << std::left << std::setw(14) << stage.name << std::right << std::setw(8)
                      << threads << std::setw(15) << ours / stage.units << std::setw(16)
                      << theirs / stage.units << std::setw(8) << ours / theirs << "   " << std::left
                      << std::setw(9) << target.against << std::right << std::setw(10)
                      << target.acceptable << std::setw(6) << target.good << std::setw(6)
                      << target.best << std::endl;
        }
    }
}

}  // namespace vyn::bench
