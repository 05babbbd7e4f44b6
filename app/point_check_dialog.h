#pragma once

#include <QDialog>
#include <memory>

#include "core/ui/busy_box.h"
#include "process/run_report.h"
#include "view/point_report.h"

namespace vyn {

/// "Check of the point": alignments, ports, histogram, law and a picture of every stage, to read
/// and to export as a page of its own.
class PointCheckDialog : public QDialog {
    Q_OBJECT
  public:
    explicit PointCheckDialog(std::shared_ptr<const PointReport> report, QWidget* parent = nullptr);

  public Q_SLOTS:
    /// Asks for a file and writes the page.
    void export_page();

  private:
    std::string html_;
};

/// Looks at the results of the image list on the worker, then shows the dialog until it is closed.
/// `report` is that of the run that made the results. Nothing is shown after an abort.
void show_point_check(QBusyBox& busy_box, std::shared_ptr<const RunReport> report, QWidget* parent);

}  // namespace vyn
