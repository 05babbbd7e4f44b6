#pragma once

#include <filesystem>
#include <string>

#include "core/keys.h"

namespace vyn {

/// What a file is written for: a point, by its project file, and what of it, such as "field_P".
struct FilePurpose {
    std::string point;
    std::string what;
};

/// What is written for the project of these settings.
FilePurpose purpose_in_project(const dataSetInterface& settings, std::string what);

/// The file that was last written for this; otherwise, its name left out, the folder of what was
/// last written of this point. Empty where there is neither.
std::filesystem::path remembered_file(const FilePurpose& purpose);

/// Kept for the next starts of the program, the latest hundred.
void remember_file(const FilePurpose& purpose, const std::filesystem::path& file);

}  // namespace vyn
