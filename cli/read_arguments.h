#pragma once

#include <CLI/CLI.hpp>

#include "api/image_io.h"

namespace vyn::cli {

/// Puts --fits-first-row, --stacks, --data-set and --raw on a command; the options must outlive it.
void add_read_arguments(CLI::App& app, ImageReadOptions& options);

}  // namespace vyn::cli
