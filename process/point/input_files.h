#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "process/point/raw_images.h"

namespace vyn {

/// A file that a project names for its test point, and what it is there.
struct InputFile {
    enum class Role { picture, dark, flat, markers, mask, temperature };
    Role role;
    const char* image;  ///< the image that it becomes or (markers, mask) belongs to
    Key<std::string> file;
    /// The camera picture that it serves; of a flat field the first one, null for temperatures.
    const RawImage* raw;
};

/// Every place for an input file: those of the four camera pictures, the two flat fields, then the
/// temperature map and its standard deviation.
const std::vector<InputFile>& input_files();

/// The place whose file becomes the image of that name; null when the image is no input.
const InputFile* input_of_image(std::string_view image);

/// The settings of the files that an image is loaded with, by what they are in its origin: "marker
/// file", "mask file", "region file".
std::vector<std::pair<const char*, Key<std::string>>> files_beside(const InputFile& input);

/// The file that the project names there, as it is found and loaded; empty when none. A flat field
/// may lie beside its camera's file.
std::string named_file(const dataSetInterface& data, const InputFile& input);

/// Where that file is now; empty when nowhere.
std::filesystem::path located_file(const dataSetInterface& data, const InputFile& input);

}  // namespace vyn
