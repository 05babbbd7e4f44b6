#pragma once

#include <QSize>
#include <memory>
#include <optional>

#include "process/model/association_tasks.h"
#include "view/edit/history.h"
#include "view/ui/association/association_overlay.h"
#include "view/ui/association/association_tool.h"
#include "view/ui/canvas/edit_controller.h"

class QAction;
class QDockWidget;

namespace vyn {

class AssociationPanel;
class MarkerController;
class PictureWindow;

/// Markers on the model over the picture of one viewer. They are seen on camera pictures and
/// images in their frame, and put on their dots on the picture whose markers tell the pose.
class AssociationController : public EditController {
    Q_OBJECT
  public:
    AssociationController(PictureWindow& viewer, MarkerController& markers);
    ~AssociationController() override;

    ViewTool* tool() { return &tool_; }
    /// The viewer shows another image, or none.
    void picture_changed();

    /// Begins to associate, or goes on; a failure is told to the user.
    void begin();
    /// Shows or hides the rings.
    void show_rings(bool shown);
    void pair_rest();
    void find();
    /// The pose becomes the project's.
    void accept();
    /// Markers and pose become what they were when associating began.
    void reject();
    /// Before the picture goes: asks what becomes of a pose, or of numbers alone, that are not
    /// accepted; false when the user wants to go on.
    bool may_leave();

    // What the tool does; positions in pixels of the image.
    void pick_up(Point place);
    void drag(Point place);
    void drop(Point place);
    void let_go();

    const std::vector<AssociationRow>& rows() const { return overlay_.rows(); }
    const Association& association() const { return association_; }
    AssociationPanel& panel() const { return *panel_; }

    bool can_undo() const override { return history_.can_undo(); }
    bool can_redo() const override { return history_.can_redo(); }
    void undo() override;
    void redo() override;
    /// The dots are the markers' affair.
    bool modified() const override { return false; }

  private:
    /// What accepting changes beside this picture: settings of the pose, and the markers of other
    /// camera pictures.
    struct Project {
        std::vector<std::pair<std::string, any>> settings;
        std::vector<std::pair<std::string, MarkerSet>> markers;
    };
    struct Step {
        Association before;
        Association after;
        bool changes_markers = false;
        std::shared_ptr<const std::pair<Project, Project>> project;  ///< before, after
    };
    Project project() const;
    static void restore(const Project& project);
    /// What the image is to the pose.
    enum class Frame { none, raw, ideal };
    Frame frame() const;
    bool may_associate() const;
    void make_actions();
    void enable_actions();
    /// Reads markers and mesh; false when that failed, which the user was told.
    bool read_scene();
    /// Camera and options as they are now; false when they cannot be used, which is said.
    bool refresh_settings();
    void perform(Associated next);
    void put(const Association& association);
    /// Pictures that are paired with this one by number: true when one was changed.
    bool renumber_others();
    void end(bool told);
    void show();
    void show(const Association& association, const MarkerSet& dots);
    QString words(const Association& association) const;
    /// The marker that is dragged, and the dot that it would be put on.
    std::optional<std::size_t> dot_near(Point place) const;
    void centre_on(std::int32_t number);
    void leave_out(std::int32_t number, bool out);
    void preview_move(std::size_t dot, Point place);

    PictureWindow& viewer_;
    MarkerController& markers_;
    AssociationOverlay overlay_;
    AssociationTool tool_;
    std::shared_ptr<AssociationScene> scene_;
    Association association_;
    std::optional<Associated> original_;  ///< while associating
    History<Step> history_;
    bool own_change_ = false;  ///< markers are changed from here
    std::string shown_name_;
    QSize shown_size_;

    std::optional<std::int32_t> dragged_;
    Point drag_offset_;
    std::optional<std::size_t> target_;

    QAction* mode_;
    QAction* shown_;
    AssociationPanel* panel_;
    QDockWidget* dock_;
};

}  // namespace vyn
