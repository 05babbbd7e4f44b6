#include <cmath>

#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/project_file.h"
#include "core/version.h"
#include "process/point/experiment_type.h"
#include "process/point/marker_io.h"
#include "process/steps/field_quantity.h"
#include "sample/synthetic_light.h"
#include "sample/synthetic_point.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

using Channels = SyntheticOptions::Channels;

constexpr const char* truth_file = "truth.tif";
constexpr const char* single_channel_file = "single_channel.tif";
constexpr const char* truth_marker_file = "truth.mrk";
constexpr const char* port_file = "ports.mrk";
constexpr const char* paint_file = "paint.clb";
constexpr const char* infrared_file = "infrared.tif";
constexpr const char* infrared_marker_file = "infrared.mrk";
constexpr const char* infrared_camera_file = "camera_infrared.ini";
constexpr const char* project_file = "project.xml";

/// "truth.tif" as "truth_2.tif".
std::string with_suffix(const std::string& name, const std::string& suffix) {
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos ? name : name.substr(0, dot) + suffix + name.substr(dot);
}

/// Names of the files of one camera; those that it has not are empty.
struct CameraFiles {
    std::string wind_off;
    std::string wind_on;
    std::string wind_off_dark;
    std::string wind_on_dark;
    std::string flat;
    std::string wind_off_markers;
    std::string wind_on_markers;
    std::string camera;

    std::vector<std::string> all() const {
        std::vector<std::string> names;
        for (const std::string& name : {wind_off, wind_on, wind_off_dark, wind_on_dark, flat,
                                        wind_off_markers, wind_on_markers, camera})
            if (!name.empty()) names.push_back(name);
        return names;
    }
};

CameraFiles signal_files(const std::string& suffix) {
    CameraFiles files{"wind_off.tif", "wind_on.tif",  "wind_off_dark.tif", "wind_on_dark.tif",
                      "flat.tif",     "wind_off.mrk", "wind_on.mrk",       "camera.ini"};
    for (std::string* name :
         {&files.wind_off, &files.wind_on, &files.wind_off_dark, &files.wind_on_dark, &files.flat,
          &files.wind_off_markers, &files.wind_on_markers, &files.camera})
        *name = with_suffix(*name, suffix);
    return files;
}

/// Gate 1 shares camera, flat field and markers with gate 2.
CameraFiles second_files(Channels channels) {
    if (channels == Channels::lifetime)
        return {"wind_off_gate1.tif",
                "wind_on_gate1.tif",
                "wind_off_gate1_dark.tif",
                "wind_on_gate1_dark.tif",
                {},
                {},
                {},
                {}};
    return {"wind_off_refe.tif",     "wind_on_refe.tif", "wind_off_refe_dark.tif",
            "wind_on_refe_dark.tif", "flat_refe.tif",    "wind_off_refe.mrk",
            "wind_on_refe.mrk",      "camera_refe.ini"};
}

const char* channel_name(Channels channels) {
    switch (channels) {
        case Channels::single:
            return "single";
        case Channels::binary:
            return "binary";
        case Channels::lifetime:
            return "lifetime";
    }
    return "";
}

std::string provenance_of(const SyntheticPoint& point) {
    const SyntheticOptions& options = point.options;
    const nlohmann::ordered_json text = {
        {"program", std::string("VynLite ") + program_version},
        {"synthetic",
         {{"width", options.width},
          {"height", options.height},
          {"seed", options.seed},
          {"order", options.order},
          {"bending", options.bending},
          {"a2", point.lens.a2},
          {"a4", point.lens.a4},
          {"field", field_name(options.quantity)},
          {"temperature_ramp", options.temperature_ramp},
          {"lamp_drift", options.lamp_drift},
          {"noise", options.noise == SyntheticOptions::Noise::camera},
          {"channels", channel_name(options.channels)}}}};
    return text.dump();
}

cameraFeatures with_flat(cameraFeatures camera, const CameraFiles& files) {
    camera.flat_file = files.flat;
    return camera;
}

/// The settings of one channel's wind-off and wind-on picture.
void name_files(dataSetInterface& data, const CameraFiles& files, const cameraFeatures& camera,
                double dark_level, const RawImage& off, const RawImage& on) {
    write(data, off.file, files.wind_off);
    write(data, on.file, files.wind_on);
    write(data, off.dark_file, files.wind_off_dark);
    write(data, on.dark_file, files.wind_on_dark);
    write(data, off.dark_level, dark_level);
    write(data, on.dark_level, dark_level);
    if (files.camera.empty()) return;
    write(data, off.marker_file, files.wind_off_markers);
    write(data, on.marker_file, files.wind_on_markers);
    cameraFeatures record = with_flat(camera, files);
    record.camera = files.camera;
    write(data, std::string(off.camera), record);
}

void put_project(const fs::path& folder, const SyntheticPoint& point, const PointFiles& files) {
    const auto& [off_signal, on_signal, off_reference, on_reference] = raw_images();
    const Channels channels = point.options.channels;
    simpleNamedDataSet data;
    choose_experiment_type(data, channels == Channels::single   ? ExperimentType::single
                                 : channels == Channels::binary ? ExperimentType::binary
                                                                : ExperimentType::lifetime);
    write(data, keys::test_id, std::string("synthetic"));
    name_files(data, signal_files(files.suffix), point.camera, point.dark_level, off_signal,
               on_signal);
    if (point.reference)
        name_files(data, second_files(channels), point.reference->camera, point.dark_level,
                   off_reference, on_reference);
    write(data, keys::markers_enable, 1);
    write(data, keys::markers_order, point.options.order);
    if (point.options.bending != 0) {
        write(data, keys::qped_enable, 1);
        write(data, keys::qped_iter, 3);
    }
    write(data, keys::convert_field, std::string(field_name(point.options.quantity)));
    if (point.options.noise == SyntheticOptions::Noise::camera) {
        const double factor = point.options.noise_variance;
        write(data, keys::uncertainty_enable, 1);
        for (const Key<double>& gain : {keys::sens_noise_gain, keys::refe_noise_gain})
            write(data, gain, SyntheticCamera::electrons_per_count / factor);
        for (const Key<double>& read_out : {keys::sens_noise_read, keys::refe_noise_read})
            write(data, read_out, SyntheticCamera::read_noise * std::sqrt(factor));
    }
    if (point.options.lamp_drift != 0) {
        const MonitorPatch patch = monitor_patch(point.options);
        write(data, keys::lamp_monitor, std::string("region"));
        write(data, keys::lamp_x, patch.x);
        write(data, keys::lamp_y, patch.y);
        write(data, keys::lamp_width, patch.width);
        write(data, keys::lamp_height, patch.height);
    }
    if (point.infrared) {
        write(data, keys::temperature_map_file, std::string(infrared_file));
        write(data, keys::temperature_map_mark_file, std::string(infrared_marker_file));
        write(data, keys::temperature_source, std::string("map"));
        cameraFeatures camera = point.infrared->camera;
        camera.camera = infrared_camera_file;
        write(data, std::string(keys::temperature_camera), camera);
    }
    write(data, std::string(keys::sens_paint), point.paint);
    write(data, std::string(keys::flow), point.flow);
    if (files.settings) files.settings(data);
    save_xml(data, (folder / with_suffix(project_file, files.suffix)).c_str());
}

using NamedPicture = std::pair<std::string, const image*>;

void put_camera(const fs::path& folder, const CameraFiles& files, const SyntheticPictures& pictures,
                const cameraFeatures& camera, std::vector<NamedPicture>& images) {
    images.insert(images.end(), {{files.wind_off, &pictures.wind_off},
                                 {files.wind_on, &pictures.wind_on},
                                 {files.wind_off_dark, &pictures.wind_off_dark},
                                 {files.wind_on_dark, &pictures.wind_on_dark}});
    if (files.camera.empty()) return;
    images.emplace_back(files.flat, &pictures.flat);
    write_marker_file(folder / files.wind_off_markers, pictures.wind_off_markers);
    write_marker_file(folder / files.wind_on_markers, pictures.wind_on_markers);
    write_camera((folder / files.camera).string(), with_flat(camera, files));
}

}  // namespace

std::vector<std::string> synthetic_file_names(Channels channels, const std::string& suffix) {
    std::vector<std::string> names = signal_files(suffix).all();
    for (const char* name : {truth_file, truth_marker_file, port_file, project_file})
        names.push_back(with_suffix(name, suffix));
    names.emplace_back(paint_file);
    if (channels == Channels::single) return names;
    if (channels == Channels::binary) names.emplace_back(single_channel_file);
    for (std::string& name : second_files(channels).all())
        names.push_back(std::move(name));
    return names;
}

std::vector<std::string> infrared_file_names() {
    return {infrared_file, infrared_marker_file, infrared_camera_file};
}

void write_synthetic_point(const SyntheticPoint& point, const fs::path& folder, Progress& progress,
                           const PointFiles& files) {
    const auto named = [&files](const char* name) { return with_suffix(name, files.suffix); };
    std::error_code failure;
    fs::create_directories(folder, failure);
    if (failure)
        throw FileError("Can't open file for writing!", folder.string() + ": " + failure.message());
    std::vector<NamedPicture> pictures{{named(truth_file), &point.truth}};
    put_camera(folder, signal_files(files.suffix), point, point.camera, pictures);
    if (point.options.channels == Channels::binary)
        pictures.emplace_back(single_channel_file, &point.single_channel);
    if (point.reference)
        put_camera(folder, second_files(point.options.channels), *point.reference,
                   point.reference->camera, pictures);
    if (point.infrared) {
        pictures.emplace_back(infrared_file, &point.infrared->picture);
        write_marker_file(folder / infrared_marker_file, point.infrared->markers);
        write_camera((folder / infrared_camera_file).string(), point.infrared->camera);
    }
    ImageWriteOptions options;
    options.provenance = provenance_of(point);
    double done = 0;
    for (const auto& [name, picture] : pictures) {
        const auto count = static_cast<double>(pictures.size());
        SubProgress part(progress, done / count, (done + 1) / count);
        write_image(*picture, folder / name, options, part);
        ++done;
    }
    write_marker_file(folder / named(truth_marker_file), point.truth_markers);
    write_marker_file(folder / named(port_file), point.ports);
    write_paint_calibration((folder / paint_file).string(), point.paint);
    put_project(folder, point, files);
}

}  // namespace vyn
