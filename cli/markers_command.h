#pragma once

#include <optional>
#include <string>

#include "cli/commands.h"

namespace vyn::cli {

/// The height (pixels) for reading a marker file; raises UsageError when the format needs one and
/// it is not given.
int height_for(const std::string& marker_file, std::optional<int> height);

/// The sub-commands of `markers`; each leaves its work in `work`.
void add_markers_find(CLI::App& markers, Work& work);
void add_markers_refine(CLI::App& markers, Work& work);
void add_markers_pair(CLI::App& markers, Work& work);

}  // namespace vyn::cli
