#pragma once

#include <QPointer>
#include <functional>
#include <map>
#include <memory>

#include "view/edit/marker_edit.h"
#include "view/edit/mouse_mode.h"
#include "view/ui/canvas/edit_controller.h"
#include "view/ui/markers/marker_overlay.h"

class QAction;
class QDockWidget;

namespace vyn {

class MarkerFindingDialog;
class MarkerPairingDialog;
class MarkerTool;
class PictureWindow;
class VynMarkerInfo;

/// The marker commands of one viewer. Every change is published with the image at once.
class MarkerController : public EditController {
    Q_OBJECT
  public:
    explicit MarkerController(PictureWindow& viewer);
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
    /// Takes the markers out of sight, or shows them again.
    void hide(bool hidden);
    bool hidden() const;
    /// Looks for dots in the image.
    void find();
    /// Pairs the markers with those of another image.
    void pair();

    // What the tools do; positions in pixels of the image.
    void click(MouseMode mode, Point place);
    enum class Drop { on_the_dot, exactly };
    void pick_up(Point place);
    void drag(Point place);
    void drop(Point place, Drop how);
    void put_back();

    const MarkerEdit& markers() const { return edit_; }
    /// Whose step a change is when it is undone: the markers', or that of another controller, which
    /// calls `undo` and `redo` for it.
    enum class StepOf { markers, another };
    /// Changes the markers as one step and publishes them. A failure is told to the user; false.
    bool change(const std::function<void(MarkerEdit&)>& operation, StepOf step = StepOf::markers);
    void set_current(std::optional<std::size_t> index);
    void go_prev();
    void go_next();
    VynMarkerInfo& info() const { return *info_; }

    bool can_undo() const override { return edit_.can_undo(); }
    bool can_redo() const override { return edit_.can_redo(); }
    void undo() override;
    void redo() override;
    /// Also markers that were drawn before, in another window, and are in no file yet.
    bool modified() const override;

  Q_SIGNALS:
    /// The markers, or which of them is the current one.
    void markers_changed();
    /// A marker is being moved and would stand here.
    void dragging(std::size_t index, Point place);
    /// It was put back or down.
    void drag_ended();

  private:
    void make_actions();
    void add(Point place);
    std::optional<std::size_t> pick(Point place) const;
    ExtremeSearchOptions search_options() const;
    bool is_project_image() const;
    void publish();
    void show_markers();

    PictureWindow& viewer_;
    MarkerEdit edit_;
    std::string shown_name_;
    int shown_width_ = 0;
    int shown_height_ = 0;

    MarkerOverlay overlay_;
    std::map<MouseMode, std::unique_ptr<MarkerTool>> tools_;
    std::optional<std::size_t> dragged_;
    Point drag_start_;

    VynMarkerInfo* info_;
    QAction* hide_ = nullptr;
    QDockWidget* dock_;
    QDockWidget* table_dock_;
    QPointer<MarkerFindingDialog> finding_;
    QPointer<MarkerPairingDialog> pairing_;
};

}  // namespace vyn
