#pragma once

#include <memory>
#include <vector>

#include <qwt_plot.h>

#include "process/model/model_ports.h"

class QwtPlotItem;

namespace vyn {

/// A section with what is drawn of it.
struct PlottedSection {
    QString title;  ///< such as "y = 250"
    Section section;
    std::vector<SectionPort> ports;
};

/// Values along sections over their chords, with gaps where nothing was seen and ports as rings.
class SectionPlot : public QwtPlot {
    Q_OBJECT
  public:
    enum class ValueAxis { upward, turned_over };

    explicit SectionPlot(QWidget* parent = nullptr);
    ~SectionPlot() override;

    /// `label` names the values, with their unit. Several sections get a legend.
    void show_sections(const std::vector<PlottedSection>& sections, const QString& label,
                       ValueAxis axis);

  private:
    std::vector<std::unique_ptr<QwtPlotItem>> items_;
};

}  // namespace vyn
