#pragma once

#include <QWidget>

#include "process/page/page_state.h"

class QToolButton;

namespace vyn {

class ElidedLabel;

/// One input file of the test point: its name, and buttons to select, view and remove it. A file
/// dropped on the row is taken like a selected one.
class InputRow : public QWidget {
    Q_OBJECT
  public:
    InputRow(PageRow row, QWidget* parent = nullptr);

    const PageRow& row() const { return row_; }
    void show_state(const RowState& state);

  Q_SIGNALS:
    /// A file was chosen for this place.
    void chosen(const QString& file);
    void select_wanted();
    void view_wanted();
    void remove_wanted();
    /// Markers that no file holds are to be saved.
    void save_wanted();
    /// The file that is missing is to be looked for.
    void locate_wanted();
    /// The file is to be loaded again.
    void reload_wanted();

  protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    PageRow row_;
    ElidedLabel* name_;
    QToolButton* locate_;
    QToolButton* reload_;
    QToolButton* save_ = nullptr;  ///< of markers
    QToolButton* view_ = nullptr;
    QToolButton* remove_;
};

}  // namespace vyn
