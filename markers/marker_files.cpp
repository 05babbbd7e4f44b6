#include "markers/marker_files.h"

#include "core/ascii.h"
#include "markers/marker_formats.h"

namespace vyn {

namespace {

/// What follows the last dot, also of a name that is nothing else.
std::string lower_case_extension(const std::string& file_name) {
    const std::size_t dot = file_name.rfind('.');
    if (dot == std::string::npos) return {};
    return lower_case(file_name.substr(dot + 1));
}

MarkerFileResult no_name() {
    return {MarkerFileOutcome::no_name, "No file name is given"};
}

MarkerFileResult unknown_extension(const std::string& file_name) {
    return {MarkerFileOutcome::unknown_extension,
            file_name + ": not the extension of a marker format"};
}

}  // namespace

MarkerFileResult write_markers(const std::string& file_name, const MarkerSet& set) {
    if (file_name.empty()) return no_name();
    const std::string extension = lower_case_extension(file_name);
    if (extension != "mrk" && extension != "mpt") return unknown_extension(file_name);
    if (set.markers.empty())
        return {MarkerFileOutcome::no_markers, file_name + ": not written, there are no markers"};
    if (extension == "mrk")
        marker_formats::write_xml(file_name, set);
    else
        marker_formats::write_text(file_name, set);
    return {};
}

bool rows_count_from_bottom(const std::string& file_name) {
    return lower_case_extension(file_name) == "inm";
}

MarkerFileResult read_image_markers(const std::string& file_name, MarkerSet& set,
                                    int image_height) {
    MarkerSet read;
    MarkerFileResult result = read_markers(file_name, read, image_height);
    if (result && !read.markers.empty() && !(read.hasX && read.hasY)) {
        if (result.detail.empty())
            result.detail =
                file_name + ": there is no column " + (read.hasX ? "y" : "x") + " of positions";
        result.outcome = MarkerFileOutcome::malformed;
    }
    if (result || result.outcome == MarkerFileOutcome::no_markers) set = std::move(read);
    return result;
}

MarkerFileResult read_markers(const std::string& file_name, MarkerSet& set, int image_height) {
    using marker_formats::RowOrigin;
    if (file_name.empty()) return no_name();
    const std::string extension = lower_case_extension(file_name);
    if (extension == "mrk") return marker_formats::read_xml(file_name, set);
    if (extension == "apm") return marker_formats::read_text_3d(file_name, set);
    if (extension == "mpt")
        return marker_formats::read_text_2d(file_name, set, RowOrigin::top, image_height);
    if (extension == "inm")
        return marker_formats::read_text_2d(file_name, set, RowOrigin::bottom, image_height);
    return unknown_extension(file_name);
}

}  // namespace vyn
