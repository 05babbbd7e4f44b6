#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "api/image.h"
#include "api/image_list.h"
#include "core/keys.h"
#include "core/task.h"

namespace vyn {

/// One of the four camera pictures of a test point: its names, and the settings that belong to it.
struct RawImage {
    const char* name;
    const char* dark_name;
    const char* flat_name;
    Key<std::string> file;
    Key<std::string> marker_file;
    Key<std::string> mask_file;
    Key<std::string> region_file;
    Key<std::string> dark_file;
    Key<double> dark_level;
    std::string_view camera;     ///< sub-tree of its camera's record
    const char* corrected_name;  ///< of what its correction gives
    const char* aligned_name;    ///< of what its alignment gives; null for wind-off pictures
};

/// Signal channel first, wind-off first.
const std::array<RawImage, 4>& raw_images();

/// The setting of its camera that says at how many counts a pixel is saturated.
Key<double> full_scale_key(const RawImage& raw);

/// Reads every image, dark and flat field that the project names and that `present` does not hold,
/// with masks, markers and saturated pixels applied. What was left out of a marker file goes to the
/// log, too. Raises FileError naming file and key.
std::vector<image> load_images(const dataSetInterface& data, const imagesList& present,
                               TaskContext& context);

/// Reads one of those images: a camera picture, dark image or flat field by its name in the image
/// list. Empty when the project names no file for it. Raises FileError naming file and key.
std::optional<image> load_image(const dataSetInterface& data, std::string_view name,
                                TaskContext& context);

/// Reads the markers that a setting names for an image of this height (pixels). Raises FileError
/// naming file and key when the file gives no markers with positions.
MarkerSet load_markers(const dataSetInterface& data, Key<std::string> key, int image_height);

/// Removes the corrected, aligned, ratio and field images, which a new raw image makes wrong;
/// logged where there were any.
void remove_results(imagesList& images);

}  // namespace vyn
