#include "view/ui/canvas/view_frame.h"

#include <cmath>

namespace vyn {

const QImage& ViewFrame::draw(const ViewSource& source, const colour_map& colours,
                              const ViewTransform& transform, QSizeF size, double pixel_ratio) {
    const QSize pixels(static_cast<int>(std::ceil(size.width() * pixel_ratio)),
                       static_cast<int>(std::ceil(size.height() * pixel_ratio)));
    if (picture_.size() != pixels) {
        picture_ = QImage(pixels, QImage::Format_RGB32);
        valid_ = false;
    }
    picture_.setDevicePixelRatio(pixel_ratio);
    if (valid_) return picture_;
    const ViewRectangle rectangle{transform.origin.x(), transform.origin.y(),
                                  transform.zoom * pixel_ratio, pixels.width(), pixels.height()};
    render(source, colours, rectangle,
           {reinterpret_cast<std::uint32_t*>(picture_.bits()), picture_.bytesPerLine() / 4});
    valid_ = true;
    return picture_;
}

}  // namespace vyn
