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

namespace vyn {

/// Origins are compared item by item. The items of an image:
///   "file", "marker file", "mask file"   name and SHA-256 of a file that was read
///   a path of the key table              value of a setting
///   "markers of NAME", "mask of NAME"    content of an image that went in, as digest
///   "NAME > item"                        an item of that image's own origin

/// Origin of a camera picture, dark image or flat field that is loaded now. Files that are not
/// there are left out.
ImageOrigin input_origin(dataSetInterface& data, const InputFile& input);

/// The origin of a result, given those of the images that it is made from: `origin_of` is asked for
/// those in the list.
ImageOrigin result_origin(dataSetInterface& data, const imagesList& images, std::string_view result,
                          const std::function<ImageOrigin(const std::string&)>& origin_of);

/// The same job; at its end, however it ends, every result that it published knows its origin, and
/// its markers and mask count as saved. An empty job stays empty.
std::shared_ptr<Job> with_origins(std::shared_ptr<Job> job);

/// Tells that markers or mask (`role`) of an image of the list agree with their file as it is now:
/// after the window read or saved it. Nothing happens when the list has no such image.
void note_file_saved(dataSetInterface& data, imagesList& images, const std::string& image,
                     InputFile::Role role);

}  // namespace vyn
