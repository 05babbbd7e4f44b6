#pragma once

#include <QWidget>
#include <string>

#include "process/page/page_state.h"

class QToolButton;

namespace vyn {

class ElidedLabel;

/// One input file: its name, and buttons to select, view and remove it. A file dropped on the row
/// is taken like a selected one.
class FileRow : public QWidget {
    Q_OBJECT
  public:
    /// What the row can do beside selecting and removing.
    struct Offers {
        QString view = {};  ///< what the button to view it says; empty: no such button
        bool save = false;  ///< markers that no file holds
    };
    /// The widgets are named after the stem.
    FileRow(const std::string& stem, const Offers& offers, QWidget* parent = nullptr);

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
    ElidedLabel* name_;
    QToolButton* locate_;
    QToolButton* reload_;
    QToolButton* save_ = nullptr;
    QToolButton* view_ = nullptr;
    QToolButton* remove_;
};

/// The row of a file that becomes an image of the test point, or belongs to one.
class InputRow : public FileRow {
    Q_OBJECT
  public:
    InputRow(const PageRow& row, QWidget* parent = nullptr);

    const PageRow& row() const { return row_; }

  private:
    PageRow row_;
};

}  // namespace vyn
