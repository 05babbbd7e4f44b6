#pragma once

#include <QMainWindow>
#include <vector>

#include "view/ui/model/section_plot.h"

namespace vyn {

/// The graph window of sections: the one that follows the plane, and those that were kept.
class SectionWindow : public QMainWindow {
    Q_OBJECT
  public:
    explicit SectionWindow(QWidget* parent = nullptr);

    void show_live(PlottedSection live, const QString& label, SectionPlot::ValueAxis axis);
    /// Kept ones first, the live one last.
    std::vector<PlottedSection> sections() const;
    /// As the batch program's table of these sections.
    std::string table() const;

  public Q_SLOTS:
    /// The live section stays in the graph when the plane goes on.
    void keep();
    /// Those that were kept go.
    void clear();
    void save_table();
    void save_picture();
    void copy_table();
    void copy_picture();

  private:
    void draw();

    SectionPlot* plot_;
    PlottedSection live_;
    std::vector<PlottedSection> kept_;
    QString label_;
    SectionPlot::ValueAxis axis_ = SectionPlot::ValueAxis::upward;
};

}  // namespace vyn
