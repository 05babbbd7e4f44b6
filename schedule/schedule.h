#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "calib/paint.h"
#include "core/any.h"
#include "core/data_set.h"
#include "schedule/columns.h"
#include "schedule/problem.h"
#include "schedule/table.h"

namespace vyn {

/// Settings of a project that points stand on.
struct BaseProject {
    std::filesystem::path file;  ///< .xml or .ims
    std::string digest;          ///< SHA-256 of the file
    simpleNamedDataSet settings;
};

/// A paint calibration that points take in the place of their base's.
struct PaintFile {
    std::string digest;  ///< SHA-256 of the file
    paintFeatures record;
};

/// One point of a schedule.
struct SchedulePoint {
    std::string name;
    int row = 0;  ///< of its table
    std::string group;
    bool skip = false;
    bool auto_markers = false;
    std::shared_ptr<const BaseProject> base;
    std::shared_ptr<const PaintFile> paint;  ///< null: the base's
    /// What differs from the base, by path.
    std::vector<std::pair<std::string, any>> settings;
    /// Images to save, with their files (relative ones to the folder of the results).
    std::vector<std::pair<std::string, std::filesystem::path>> saves;
    /// Of everything that decides on the results but the contents of the input files.
    std::string digest;
};

/// A table of points, understood.
struct Schedule {
    std::filesystem::path file;
    std::filesystem::path results;  ///< folder; each point has one of its name in it
    std::string digest;             ///< of the table as it was read
    Table table;
    std::vector<Column> columns;  ///< what the table's heads stand for
    std::vector<SchedulePoint> points;
    std::vector<Problem> problems;  ///< of the table; with one nothing is computed

    std::filesystem::path folder_of(const SchedulePoint& point) const {
        return results / point.name;
    }
};

/// Where a schedule's base and results are when the table does not say.
struct ScheduleOptions {
    /// Empty: the column "base", else the project beside the table with the table's name.
    std::filesystem::path base;
    /// Empty: beside the table, with its name and "_results".
    std::filesystem::path results;
};

/// Reads a table of points on a base project. The heads of the columns name settings (see
/// resolve_columns); a row whose point is a regular expression between slashes holds cells for
/// every point that matches and has an empty cell there, the last such row first. A second row may
/// hold units: numbers are converted into those of the base project. Cells may be patterns (see
/// expand_pattern) of the row's other cells, by head, and of settings, by their last names.
///
/// Everything that is wrong is told at once, in `problems`; whether images can be saved under the
/// names of the table, by the formats that are registered. Raises FileError when the table itself
/// cannot be read.
Schedule read_schedule(const std::filesystem::path& file, const ScheduleOptions& options = {});

/// Input files that points name and that are not there, those of a base once. Looks at the disk.
std::vector<Problem> missing_inputs(const Schedule& schedule);

/// The points of these names; a name with "*" or "?" stands for all that match. Problems name what
/// matches no point.
std::vector<const SchedulePoint*> points_named(const Schedule& schedule,
                                               const std::vector<std::string>& names,
                                               std::vector<Problem>& problems);

}  // namespace vyn
