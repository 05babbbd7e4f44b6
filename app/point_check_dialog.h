#pragma once

#include <QDialog>
#include <QTextBrowser>
#include <memory>
#include <string>

#include "core/ui/busy_box.h"
#include "markers/marker.h"
#include "process/report/run_report.h"
#include "render/document.h"

namespace vyn {

/// "Check of the point": alignments, ports, histogram, law and a picture of every stage, to read
/// and to export as a page of its own.
class PointCheckDialog : public QDialog {
    Q_OBJECT
  public:
    /// `report` is that of the run that made the results. Looks run in the busy box.
    PointCheckDialog(QBusyBox& busy_box, std::shared_ptr<const RunReport> report,
                     QWidget* parent = nullptr);

    /// Looks at the results of the image list on the worker and shows what it found; without ports
    /// it takes those that the images carry. False, with the page as it was, after an abort.
    bool look(const MarkerSet& ports = {});

  public Q_SLOTS:
    /// Asks for a marker file with pressures and compares the field with them.
    void select_ports();
    /// Asks for a file and writes the page, as HTML or PDF.
    void export_page();

  private:
    QBusyBox& busy_box_;
    std::shared_ptr<const RunReport> report_;
    QTextBrowser* page_;
    Document check_;
};

/// Looks, then shows the dialog until it is closed. Nothing is shown after an abort.
void show_point_check(QBusyBox& busy_box, std::shared_ptr<const RunReport> report, QWidget* parent);

}  // namespace vyn
