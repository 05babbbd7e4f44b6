#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "api/image_list.h"
#include "core/data_set.h"
#include "core/task.h"
#include "process/point/input_files.h"
#include "process/steps/step.h"

namespace vyn {

/// Origins are compared item by item. The items of an image:
///   "file", "marker file", "mask file"   name and SHA-256 of a file that was read
///   a path of the key table              value of a setting
///   "contents of PATH"                   name and SHA-256 of the file that a setting names
///   "markers of NAME", "mask of NAME"    content of an image that went in, as digest
///   "NAME > item"                        an item of that image's own origin

inline constexpr std::string_view contents_item = "contents of ";

/// Origin of a camera picture, dark image or flat field that is loaded now. Files that are not
/// there are left out.
ImageOrigin input_origin(const dataSetInterface& data, const InputFile& input);

/// The origin of a result with these facts, given those of the images that it is made from:
/// `origin_of` is asked for those in the list.
ImageOrigin result_origin(const dataSetInterface& data, const imagesList& images,
                          const StepFacts& facts,
                          const std::function<ImageOrigin(const std::string&)>& origin_of);

/// Tells that markers or mask (`role`) of an image of the list agree with their file as it is now:
/// after the window read or saved it. Nothing happens when the list has no such image.
void note_file_saved(const dataSetInterface& data, imagesList& images, const std::string& image,
                     InputFile::Role role);

}  // namespace vyn
