#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vyn {

/// A row of a table; as many cells as the table has heads.
struct TableRow {
    int number = 0;  ///< as a spreadsheet counts rows, the heads being row 1
    std::vector<std::string> cells;
};

/// A table as it stands in its file: texts in UTF-8 without white space around them.
struct Table {
    std::vector<std::string> heads;
    std::vector<TableRow> rows;
    char separator = ',';
    std::vector<TableRow> comments;  ///< rows that begin with "#", as they stand
};

/// Reads a table of comma-, semicolon- or tab-separated values, quoted where needed, UTF-8 or
/// Latin-1; empty rows and rows that begin with "#" are left out. Or a JSON object with "points"
/// (a list of objects, one a row), "settings" (an object that stands for a row "/.*/" before them)
/// and "rules" (objects whose "points" is a regular expression, each a row between slashes).
/// Raises FileError naming the file and, where it can be told, the row.
Table read_table(const std::filesystem::path& file);

/// The table as separated values, quoted where needed, with its comments at their places.
std::string csv_text(const Table& table);

}  // namespace vyn
