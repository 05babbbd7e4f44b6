#pragma once

#include <filesystem>
#include <vector>

namespace vyn {

/// The files that a name means: itself when there is such a file. Else its last part may be several
/// names or patterns (`*`, `?`) separated by ";", which are files of its folder:
/// "frames/off_*.tif", "frames/a.tif;b.tif". In the order of the names, those of one pattern sorted
/// so that numbers count as numbers, each file once. Empty when one of them means none.
std::vector<std::filesystem::path> files_named(const std::filesystem::path& name);

/// The name that means these files of one folder; empty for none.
std::filesystem::path name_of_files(const std::vector<std::filesystem::path>& files);

}  // namespace vyn
