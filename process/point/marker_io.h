#pragma once

#include <filesystem>

#include "markers/marker.h"

namespace vyn {

/// Reads markers of an image of this height (pixels), in the file's own frame; what was left out of
/// them goes to the log. Raises FileError naming the file and what is wrong.
MarkerSet read_marker_file(const std::filesystem::path& file, int image_height);

/// The same for pressure ports; raises FileError, too, when the markers have no pressures, or those
/// or their numbers cannot be right (`port_problem`).
MarkerSet read_port_file(const std::filesystem::path& file, int image_height);

/// True when the format writes such a set so that nobody can read it: a length unit makes the file
/// malformed.
bool would_be_unreadable(const std::filesystem::path& file, const MarkerSet& set);

/// Writes markers; the extension picks the format. Those of an image have no length unit, whatever
/// the set says. Raises FileError "Error writing Markers" naming the file and what is wrong, also
/// when nobody could read it.
void write_marker_file(const std::filesystem::path& file, const MarkerSet& set);

}  // namespace vyn
