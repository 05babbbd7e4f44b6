#include "process/point/picture_warnings.h"

#include <filesystem>

#include "calib/camera.h"
#include "core/numbers.h"
#include "process/point/experiment_type.h"
#include "process/point/project_paths.h"
#include "process/report/image_statistics.h"

namespace vyn {

namespace fs = std::filesystem;

std::string lens_warning(const dataSetInterface& data, std::string_view camera_tree,
                         const image& picture) {
    const std::string tree(camera_tree);
    cameraFeatures camera;
    read(data, tree, camera);
    const bool centred = (camera.cx != 0 || camera.cy != 0) && camera.cx >= 0 &&
                         camera.cx < picture.width() && camera.cy >= 0 &&
                         camera.cy < picture.height();
    if ((camera.a2 == 0 && camera.a4 == 0) || centred) return {};
    return picture.name + ": the lens has a distortion, but its centre (" +
           format_general(camera.cx, 6) + ", " + format_general(camera.cy, 6) +
           ") is not in the picture; set " + tree + "cx and " + tree + "cy, in the middle to " +
           format_general((picture.width() - 1) / 2.0, 6) + " and " +
           format_general((picture.height() - 1) / 2.0, 6);
}

std::string folder_warning(const dataSetInterface& data, const image& picture) {
    const fs::path file = picture.file_name;
    if (file.empty() || read(data, keys::head_file).empty()) return {};
    const fs::path folder = fs::absolute(project_folder(data)).lexically_normal();
    const fs::path beside = folder / file.filename();
    const fs::path way = fs::absolute(file).lexically_normal().lexically_relative(folder);
    std::error_code ignored;
    if (way.empty() || *way.begin() != ".." || !fs::is_regular_file(beside, ignored) ||
        fs::equivalent(file, beside, ignored))
        return {};
    return picture.name + " comes from " + file.string() +
           ", although a file of that name lies beside the project";
}

std::vector<std::string> picture_warning_settings() {
    return {std::string(keys::head_file.path), std::string(keys::saturation_exclude.path)};
}

std::vector<Warning> picture_warnings(const dataSetInterface& data, const RawImage& raw,
                                      const image& picture) {
    std::vector<Warning> warnings;
    const auto add = [&](WarningKind kind, std::string text) {
        if (!text.empty()) warnings.push_back({kind, std::move(text)});
    };
    if (const std::int64_t count = saturated_count(picture); count > 0)
        add(WarningKind::saturation,
            picture.name + ": " + std::to_string(count) +
                (count == 1 ? " pixel is" : " pixels are") + " saturated" +
                (read(data, keys::saturation_exclude) != 0 ? " and excluded" : ""));
    add(WarningKind::markers, picture.markers.left_out);
    add(WarningKind::missing_correction,
        lens_warning(data, camera_partner(data, raw).camera, picture));
    add(WarningKind::settings, folder_warning(data, picture));
    return warnings;
}

}  // namespace vyn
