#include "view/ui/canvas/range_overlay.h"

#include <QImage>
#include <algorithm>
#include <cmath>
#include <vector>

#include "api/parallel.h"

namespace vyn {

void RangeOverlay::set_range(double low, double high) {
    low_ = low;
    high_ = high;
}

void RangeOverlay::paint(QPainter& painter, const ViewTransform& transform) const {
    if (!picture_ || !(low_ <= high_)) return;
    const QRect widget = painter.viewport();
    QImage tint(widget.size(), QImage::Format_ARGB32_Premultiplied);
    const Bitmap<float>& values = picture_->values();
    // Beside the image: its first pixel beyond.
    const auto pixel = [](double position, int count) {
        return static_cast<int>(std::clamp(std::floor(position + 0.5), -1.0, double(count)));
    };
    std::vector<int> columns;
    for (int x = 0; x < tint.width(); ++x)
        columns.push_back(pixel(transform.to_image({x + 0.5, 0}).x(), values.width()));
    const QRgb colour = qPremultiply(qRgba(230, 0, 160, 150));
    std::uint8_t* const bits = tint.bits();
    const int stride = tint.bytesPerLine();
    Progress quiet;
    parallel_rows(tint.height(), 64, quiet, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            auto* const out = reinterpret_cast<QRgb*>(bits + std::ptrdiff_t{stride} * y);
            const int row = pixel(transform.to_image({0, y + 0.5}).y(), values.height());
            for (int x = 0; x < tint.width(); ++x) {
                const int column = columns[static_cast<std::size_t>(x)];
                const bool inside = values.contains(column, row) &&
                                    double{values(column, row)} >= low_ &&
                                    double{values(column, row)} <= high_;
                out[x] = inside ? colour : 0;
            }
        }
    });
    painter.drawImage(widget.topLeft(), tint);
}

}  // namespace vyn
