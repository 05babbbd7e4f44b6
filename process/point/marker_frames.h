#pragma once

#include <filesystem>
#include <string_view>

#include "api/image.h"
#include "api/image_list.h"
#include "api/lens.h"
#include "core/data_set.h"
#include "process/point/raw_images.h"

namespace vyn {

/// A camera picture and whether an image is that picture itself or its correction.
struct CameraOrigin {
    const RawImage* raw = nullptr;  ///< null for images that are neither
    bool corrected = false;
};
CameraOrigin camera_origin(std::string_view image_name);

/// The lens of the camera whose record stands in this sub-tree.
Distortion lens_of(const dataSetInterface& data, std::string_view camera);

/// Markers of a distortion-free image in the pixels of the camera, by the exact inverse of the
/// correction; active or not. Raises AlgoError naming a marker that the lens maps nowhere.
MarkerSet to_camera_frame(MarkerSet ideal, const Distortion& lens);
/// And back.
MarkerSet to_ideal_frame(MarkerSet camera, const Distortion& lens);

/// What saving did beyond writing the file.
struct MarkerSaving {
    bool camera_frame = false;  ///< the file holds raw pixels, the image does not
    bool set_key = false;       ///< the project names the file for the camera picture now
};

/// Writes the markers of an image of the project to a file; the extension picks the format.
///
/// A camera picture's file becomes the one that the project names for it. So does that of a
/// corrected image when its camera picture has no marker file yet or this is the one: the markers
/// are then written in raw pixels, and the camera picture in the list gets them too. Anything else
/// is written in the image's own frame. Raises FileError "Error writing Markers" naming the file
/// and what is wrong.
MarkerSaving save_image_markers(dataSetInterface& data, imagesList& images, const image& picture,
                                const std::filesystem::path& file);

/// Reads markers for an image, in its own frame: the camera picture's marker file holds raw pixels,
/// whatever the image. Raises FileError naming the file and what is wrong.
MarkerSet load_image_markers(const dataSetInterface& data, const image& picture,
                             const std::filesystem::path& file);

}  // namespace vyn
