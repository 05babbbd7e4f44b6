#pragma once

#include <filesystem>
#include <string>

#include "api/image.h"
#include "core/progress.h"

namespace vyn {

/// Writes the shown field as a point-ordered ASCII zone for a plotting package, replacing an old
/// file atomically: after four lines of header one line per pixel, row after row, "x y value b" or
/// "x y value u v b", with "sigma" before b where there is a plane of it, numbers as short as reads
/// back to the same bits. The title names the quantity behind the caption when it is known. b = 1
/// marks background; a value that is no finite number is written as background 0, and pixels
/// farther than a step from the vectors' grid get the vector 0.
///
/// A remark of one line stands before the header. `sigma` holds the standard deviations of the
/// picture, of its size; null: none. Raises FileError "Can't open file for writing!" or, when the
/// disk fills up, "Error writing file"; AlgoError for a missing plane.
void write_tecplot(const image& picture, const std::string& caption,
                   const std::filesystem::path& file, Progress& progress,
                   const image* sigma = nullptr, const std::string& remark = {});

}  // namespace vyn
