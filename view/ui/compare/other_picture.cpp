#include "view/ui/compare/other_picture.h"

#include "core/log.h"

namespace vyn {

void OtherPicture::want(const std::shared_ptr<const image>& picture) {
    wanted_ = picture;
    preparation_.cancel();
    if (!picture) return levels_.reset();
    const auto when = Preparation::when_for(*picture);
    preparation_.start(
        when,
        [picture, earlier = levels_](Progress& progress) {
            return std::make_shared<const ImageLevels>(picture, earlier.get(), progress);
        },
        [this, when](std::future<std::shared_ptr<const ImageLevels>> levels) {
            try {
                levels_ = levels.get();
            } catch (const std::exception& error) {
                get_log().write(LogLevel::failure, error.what());
                levels_.reset();
            }
            if (when == Preparation::When::behind) Q_EMIT prepared();
        });
}

}  // namespace vyn
