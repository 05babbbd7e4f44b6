#pragma once

#include <QPointer>

#include "view/ui/channel_source.h"
#include "view/ui/colour_bar.h"
#include "view/ui/comparison.h"
#include "view/ui/fashion_dialog.h"
#include "view/ui/field_view.h"
#include "view/ui/field_viewer.h"
#include "view/ui/function_bar.h"
#include "view/ui/graph_controller.h"
#include "view/ui/image_watcher.h"
#include "view/ui/marker_controller.h"
#include "view/ui/preparation.h"
#include "view/ui/region_controller.h"
#include "view/ui/view_link.h"
#include "view/ui/viewer_actions.h"
#include "view/ui/viewer_files.h"
#include "view/ui/zoom_tool.h"

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
    ImageWatcher watcher;
    Preparation preparation;  ///< of the watched image, until it is shown

    VynFieldView* view;
    ColourBar* colour_bar = nullptr;
    VynFunctionBar* function_bar = nullptr;
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
};

}  // namespace vyn
