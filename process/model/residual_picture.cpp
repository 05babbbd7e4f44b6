#include "process/model/residual_picture.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "render/arrow.h"
#include "render/picture.h"

namespace vyn {

namespace {

RgbPicture background(const image* picture, const PinholeCamera& camera, int side, double& scale) {
    if (!picture) {
        scale = 1;
        while (std::max(camera.width, camera.height) * scale > side)
            scale /= 2;
        return paper(std::max(1, static_cast<int>(std::lround(camera.width * scale))),
                     std::max(1, static_cast<int>(std::lround(camera.height * scale))));
    }
    Progress quiet;
    PictureOptions options;
    options.limits = robust_limits(*picture, quiet);
    if (const palette_array* grey = find_palette("grey")) options.palette = *grey;
    options.scale = scale = scale_for_side(*picture, side);
    return draw_picture(*picture, options);
}

}  // namespace

double largest_residual(const std::vector<MarkerResult>& markers) {
    double largest = 0;
    for (const MarkerResult& marker : markers)
        if (marker.used) largest = std::max(largest, marker.length());
    return largest;
}

Canvas::Colour residual_colour(const MarkerResult& marker, double largest) {
    if (!marker.used) return {128, 128, 128};
    const double share = largest > 0 ? std::min(marker.length() / largest, 1.0) : 0;
    const auto mix = [share](double none, double all) {
        return static_cast<std::uint8_t>(std::lround(none + share * (all - none)));
    };
    return {mix(30, 229), mix(136, 40), mix(229, 40)};
}

double residual_factor(const std::vector<MarkerResult>& markers, int width) {
    const double largest = largest_residual(markers);
    if (!(largest > 0)) return 1;
    const double wanted = width / 12.0 / largest;
    const double decade = std::pow(10, std::floor(std::log10(std::clamp(wanted, 1.0, 5e6))));
    double factor = decade;
    for (const double step : {2.0, 5.0})
        if (step * decade <= wanted) factor = step * decade;
    return factor;
}

Figure residual_figure(const image* picture, const ViewResult& view, double factor, int side) {
    double scale = 1;
    const auto ground =
        std::make_shared<const RgbPicture>(background(picture, view.camera, side, scale));
    const auto draw = [ground, scale, factor, markers = view.markers](Canvas& canvas) {
        canvas.picture(*ground, 0, 0);
        const double h = std::clamp(0.018 * ground->width, 8.0, 20.0);
        const double pen = std::max(0.14 * h, 1.4);
        const double largest = largest_residual(markers);
        const double length = factor * scale;
        for (const MarkerResult& marker : markers) {
            const Point at{(marker.dot.x + 0.5) * scale, (marker.dot.y + 0.5) * scale};
            const auto strokes = arrow(at, {length * marker.dx, length * marker.dy});
            const Canvas::Colour colour = residual_colour(marker, largest);
            canvas.stroke({{at, at}}, 3.5 * pen, colour);
            canvas.stroke(strokes, 2.2 * pen, {255, 255, 255});
            canvas.stroke(strokes, pen, colour);
            canvas.text(std::to_string(marker.marker_id), at.x + 0.6 * h, at.y - 0.6 * h,
                        {{.height = h},
                         {},
                         Canvas::Align::left,
                         Canvas::Direction::right,
                         /*halo=*/0.6 * pen});
        }
    };
    return {ground->width, ground->height, draw};
}

}  // namespace vyn
