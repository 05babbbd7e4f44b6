#include "process/model/camera_calibration.h"

#include <algorithm>
#include <utility>

#include "core/errors.h"
#include "core/keys.h"
#include "core/log.h"
#include "process/model/resect_json.h"
#include "process/point/marker_io.h"
#include "process/point/project_paths.h"
#include "process/point/raw_images.h"
#include "resect/report_numbers.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

/// The pose that suits the same pairs best with the camera as its record has it.
std::optional<ViewResult> with_record(const ViewResult& found, const ResectOptions& options,
                                      const Progress& progress) {
    Adjustment problem;
    problem.cameras.push_back({found.camera_before, {}});
    problem.loss = options.loss;
    AdjustView view{0, found.pose, {}};
    for (const MarkerResult& marker : found.markers) {
        if (!marker.used) continue;
        if (!raw_pixel(found.camera_before, found.pose.in_camera(marker.place)))
            return std::nullopt;
        const auto index = static_cast<int>(view.pairs.size());
        view.pairs.push_back({index, index, marker.place, marker.dot, options.image_sigma});
    }
    problem.views.push_back(std::move(view));
    const AdjustmentReport report = adjust(problem, progress);
    ViewResult result = view_numbers(problem, report, 0);
    result.name = found.name;
    return result;
}

void require_size_of_camera(const image& picture, const cameraFeatures& record) {
    if (picture.width() != record.nfx || picture.height() != record.nfy)
        throw AlgoError("Resection Failed!",
                        "the picture '" + picture.name + "' has " +
                            std::to_string(picture.width()) + " x " +
                            std::to_string(picture.height()) + " pixels, its camera " +
                            std::to_string(record.nfx) + " x " + std::to_string(record.nfy));
}

PointView view_of_markers(const Session& session, const fs::path& file) {
    PointView view;
    view.name = file.stem().string();
    read(std::as_const(session.data), std::string(keys::sens_camera), view.record);
    view.dots = read_marker_file(file, view.record.nfy).markers;
    return view;
}

}  // namespace

CameraCalibration calibrate_camera(const std::vector<Marker>& markers,
                                   const std::vector<PointView>& views,
                                   const ResectOptions& options, const Progress& progress) {
    CameraCalibration result;
    result.found = resect(markers, resect_views(views), options, progress);
    for (const ViewResult& view : result.found.views)
        result.before.push_back(with_record(view, options, progress));
    return result;
}

std::optional<std::size_t> view_of_camera(const std::vector<PointView>& views,
                                          const cameraFeatures& record) {
    const auto found = std::ranges::find(views, record, &PointView::record);
    if (found == views.end()) return std::nullopt;
    return static_cast<std::size_t>(found - views.begin());
}

fs::path camera_file(const dataSetInterface& data, const cameraFeatures& record) {
    if (record.camera.empty()) return {};
    const fs::path found = locate(record.camera, project_folder(data));
    return found.empty() ? project_folder(data) / record.camera : found;
}

namespace {

cameraFeatures camera_of(const dataSetInterface& data, std::string_view tree) {
    cameraFeatures record;
    read(data, std::string(tree), record);
    return record;
}

/// One camera behind two filters has a flat field for each.
bool is_same_camera(cameraFeatures a, const cameraFeatures& b) {
    a.flat_file = b.flat_file;
    return a == b;
}

}  // namespace

void accept_camera(dataSetInterface& data, const ViewResult& view, const fs::path& file) {
    const cameraFeatures old = camera_of(data, keys::sens_camera);
    const cameraFeatures reference = camera_of(data, keys::refe_camera);
    const bool takes_both = is_same_camera(reference, old);
    const fs::path old_file = camera_file(data, old);
    cameraFeatures record = with_intrinsics(old, view.camera_before, view.camera);
    if (!file.empty()) {
        if (file != old_file) record.camera = file.string();
        write_camera(file.string(), record);
    }
    write(data, std::string(keys::sens_camera), record);
    if (takes_both) {
        record.flat_file = reference.flat_file;
        write(data, std::string(keys::refe_camera), record);
    }
    get_log().write(LogLevel::progress,
                    std::string(takes_both ? "Camera of both channels" : "Camera") +
                        " stored in the project" +
                        (file.empty() ? std::string() : " and in " + file.string()));
}

TaskOutcome CalibrationViewTask::run(TaskContext& context) {
    context.status("Reading the picture");
    std::shared_ptr<const image> picture;
    switch (kind_) {
        case Kind::own:
            view_->seen = own_view(session_);
            picture = session_.images.find(view_->seen.name);
            break;
        case Kind::markers:
            view_->seen = view_of_markers(session_, file_);
            break;
        case Kind::project: {
            FurtherProject project;
            open_further_project(file_, project, context);
            view_->seen = view_of_project(project);
            const std::string name = read(project.data, keys::resect_markers_view);
            picture = project.find(name);
            if (!picture)
                if (auto loaded = load_image(project.data, name, context))
                    picture = std::make_shared<const image>(std::move(*loaded));
            break;
        }
    }
    if (!picture) return TaskOutcome::done;
    require_size_of_camera(*picture, view_->seen.record);
    view_->picture = std::make_shared<const ImageLevels>(picture, nullptr, context);
    return TaskOutcome::done;
}

TaskOutcome CalibrateCameraTask::run(TaskContext& context) {
    context.status("Calibrating the camera");
    const dataSetInterface& data = session_.data;
    const std::string file = read(data, keys::mesh_mark_file);
    if (file.empty()) throw AlgoError("Mesh markers are not defined!");
    const std::string unit = mesh_unit_of(session_.field, data);
    const auto markers =
        read_model_markers(find_input(data, file, keys::mesh_mark_file.path), data, unit);
    ResectOptions options = resect_options(data, mm_per(unit));
    const auto is_free = [this](Intrinsic which) { return free_[static_cast<std::size_t>(which)]; };
    options.free_focus = is_free(Intrinsic::focus);
    options.free_centre = is_free(Intrinsic::cx);
    options.free_a2 = is_free(Intrinsic::a2);
    options.free_a4 = is_free(Intrinsic::a4);
    *result_ = calibrate_camera(markers, views_, options, context);
    for (const std::string& line : resection_lines(result_->found))
        get_log().write(LogLevel::progress, line);
    return TaskOutcome::done;
}

}  // namespace vyn
