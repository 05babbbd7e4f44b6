#pragma once

namespace vyn {

/// What the mouse does on the image.
enum class MouseMode {
    probe,
    zoom_in,
    zoom_out,
    graph,
    marker_add,
    marker_move,
    marker_revise,
    marker_toggle,
    marker_edit,
    marker_delete,
    associate,  ///< rings of 3-D markers are dragged onto their dots
    region,     ///< the region tool in use says what
};

/// True for the modes that act on markers.
bool is_marker_mode(MouseMode mode);

}  // namespace vyn
