#include "process/point/marker_frames.h"

#include <cmath>
#include <string>
#include <utility>

#include "calib/camera.h"
#include "core/errors.h"
#include "core/log.h"
#include "process/point/experiment_type.h"
#include "process/point/marker_io.h"
#include "process/point/project_paths.h"
#include "process/steps/image_origin.h"

namespace vyn {

namespace {

namespace fs = std::filesystem;

template <class Map>
MarkerSet mapped(MarkerSet set, const Distortion& lens, const Map& map) {
    if (lens.none()) return set;
    for (Marker& marker : set.markers) {
        const Point place = map(lens, Point{marker.x, marker.y});
        if (!std::isfinite(place.x) || !std::isfinite(place.y))
            throw AlgoError("Algorithm error!",
                            "marker " + std::to_string(marker.id) +
                                " lies outside of what the camera's lens shows");
        marker.x = place.x;
        marker.y = place.y;
    }
    return set;
}

bool is_marker_file(const dataSetInterface& data, const RawImage& raw, const fs::path& file) {
    const std::string named = read(data, raw.marker_file);
    if (named.empty()) return false;
    const fs::path found = locate(named, project_folder(data));
    std::error_code ignored;
    const fs::path wanted = found.empty() ? project_folder(data) / named : found;
    return fs::weakly_canonical(fs::absolute(wanted), ignored) ==
           fs::weakly_canonical(fs::absolute(file), ignored);
}

}  // namespace

CameraOrigin camera_origin(std::string_view image_name) {
    CameraOrigin origin;
    for (const RawImage& raw : raw_images())
        if (image_name == raw.name || image_name == raw.corrected_name)
            origin = {&raw, image_name == raw.corrected_name};
    return origin;
}

Distortion lens_of(const dataSetInterface& data, std::string_view camera) {
    cameraFeatures record;
    read(data, std::string(camera), record);
    return lens_of(record);
}

MarkerSet to_camera_frame(MarkerSet ideal, const Distortion& lens) {
    return mapped(std::move(ideal), lens, exact_camera_position);
}

MarkerSet to_ideal_frame(MarkerSet camera, const Distortion& lens) {
    return mapped(std::move(camera), lens, ideal_position);
}

MarkerSaving save_image_markers(dataSetInterface& data, imagesList& images, const image& picture,
                                const fs::path& file) {
    MarkerSaving saving;
    const auto [raw, corrected] = camera_origin(picture.name);
    saving.set_key = raw && (!corrected || read(data, raw->marker_file).empty());
    saving.camera_frame = corrected && (saving.set_key || is_marker_file(data, *raw, file));
    const MarkerSet set =
        saving.camera_frame
            ? to_camera_frame(picture.markers, lens_of(data, camera_partner(data, *raw).camera))
            : picture.markers;
    write_marker_file(file, set);
    if (saving.set_key && read(data, raw->marker_file) != file.string())
        write(data, raw->marker_file, file.string());
    if (saving.camera_frame) {
        get_log().write(LogLevel::information, file.string() + ": markers of " + picture.name +
                                                   " in raw pixels of " + raw->name);
        if (const auto camera_picture = images.find(raw->name)) {
            image marked = *camera_picture;
            marked.markers = set;
            marked.markers.left_out.clear();
            images.add(std::move(marked));
        }
    }
    if (const auto listed = images.find(picture.name);
        listed && !listed->markers.left_out.empty()) {
        image whole = *listed;
        whole.markers.left_out.clear();
        images.add(std::move(whole));
    }
    note_file_saved(data, images, picture.name, InputFile::Role::markers);
    if (saving.camera_frame) note_file_saved(data, images, raw->name, InputFile::Role::markers);
    return saving;
}

MarkerSet load_image_markers(const dataSetInterface& data, const image& picture,
                             const fs::path& file) {
    MarkerSet set = read_marker_file(file, picture.height());
    const auto [raw, corrected] = camera_origin(picture.name);
    if (corrected && is_marker_file(data, *raw, file))
        set = to_ideal_frame(std::move(set), lens_of(data, camera_partner(data, *raw).camera));
    return set;
}

}  // namespace vyn
