#pragma once

#include <QObject>

#include "view/mouse_mode.h"

namespace vyn {

class VynFieldViewer;
class ViewTool;

/// The marker commands of one viewer.
class MarkerController : public QObject {
    Q_OBJECT
  public:
    explicit MarkerController(VynFieldViewer& viewer);
    ~MarkerController() override;

    /// The tool of a marker mode; null for other modes.
    ViewTool* tool(MouseMode mode);
    /// The viewer shows another image, or none.
    void picture_changed();

    void revise_all();
    void load();
    void save();
    void clear();
    void options();

  private:
    VynFieldViewer& viewer_;
};

}  // namespace vyn
