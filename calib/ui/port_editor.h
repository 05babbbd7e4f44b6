#pragma once

#include <QDialog>
#include <filesystem>

#include "view/edit/marker_edit.h"

namespace vyn {

class MarkerTable;

/// The ports of a port file as a table: numbers, places and pressures are typed, pasted from a
/// spreadsheet or read from a CSV file; accepting writes the file.
class PortEditor : public QDialog {
    Q_OBJECT
  public:
    /// The ports to start from, and their file; empty: the user is asked for one, also where the
    /// file's format keeps no pressures.
    PortEditor(MarkerSet ports, std::filesystem::path file, QWidget* parent);

    /// That was written.
    const std::filesystem::path& file() const { return file_; }

  public Q_SLOTS:
    void accept() override;

  private:
    bool change(const std::function<void(MarkerEdit&)>& operation);

    MarkerEdit ports_;
    std::filesystem::path file_;
    MarkerTable* table_;
};

}  // namespace vyn
