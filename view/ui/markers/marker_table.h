#pragma once

#include <QWidget>

class QTableWidget;
class QTableWidgetItem;

namespace vyn {

class MarkerController;

/// Every marker of the image as a line: number, place, value and whether it is active. Cells are
/// edited in their place, sorted by a click on their head, pasted from a spreadsheet and read from
/// a CSV file; a value typed into one of several selected cells of a column goes into all of them.
class MarkerTable : public QWidget {
    Q_OBJECT
  public:
    explicit MarkerTable(MarkerController& markers);

  public Q_SLOTS:
    /// Cells of the clipboard, from the current cell on.
    void paste();
    /// Lines with number, x, y, value and active of a chosen file.
    void import_csv();

  private:
    void show_markers();
    void edited(QTableWidgetItem* item);
    void put(std::size_t row, int column, const std::string& text);
    /// The marker of a line, however the table is sorted.
    std::size_t marker_of(int line) const;

    MarkerController& markers_;
    QTableWidget* table_;
    bool filling_ = false;
};

}  // namespace vyn
