#include "view/edit/double_keys.h"

namespace vyn {

SharedKeyCommand command_of(DoubleKey key, MouseMode mode) {
    const bool marking = is_marker_mode(mode);
    switch (key) {
        case DoubleKey::ctrl_a:
            return mode == MouseMode::marker_revise ? SharedKeyCommand::revise_all_markers
                                                    : SharedKeyCommand::marker_add;
        case DoubleKey::ctrl_e:
            return marking ? SharedKeyCommand::marker_edit : SharedKeyCommand::image_export;
        case DoubleKey::ctrl_s:
            break;
    }
    return marking ? SharedKeyCommand::save_markers : SharedKeyCommand::save_image;
}

}  // namespace vyn
