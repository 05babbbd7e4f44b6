#pragma once

#include <QObject>

namespace vyn {

class VynFieldViewer;
class ViewTool;

/// The region tools of one viewer: they write into the exclusion mask or the region plane.
class RegionController : public QObject {
    Q_OBJECT
  public:
    explicit RegionController(VynFieldViewer& viewer);
    ~RegionController() override;

    /// The shape chosen last.
    ViewTool* tool();
    /// The viewer shows another image, or none.
    void picture_changed();

  private:
    VynFieldViewer& viewer_;
};

}  // namespace vyn
