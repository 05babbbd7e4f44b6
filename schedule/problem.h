#pragma once

#include <string>

namespace vyn {

/// What is wrong with a table of points.
struct Problem {
    int row = 0;         ///< as a spreadsheet counts; 0: of the whole table
    std::string column;  ///< its head; empty: of the whole row
    std::string text;
};

/// "row 5, column mach: ..." for the user.
inline std::string line_of(const Problem& problem) {
    std::string line = problem.row > 0 ? "row " + std::to_string(problem.row) : std::string();
    if (!problem.column.empty())
        line += (line.empty() ? "" : ", ") + std::string("column ") + problem.column;
    return line.empty() ? problem.text : line + ": " + problem.text;
}

}  // namespace vyn
