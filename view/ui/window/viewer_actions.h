#pragma once

class QAction;
class QActionGroup;

namespace vyn {

class VynFieldViewer;

/// The actions of a viewer, each connected to the slot of its name. The actions of mouse modes are
/// checkable, one of them at a time.
struct ViewerActions {
    explicit ViewerActions(VynFieldViewer& viewer);

    QActionGroup* modes = nullptr;
    // File
    QAction* open = nullptr;
    QAction* save = nullptr;
    QAction* save_as = nullptr;
    QAction* image_export = nullptr;
    // Image
    QAction* probe_mode = nullptr;
    QAction* fashion = nullptr;
    QAction* zoom_in_mode = nullptr;
    QAction* zoom_out_mode = nullptr;
    QAction* zoom_one_to_one = nullptr;
    QAction* show_graph_mode = nullptr;
    QAction* vector_draw_enable = nullptr;
    QAction* advanced_fashion = nullptr;
    QAction* zoom_fit = nullptr;
    QAction* link = nullptr;
    QAction* blink = nullptr;
    QAction* difference = nullptr;
    QAction* per_cent = nullptr;
    QAction* copy_picture = nullptr;
    QAction* copy_pixel = nullptr;
    // Marker
    QAction* marker_add_mode = nullptr;
    QAction* marker_move_mode = nullptr;
    QAction* marker_revise_mode = nullptr;
    QAction* marker_toggle_mode = nullptr;
    QAction* marker_edit_mode = nullptr;
    QAction* marker_del_mode = nullptr;
    QAction* revise_all_markers = nullptr;
    QAction* load_markers = nullptr;
    QAction* save_markers = nullptr;
    QAction* clear_markers = nullptr;
    QAction* marker_options = nullptr;
};

}  // namespace vyn
