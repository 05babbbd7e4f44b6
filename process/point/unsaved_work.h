#pragma once

#include <memory>
#include <vector>

#include "api/image_list.h"
#include "core/data_set.h"

namespace vyn {

/// The images of the list with markers or a mask that were drawn and that no file holds.
std::vector<std::shared_ptr<const image>> unsaved_pictures(const imagesList& images);

/// True when settings, or markers or masks drawn on the images, would be lost with them.
bool has_unsaved_work(const dataSetInterface& data, const imagesList& images);

/// After the project with these images was written as a container, which keeps masks and markers;
/// of a camera picture's markers only where the project names a file for them.
void note_contained(imagesList& images);

/// After an image of the list was written with its markers and mask. A camera picture is not what
/// was written: the project reads its own files.
void note_written(imagesList& images, const std::shared_ptr<const image>& written);

}  // namespace vyn
