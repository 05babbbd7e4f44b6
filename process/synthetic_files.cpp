#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/project_file.h"
#include "core/version.h"
#include "markers/marker_files.h"
#include "process/field_quantity.h"
#include "process/synthetic_point.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

constexpr const char* wind_off_file = "wind_off.tif";
constexpr const char* wind_on_file = "wind_on.tif";
constexpr const char* wind_off_dark_file = "wind_off_dark.tif";
constexpr const char* wind_on_dark_file = "wind_on_dark.tif";
constexpr const char* flat_file = "flat.tif";
constexpr const char* truth_file = "truth.tif";
constexpr const char* wind_off_marker_file = "wind_off.mrk";
constexpr const char* wind_on_marker_file = "wind_on.mrk";
constexpr const char* truth_marker_file = "truth.mrk";
constexpr const char* port_file = "ports.mrk";
constexpr const char* camera_file = "camera.ini";
constexpr const char* paint_file = "paint.clb";
constexpr const char* project_file = "project.xml";

std::string provenance_of(const SyntheticPoint& point) {
    const SyntheticOptions& options = point.options;
    const nlohmann::ordered_json text = {
        {"program", std::string("VynLite ") + program_version},
        {"synthetic",
         {{"width", options.width},
          {"height", options.height},
          {"seed", options.seed},
          {"order", options.order},
          {"a2", point.lens.a2},
          {"a4", point.lens.a4},
          {"field", field_name(options.quantity)},
          {"noise", options.noise == SyntheticOptions::Noise::camera}}}};
    return text.dump();
}

void put_markers(const fs::path& file, const MarkerSet& set) {
    if (const MarkerFileResult result = write_markers(file.string(), set); !result)
        throw FileError("process/synthetic_files", __LINE__, "Error writing file", result.detail);
}

void put_project(const fs::path& file, const SyntheticPoint& point) {
    simpleNamedDataSet data;
    write(data, keys::test_single, 1);
    write(data, keys::test_id, std::string("synthetic"));
    write(data, keys::wind_off_sens_file, std::string(wind_off_file));
    write(data, keys::wind_on_sens_file, std::string(wind_on_file));
    write(data, keys::wind_off_sens_dark_file, std::string(wind_off_dark_file));
    write(data, keys::wind_on_sens_dark_file, std::string(wind_on_dark_file));
    write(data, keys::wind_off_sens_mark_file, std::string(wind_off_marker_file));
    write(data, keys::wind_on_sens_mark_file, std::string(wind_on_marker_file));
    write(data, keys::wind_off_sens_dark, point.dark_level);
    write(data, keys::wind_on_sens_dark, point.dark_level);
    write(data, keys::markers_enable, 1);
    write(data, keys::markers_order, point.options.order);
    write(data, keys::convert_field, std::string(field_name(point.options.quantity)));
    cameraFeatures camera = point.camera;
    camera.camera = camera_file;
    camera.flat_file = flat_file;
    write(data, std::string(keys::sens_camera), camera);
    write(data, std::string(keys::sens_paint), point.paint);
    write(data, std::string(keys::flow), point.flow);
    save_xml(data, file.c_str());
}

void put_records(const fs::path& folder, const SyntheticPoint& point) {
    cameraFeatures camera = point.camera;
    camera.flat_file = flat_file;
    write_camera((folder / camera_file).string(), camera);
    write_paint_calibration((folder / paint_file).string(), point.paint);
}

}  // namespace

const std::vector<std::string>& synthetic_file_names() {
    static const std::vector<std::string> names{
        wind_off_file, wind_on_file,         wind_off_dark_file,  wind_on_dark_file, flat_file,
        truth_file,    wind_off_marker_file, wind_on_marker_file, truth_marker_file, port_file,
        camera_file,   paint_file,           project_file};
    return names;
}

void write_synthetic_point(const SyntheticPoint& point, const fs::path& folder,
                           Progress& progress) {
    std::error_code failure;
    fs::create_directories(folder, failure);
    if (failure)
        throw FileError("process/synthetic_files", __LINE__, "Can't open file for writing!",
                        folder.string() + ": " + failure.message());
    ImageWriteOptions options;
    options.provenance = provenance_of(point);
    const std::pair<const char*, const image*> pictures[] = {
        {wind_off_file, &point.wind_off},
        {wind_on_file, &point.wind_on},
        {wind_off_dark_file, &point.wind_off_dark},
        {wind_on_dark_file, &point.wind_on_dark},
        {flat_file, &point.flat},
        {truth_file, &point.truth}};
    double done = 0;
    for (const auto& [name, picture] : pictures) {
        throw_if_aborted(progress);
        write_image(*picture, folder / name, options);
        progress.fraction(++done / static_cast<double>(std::size(pictures)));
    }
    put_markers(folder / wind_off_marker_file, point.wind_off_markers);
    put_markers(folder / wind_on_marker_file, point.wind_on_markers);
    put_markers(folder / truth_marker_file, point.truth_markers);
    put_markers(folder / port_file, point.ports);
    put_records(folder, point);
    put_project(folder / project_file, point);
}

}  // namespace vyn
