#pragma once

#include <filesystem>

#include "mesh/sections.h"

namespace vyn {

/// The edges of a wing from a table (CSV) with the columns line, x, y, z: "leading" or "trailing"
/// and a point, in order along the span. Raises FileError naming file and row.
ChordLines read_chord_lines(const std::filesystem::path& file);

}  // namespace vyn
