#pragma once

#include <QPointer>

#include "view/ui/association/association_controller.h"
#include "view/ui/canvas/colour_bar.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/canvas/hatch_overlay.h"
#include "view/ui/canvas/image_watcher.h"
#include "view/ui/canvas/preparation.h"
#include "view/ui/canvas/zoom_tool.h"
#include "view/ui/compare/comparison.h"
#include "view/ui/compare/view_link.h"
#include "view/ui/graph/graph_controller.h"
#include "view/ui/look/channel_source.h"
#include "view/ui/look/fashion_dialog.h"
#include "view/ui/markers/marker_controller.h"
#include "view/ui/region/region_controller.h"
#include "view/ui/texture/cell_panel.h"
#include "view/ui/window/field_viewer.h"
#include "view/ui/window/function_bar.h"
#include "view/ui/window/viewer_actions.h"
#include "view/ui/window/viewer_files.h"

namespace vyn {

/// What a viewer is made of; its widgets and controllers are its children.
struct VynFieldViewer::Parts {
    Parts(VynFieldViewer& viewer, Worker& program_worker)
        : worker(program_worker),
          view(new VynFieldView(&viewer)),
          actions(viewer),
          comparison(new Comparison(*view)),
          view_link(new ViewLink(*view)),
          files(new ViewerFiles(viewer)),
          zoom_in(*view, ZoomTool::Direction::in),
          zoom_out(*view, ZoomTool::Direction::out) {}

    Worker& worker;
    std::shared_ptr<imagesList> list;
    std::string image_name;
    PictureOrigin origin = PictureOrigin::computed;
    QString title;
    QString out_of_date;             ///< why; empty when the image is up to date
    bool fashion_suggested = false;  ///< limits and vectors were taken from the image once
    std::string suggested_palette;   ///< its name; empty before the first one
    ImageWatcher watcher;
    bool per_cent = false;              ///< shown as standard deviation in per cent of its field
    ImageWatcher field_watcher;         ///< of that field
    std::optional<Fashion> other_look;  ///< limits and iso-lines with the other choice
    Preparation preparation;            ///< of the watched image, until it is shown

    VynFieldView* view;
    HatchOverlay hatch;
    ColourBar* colour_bar = nullptr;
    VynFunctionBar* function_bar = nullptr;
    CellPanel* cell_panel = nullptr;
    QLabel* state_label = nullptr;  ///< in the status bar: out of date, or why nothing is seen
    ViewerActions actions;
    QMenu* image_menu = nullptr;
    QMenu* marker_menu = nullptr;
    QPointer<QFashionDlg> fashion_dialog;

    Comparison* comparison;
    ChannelSource channels;
    ViewLink* view_link;
    ViewerFiles* files;

    MouseMode mode = MouseMode::probe;
    ProbeTool probe;
    ZoomTool zoom_in;
    ZoomTool zoom_out;
    MarkerController* markers = nullptr;
    GraphController* graph = nullptr;
    RegionController* region = nullptr;
    AssociationController* association = nullptr;
};

}  // namespace vyn
