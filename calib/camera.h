#pragma once

#include <filesystem>
#include <string>

#include "api/lens.h"
#include "calib/record_file.h"
#include "core/data_set.h"

namespace vyn {

/// A camera; parameter names follow Tsai (1987). Lengths in `default_length_unit`.
struct cameraFeatures {
    std::string camera;  ///< file that the record came from
    std::string camera_ID;
    std::string camera_name;
    std::string default_length_unit = "mm";
    double focus = 0;
    double dx = 0;  ///< distance of sensor element centres
    double dy = 0;
    int ncx = 0;  ///< sensor elements
    int ncy = 0;
    int nfx = 0;  ///< pixels of a frame
    int nfy = 0;
    double cx = 0;  ///< image centre, pixels
    double cy = 0;
    double a2 = 0;  ///< radial distortion, 1/px^2
    double a4 = 0;  ///< radial distortion, 1/px^4
    std::string flat_file;

    bool operator==(const cameraFeatures&) const = default;
};

inline Distortion lens_of(const cameraFeatures& record) {
    return {record.cx, record.cy, record.a2, record.a4};
}

/// Reads a camera file; missing keys leave their fields unchanged, except flat_file, which reads as
/// empty. Raises FileError when the file cannot be read.
RecordOutcome read_camera(const std::string& path, cameraFeatures& record);
/// Writes a camera file atomically. Raises FileError.
RecordOutcome write_camera(const std::string& path, const cameraFeatures& record);

enum class SearchLog { written, none };

/// Where the flat-field image is: a full name as it stands, a relative one in the camera file's
/// folder, then in `project_folder`; else its base name (after the last / or \) in these two. The
/// working folder does not count. Empty when nowhere; what was tried is logged.
std::filesystem::path find_flat_file(const cameraFeatures& record,
                                     const std::filesystem::path& project_folder,
                                     SearchLog log = SearchLog::written);

/// The record in a sub-tree ("project/sens_cam/") of the data set. Reading creates what is absent,
/// but not in constant settings.
void read(dataSetInterface& data, const std::string& tree, cameraFeatures& record);
void read(const dataSetInterface& data, const std::string& tree, cameraFeatures& record);
void write(dataSetInterface& data, const std::string& tree, const cameraFeatures& record);

}  // namespace vyn
