#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "schedule/table.h"

namespace vyn {

/// A table from the files of a folder.
struct NewSchedule {
    Table table;
    std::vector<std::string> remarks;  ///< what was left out, one sentence each
};

/// Finds the test points among the files of a folder and those below it. A pattern such as
/// "wind_on_file=images/{run}_{point}_on.tif" tells how the files of a setting are named; names in
/// braces become columns, and the files that agree in them belong to one point. Without a name
/// "point" among them it is put together from the others. A pattern without braces is a file that
/// all share. Names of files are written relative to `relative_to`, the folder of the base project.
///
/// Raises AlgoError telling what is wrong with a pattern, or that no file fits.
NewSchedule schedule_from_files(const std::filesystem::path& folder,
                                const std::vector<std::string>& patterns,
                                const std::filesystem::path& relative_to);

}  // namespace vyn
