#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "core/progress.h"
#include "sample/synthetic_point.h"

namespace vyn {

/// Names of the files that `write_synthetic_run` makes beside those of the point.
std::vector<std::string> synthetic_run_files(int count);

/// Adds the wind-on pictures and markers of `count` points to the folder of a synthetic point with
/// one channel, which is the base of the run, and their table "run.csv" (see read_schedule): the
/// points "p001" and so on share wind-off pictures and the true field. Raises FileError, Aborted.
void write_synthetic_run(const SyntheticOptions& options, int count,
                         const std::filesystem::path& folder, Progress& progress);

}  // namespace vyn
