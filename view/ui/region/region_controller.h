#pragma once

#include <memory>

#include "view/edit/region_edit.h"
#include "view/ui/canvas/edit_controller.h"
#include "view/ui/region/lamp_monitor_overlay.h"
#include "view/ui/region/region_tool.h"

class QComboBox;
class QSpinBox;
class QToolBar;

namespace vyn {

class PictureWindow;

/// The region tools of one viewer: they draw into the exclusion mask or the region plane. Every
/// change is published with the image at once; the mask can be saved as the image's mask file.
class RegionController : public EditController {
    Q_OBJECT
  public:
    explicit RegionController(PictureWindow& viewer);
    ~RegionController() override;

    /// Draws the shape chosen last.
    ViewTool* tool() { return &tool_; }
    /// The viewer shows another image, or none.
    void picture_changed();

    void choose_plane(RegionPlane plane);
    void choose_action(RegionAction action);
    void choose_shape(RegionShape shape);
    void invert();
    /// Asks for a range of values and draws the pixels in it.
    void threshold();
    void save_mask();

    bool can_undo() const override { return edit_ && edit_->can_undo(); }
    bool can_redo() const override { return edit_ && edit_->can_redo(); }
    void undo() override;
    void redo() override;
    bool modified() const override { return edit_ && edit_->state() != saved_state_; }

  private:
    void make_bar();
    PixelRuns runs_of(RegionShape shape, const std::vector<Point>& places) const;
    void draw(RegionAction action, const RowFlags& shape);
    bool draws_lamp_monitor() const;
    /// Tells that only a rectangle can be one; true when one is drawn.
    bool refuses_for_lamp_monitor();
    void draw_lamp_monitor(RegionShape shape, const std::vector<Point>& places);
    void publish();

    PictureWindow& viewer_;
    std::unique_ptr<RegionEdit> edit_;  ///< of the image shown, from its first shape on
    std::uint64_t saved_state_ = 0;
    RegionTool tool_;
    LampMonitorOverlay monitor_;
    QComboBox* plane_;
    QComboBox* action_;
    QSpinBox* radius_;
};

}  // namespace vyn
