#pragma once

#include "view/edit/mouse_mode.h"

namespace vyn {

/// Keys that stand for two commands of the viewer.
enum class DoubleKey { ctrl_a, ctrl_e, ctrl_s };

/// The commands that share them.
enum class SharedKeyCommand {
    marker_add,
    revise_all_markers,
    marker_edit,
    image_export,
    save_markers,
    save_image,
};

/// Which of its commands a key means in a mode: the marker command while a marker mode is on, the
/// other one otherwise. Both commands of Ctrl+A act on markers: it revises all of them while the
/// revise mode is on and adds one otherwise.
SharedKeyCommand command_of(DoubleKey key, MouseMode mode);

}  // namespace vyn
