#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "markers/marker.h"

namespace vyn {

/// The columns of a table of markers, in their order.
enum class MarkerColumn { number, x, y, value, active };
inline constexpr int marker_columns = 5;

/// Cells of a table of markers, as spreadsheets and CSV files give them: lines, with cells between
/// tabs, else semicolons, else commas where these make all columns: a single one may be a decimal
/// comma. Lines without content are left out.
std::vector<std::vector<std::string>> text_cells(std::string_view text);

/// A marker's value as text, and the marker with the value that a text gives. Raises AlgoError
/// naming the text and what it should be.
std::string marker_cell(const Marker& marker, MarkerColumn column);
Marker with_cell(Marker marker, MarkerColumn column, const std::string& text);

/// The set after cells were put into it, the first at this row and column, as when a spreadsheet's
/// cells are pasted: rows behind the last become new markers with the next numbers. Of cells of all
/// columns a line whose number a marker has goes to that marker instead; a first line of several
/// without any number is a head and left out. Raises AlgoError naming line and text; the set is
/// then unchanged.
MarkerSet with_cells(MarkerSet set, std::size_t row, MarkerColumn column, std::string_view text);

}  // namespace vyn
