#include "process/point/marker_io.h"

#include "calib/port_sampling.h"
#include "core/ascii.h"
#include "core/errors.h"
#include "core/log.h"
#include "markers/marker_files.h"

namespace vyn {

MarkerSet read_marker_file(const std::filesystem::path& file, int image_height) {
    MarkerSet set;
    const MarkerFileResult result = read_image_markers(file.string(), set, image_height);
    if (!result) throw FileError("File error!", result.detail);
    if (!result.detail.empty()) get_log().write(LogLevel::information, result.detail);
    set.left_out = result.detail;
    return set;
}

MarkerSet read_port_file(const std::filesystem::path& file, int image_height) {
    MarkerSet ports = read_marker_file(file, image_height);
    if (!ports.hasF)
        throw FileError("File error!", file.string() + ": the markers have no pressures");
    if (const std::string problem = port_problem(ports); !problem.empty())
        throw FileError("File error!", file.string() + ": " + problem);
    return ports;
}

bool would_be_unreadable(const std::filesystem::path& file, const MarkerSet& set) {
    return set.hasZ && set.lengthUnit != 0 && lower_extension(file) == "mrk";
}

void write_marker_file(const std::filesystem::path& file, const MarkerSet& set) {
    constexpr const char* text = "Error writing Markers";
    MarkerFileResult result;
    if (would_be_unreadable(file, set))
        throw FileError(text, file.string() +
                                  ": with a length unit nobody could read the file; take the unit "
                                  "off the markers");
    try {
        MarkerSet written = set;
        if (!set.hasZ) written.lengthUnit = 0;
        const UnloggedErrors told_below;
        result = write_markers(file.string(), written);
    } catch (const FileError& error) {
        throw FileError(text, error.detail);
    }
    if (!result) throw FileError(text, result.detail);
}

}  // namespace vyn
