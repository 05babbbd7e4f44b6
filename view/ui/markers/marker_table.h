#pragma once

#include <QWidget>
#include <functional>

#include "view/edit/marker_edit.h"

class QTableWidget;
class QTableWidgetItem;

namespace vyn {

/// Every marker of a set as a line: number, place, value and whether it is active. Cells are
/// edited in their place, sorted by a click on their head, pasted from a spreadsheet and read from
/// a CSV file; a value typed into one of several selected cells of a column goes into all of them.
class MarkerTable : public QWidget {
    Q_OBJECT
  public:
    /// Changes the markers by an operation, tells the user when it raises an error (false then),
    /// and has the table shown anew when anything changed.
    using Change = std::function<bool(const std::function<void(MarkerEdit&)>& operation)>;
    /// The markers must outlive the table.
    MarkerTable(const MarkerEdit& markers, Change change);

  public Q_SLOTS:
    void show_markers();
    /// Cells of the clipboard, from the current cell on.
    void paste();
    /// Lines with number, x, y, value and active of a chosen file.
    void import_csv();

  private:
    void edited(QTableWidgetItem* item);
    void put(std::size_t row, int column, const std::string& text);
    /// The marker of a line, however the table is sorted.
    std::size_t marker_of(int line) const;

    const MarkerEdit& markers_;
    Change change_;
    QTableWidget* table_;
    bool filling_ = false;
};

}  // namespace vyn
