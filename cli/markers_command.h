#pragma once

#include "cli/commands.h"
#include "markers/marker.h"

namespace vyn::cli {

/// Reads a marker file for an image of this height (pixels; 0 where no image is known). Raises
/// FileError when it gives no markers.
MarkerSet read_marker_file(const std::string& file, int image_height);
/// Raises FileError when the set cannot be written.
void write_marker_file(const std::string& file, const MarkerSet& set);

/// The sub-commands of `markers`; each leaves its work in `work`.
void add_markers_find(CLI::App& markers, Work& work);
void add_markers_refine(CLI::App& markers, Work& work);
void add_markers_pair(CLI::App& markers, Work& work);

}  // namespace vyn::cli
