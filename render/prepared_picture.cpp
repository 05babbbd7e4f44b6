#include "render/prepared_picture.h"

namespace vyn {

PreparedPicture prepare_picture(const std::shared_ptr<const image>& picture,
                                const ImageLevels* earlier, bool with_limits, Progress& progress) {
    SubProgress levels_part(progress, 0, with_limits ? 0.3 : 1);
    PreparedPicture prepared;
    prepared.levels = std::make_shared<const ImageLevels>(picture, earlier, levels_part);
    SubProgress limits_part(progress, 0.3, 1);
    if (with_limits) prepared.limits = robust_limits(*picture, limits_part);
    return prepared;
}

}  // namespace vyn
