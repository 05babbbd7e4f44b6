#pragma once

#include "cli/commands.h"

namespace vyn::cli {

/// The sub-commands of `markers`; each leaves its work in `work`.
void add_markers_find(CLI::App& markers, Work& work);
void add_markers_refine(CLI::App& markers, Work& work);
void add_markers_pair(CLI::App& markers, Work& work);

}  // namespace vyn::cli
