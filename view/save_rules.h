#pragma once

#include <filesystem>
#include <string>

#include "api/image_list.h"

namespace vyn {

/// Where an image shown in a viewer came from.
enum class PictureOrigin {
    camera,    ///< raw data, never overwritten
    computed,  ///< made by the program
    file,      ///< opened from a file
};

/// The file that "Save" writes without asking; empty when it has to ask: a camera picture always,
/// a computed image until it was saved as something, an opened file unless it is a field file,
/// whose format loses nothing. `saved_as`: where this viewer saved the image last; may be empty.
std::filesystem::path file_to_save(PictureOrigin origin, const image& picture,
                                   const std::filesystem::path& saved_as);

/// Why the image may not be written to this file, in words; empty when it may. The file that the
/// image itself was read from or computed from, and those of the project's camera pictures, dark
/// images and flat fields, stay as they are, an opened field file excepted.
std::string objection_to_saving(PictureOrigin origin, const image& picture,
                                const std::filesystem::path& file, const imagesList& project);

}  // namespace vyn
