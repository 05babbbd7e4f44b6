#include "view/ui/window/viewer_actions.h"

#include <QAction>
#include <QActionGroup>

#include "core/ui/icons.h"
#include "view/ui/window/field_viewer.h"

namespace vyn {

namespace {

using Viewer = VynFieldViewer;
using Actions = ViewerActions;

struct Row {
    QAction* Actions::*action;
    void (Viewer::*slot)();
    const char* name;  ///< of the slot, and so the action's object name
    const char* icon;
    const char* text;
    const char* key;
    const char* tip;
    bool mode = false;
};

struct ToggleRow {
    QAction* Actions::*action;
    void (Viewer::*slot)(bool);
    const char* name;
    const char* icon;
    const char* text;
    const char* key;
    const char* tip;
};

constexpr bool is_mode = true;

// clang-format off
const Row rows[] = {
    {&Actions::open, &Viewer::open, "open", "fileopen.png", "&Open...", "Ctrl+C", ""},
    {&Actions::save, &Viewer::save, "save", "filesave.png", "&Save", "Ctrl+S", ""},
    {&Actions::save_as, &Viewer::saveAs, "saveAs", "filesaveas.png", "&Save as...", "Ctrl+Shift+S", ""},
    {&Actions::probe_mode, &Viewer::probe_mode, "probe_mode", "probe.png", "&Probe", "Escape", "Probe Function", is_mode},
    {&Actions::fashion, &Viewer::fashion, "fashion", "thumbnail.png", "&Fashion", "Ctrl+F", "Set Image Limits and colors"},
    {&Actions::zoom_in_mode, &Viewer::zoom_in_mode, "zoom_in_mode", "viewmag+.png", "Zoom &In", "Ctrl++", "Zoom In", is_mode},
    {&Actions::zoom_out_mode, &Viewer::zoom_out_mode, "zoom_out_mode", "viewmag-.png", "Zoom &Out", "Ctrl+-", "Zoom Out", is_mode},
    {&Actions::zoom_one_to_one, &Viewer::zoom_one_to_one, "zoom_one_to_one", "viewmag1.png", "Zoom 1:1", "Ctrl+0", ""},
    {&Actions::show_graph_mode, &Viewer::show_graph_mode, "show_graph_mode", "graph.png", "Graph", "Ctrl+G", "Show Intensity variations along a line", is_mode},
    {&Actions::image_export, &Viewer::image_export, "image_export", "filesaveas.png", "Export field", "Ctrl+E", "Export Image for presentation into PNG file"},
    {&Actions::marker_add_mode, &Viewer::marker_add_mode, "marker_add_mode", "marker_add.png", "Add Marker", "Ctrl+A", "Add new marker", is_mode},
    {&Actions::marker_move_mode, &Viewer::marker_move_mode, "marker_move_mode", "marker_move.png", "Move Marker", "Ctrl+M", "Move marker", is_mode},
    {&Actions::marker_revise_mode, &Viewer::marker_revise_mode, "marker_revise_mode", "marker_revise.png", "Revise Marker", "Ctrl+R", "Revise marker", is_mode},
    {&Actions::marker_toggle_mode, &Viewer::marker_toggle_mode, "marker_toggle_mode", "marker_toggle.png", "Toggle Marker", "Ctrl+T", "Switch marker on/off", is_mode},
    {&Actions::marker_edit_mode, &Viewer::marker_edit_mode, "marker_edit_mode", "marker_edit.png", "Edit Marker(s)", "Ctrl+E", "Edit parameters of the marker", is_mode},
    {&Actions::marker_del_mode, &Viewer::marker_del_mode, "marker_del_mode", "marker_del.png", "Delete Marker", "Ctrl+D", "Delete marker", is_mode},
    {&Actions::revise_all_markers, &Viewer::revise_all_markers, "revise_all_markers", "marker_revise_all.png", "Revise All Markers", "Ctrl+A", "Revise all active markers"},
    {&Actions::load_markers, &Viewer::load_markers, "load_markers", "marker_open.png", "Load Markers", "Ctrl+O", "Load markers from a file"},
    {&Actions::save_markers, &Viewer::save_markers, "save_markers", "marker_save.png", "Save Markers", "Ctrl+S", "Save markers into a file"},
    {&Actions::clear_markers, &Viewer::clear_markers, "clear_markers", "marker_close.png", "Clear All Markers", "", ""},
    {&Actions::marker_options, &Viewer::abjust_markers_options, "abjust_markers_options", "configure.png", "Options", "", "Set Marker type and size"},
    {&Actions::zoom_fit, &Viewer::zoom_fit, "zoom_fit", "fit.png", "Zoom to Fi&t", "Ctrl+9", "Show the whole image"},
    {&Actions::advanced_fashion, &Viewer::advanced_fashion, "advanced_fashion", "thumbnail.png", "A&dvanced Fashion", "Ctrl+Shift+F", "Limits by the histogram, images as colours"},
    {&Actions::copy_picture, &Viewer::copy_picture, "copy_picture", "", "&Copy Picture", "Ctrl+Shift+C", "Copy what is seen to the clipboard"},
    {&Actions::copy_pixel, &Viewer::copy_pixel, "copy_pixel", "", "Cop&y Pixel", "Ctrl+Shift+P", "Copy the values under the pointer to the clipboard"},
};
const ToggleRow toggle_rows[] = {
    {&Actions::vector_draw_enable, &Viewer::vector_draw_enable, "vector_draw_enable", "draw_vectors.png", "Enable Vector display", "Ctrl+V", "Enable/Disable vector grid drawing"},
    {&Actions::link, &Viewer::link_views, "link_views", "link.png", "&Link Viewers", "Ctrl+L", "Linked viewers show the same part of their images"},
    {&Actions::blink, &Viewer::blink, "blink", "blink.png", "&Blink", "Ctrl+B", "Show this image and another one in turn"},
    {&Actions::difference, &Viewer::difference, "difference", "difference.png", "Di&fference", "Ctrl+Shift+D", "Show this image minus another one"},
    {&Actions::per_cent, &Viewer::show_per_cent, "show_per_cent", "", "P&er Cent of the Field", "Ctrl+5", "Show the standard deviation in per cent of its field"},
};
// clang-format on

template <class AnyRow>
QAction* make_action(VynFieldViewer& viewer, const AnyRow& row) {
    auto* action = new QAction(viewer.tr(row.text), &viewer);
    if (*row.icon) action->setIcon(vyn_icon(QLatin1String(row.icon)));
    action->setObjectName(QLatin1String(row.name));
    action->setShortcut(QKeySequence(QLatin1String(row.key)));
    if (*row.tip) action->setToolTip(viewer.tr(row.tip));
    return action;
}

}  // namespace

ViewerActions::ViewerActions(VynFieldViewer& viewer) : modes(new QActionGroup(&viewer)) {
    for (const Row& row : rows) {
        QAction* action = make_action(viewer, row);
        action->setCheckable(row.mode);
        if (row.mode) modes->addAction(action);
        QObject::connect(action, &QAction::triggered, &viewer, row.slot);
        this->*row.action = action;
    }
    // Told apart from "Save as" by an arrow.
    image_export->setIcon(vyn_icon(QStringLiteral("filesaveas.png"), QStringLiteral("leads_out")));
    for (const ToggleRow& row : toggle_rows) {
        QAction* action = make_action(viewer, row);
        action->setCheckable(true);
        QObject::connect(action, &QAction::triggered, &viewer, row.slot);
        this->*row.action = action;
    }
}

}  // namespace vyn
