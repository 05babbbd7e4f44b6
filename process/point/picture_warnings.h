#pragma once

#include <string>
#include <vector>

#include "process/point/raw_images.h"
#include "process/report/warning.h"

namespace vyn {

/// What is to be feared of a camera picture: saturated pixels, a marker file that was not read to
/// its end, a lens centred outside of the picture, and a file that is not the one beside the
/// project. Reads `picture_warning_settings`.
std::vector<Warning> picture_warnings(const dataSetInterface& data, const RawImage& raw,
                                      const image& picture);

/// Paths and sub-trees that the warnings look at beside the camera's record.
std::vector<std::string> picture_warning_settings();

/// The camera record has a distortion, but its centre is not set or lies outside the picture; says
/// what the middle would be. Empty when the lens can be right.
std::string lens_warning(const dataSetInterface& data, std::string_view camera,
                         const image& picture);

/// The picture's file lies outside the project's folder although one of that name lies in it; empty
/// when not.
std::string folder_warning(const dataSetInterface& data, const image& picture);

}  // namespace vyn
