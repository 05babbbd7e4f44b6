#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "core/data_set.h"

namespace vyn::cli {

/// Puts "KEY=VALUE" texts (full paths of the key table) into the data set. Raises UsageError naming
/// the first key or value that the table does not allow; the data set is then unchanged.
void apply_settings(dataSetInterface& data, const std::vector<std::string>& assignments);

enum class Overwriting { refused, allowed };

/// Raises FileError naming the file when it exists and may not be replaced.
void check_target(const std::filesystem::path& file, Overwriting overwriting);

/// The same, and raises FileError when its folder does not exist: for files that are written at the
/// end of a long computation. An empty name means no such file is wanted.
void check_output(const std::filesystem::path& file, Overwriting overwriting);

}  // namespace vyn::cli
