#include "view/edit/mouse_mode.h"

namespace vyn {

bool is_marker_mode(MouseMode mode) {
    switch (mode) {
        case MouseMode::marker_add:
        case MouseMode::marker_move:
        case MouseMode::marker_revise:
        case MouseMode::marker_toggle:
        case MouseMode::marker_edit:
        case MouseMode::marker_delete:
            return true;
        case MouseMode::probe:
        case MouseMode::zoom_in:
        case MouseMode::zoom_out:
        case MouseMode::graph:
        case MouseMode::associate:
        case MouseMode::region:
            return false;
    }
    return false;
}

}  // namespace vyn
