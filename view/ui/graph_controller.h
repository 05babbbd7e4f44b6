#pragma once

#include <QObject>

namespace vyn {

class VynFieldViewer;
class ViewTool;

/// The lines drawn on the image of one viewer and the window with their profiles.
class GraphController : public QObject {
    Q_OBJECT
  public:
    explicit GraphController(VynFieldViewer& viewer);
    ~GraphController() override;

    /// Draws lines.
    ViewTool* tool();
    /// The viewer shows another image, or none.
    void picture_changed();
    /// A line was drawn from (x0, y0) to (x1, y1), image positions.
    void more_data(double x0, double y0, double x1, double y1);

  private:
    VynFieldViewer& viewer_;
};

}  // namespace vyn
