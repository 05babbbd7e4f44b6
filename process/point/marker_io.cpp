#include "process/point/marker_io.h"

#include "core/errors.h"
#include "core/log.h"
#include "markers/marker_files.h"

namespace vyn {

namespace {

constexpr const char* unit = "process/marker_io";

}  // namespace

MarkerSet read_marker_file(const std::filesystem::path& file, int image_height) {
    MarkerSet set;
    const MarkerFileResult result = read_markers(file.string(), set, image_height);
    if (!result) throw FileError(unit, __LINE__, "File error!", result.detail);
    if (!result.detail.empty()) get_log().write(3, result.detail);
    return set;
}

MarkerSet read_port_file(const std::filesystem::path& file, int image_height) {
    MarkerSet ports = read_marker_file(file, image_height);
    if (!ports.hasF)
        throw FileError(unit, __LINE__, "File error!",
                        file.string() + ": the markers have no pressures");
    return ports;
}

void write_marker_file(const std::filesystem::path& file, const MarkerSet& set) {
    constexpr const char* text = "Error writing Markers";
    MarkerFileResult result;
    try {
        result = write_markers(file.string(), set);
    } catch (const FileError& error) {
        throw FileError(unit, __LINE__, text, error.detail);
    }
    if (!result) throw FileError(unit, __LINE__, text, result.detail);
}

}  // namespace vyn
