#include "render/model/model_picture.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "render/picture_frame.h"

namespace vyn {

Figure model_figure(const field_data<double>& mesh, const Surface& surface,
                    const VertexNormals& normals, const ModelView& view, ModelLook look,
                    const FrameOptions& options, Progress& progress) {
    constexpr int fineness = 2;  // drawn finer by this and averaged
    const PictureFrame frame(view.width, view.height, options);
    const ModelView fine = resized(view, fineness * view.width, fineness * view.height);
    look.colours = colour_map(options.limits.minimum, options.limits.maximum, options.palette);
    look.isoline_pixels *= fineness;
    VisibleFaces faces;
    faces.draw(mesh, surface, fine, look.hidden_zones, progress);
    Bitmap<std::uint32_t> pixels(fine.width, fine.height);
    paint_model(mesh, surface, normals, faces, look, {pixels.row(0), pixels.stride()}, progress);
    const auto drawn = std::make_shared<RgbPicture>(paper(view.width, view.height));
    average_pixels({pixels.row(0), pixels.stride()}, fineness, view.width, view.height, /*to_y=*/0,
                   *drawn);
    return {frame.width(), frame.height(), [frame, drawn](Canvas& canvas) {
                canvas.picture(*drawn, frame.field_x(), frame.field_y());
                frame.draw(canvas);
            }};
}

Limits robust_limits(const field_data<double>::Quantity& quantity) {
    std::vector<double> values;
    std::ranges::copy_if(quantity.values, std::back_inserter(values),
                         [](double value) { return std::isfinite(value); });
    if (values.empty()) return {};
    const auto at = [&](double share) {
        const auto rank =
            static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1) + 0.5);
        std::nth_element(values.begin(), values.begin() + rank, values.end());
        return values[static_cast<std::size_t>(rank)];
    };
    return with_room({at(0.005), at(0.995)});
}

}  // namespace vyn
