#pragma once

#include <QObject>
#include <QPointer>

#include "view/ui/graph/graph_tool.h"

namespace vyn {

class GraphWindow;
class PictureWindow;

/// The lines drawn on the image of one viewer and the window with their profiles, also those of the
/// same places of the images of other viewers.
class GraphController : public QObject {
    Q_OBJECT
  public:
    explicit GraphController(PictureWindow& viewer);
    ~GraphController() override;

    /// Draws lines.
    ViewTool* tool() { return &tool_; }
    /// The viewer shows another image, or none.
    void picture_changed();
    /// A line was drawn from (x0, y0) to (x1, y1), image positions.
    void more_data(double x0, double y0, double x1, double y1);

    const std::vector<GraphLine>& lines() const { return overlay_.lines; }
    /// Null until the first line.
    GraphWindow* window() const { return window_; }

  private:
    void make_window();
    void move_line(std::size_t index, Point from, Point to);
    void remove_line(std::size_t index);
    void clear();
    void set_width(int width);
    void point_at(double distance);
    /// Other viewers' images that the lines can be laid over: of this one's size and quantity.
    QList<PictureWindow*> comparable() const;
    void follow_windows();
    void choose_other(int index, bool used);
    void sample();

    PictureWindow& viewer_;
    GraphLineOverlay overlay_;
    GraphTool tool_;
    std::size_t colours_used_ = 0;
    GraphWindow* window_ = nullptr;  ///< a child of the viewer
    QList<PictureWindow*> offered_;  ///< as the window lists them; for comparing, may be gone
    QList<QPointer<PictureWindow>> used_;
};

}  // namespace vyn
