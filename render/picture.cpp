#include "render/picture.h"

#include <algorithm>
#include <cmath>

#include "core/errors.h"
#include "render/arrow.h"
#include "render/canvas.h"
#include "render/colour_map.h"
#include "render/fashion.h"
#include "render/picture_frame.h"
#include "render/render.h"

namespace vyn {

namespace {

constexpr Canvas::Colour black{};
constexpr Canvas::Colour grey{110, 110, 110};
constexpr std::uint8_t white = 255;
constexpr double farthest = 120000;

/// The field alone, in strips so that the finer drawing for smooth edges stays small.
void draw_field(const image& picture, const PictureOptions& options, const PictureFrame& frame,
                RgbPicture& out) {
    // The source shares the planes of the image.
    const FieldSource source{
        std::make_shared<const ImageLevels>(std::make_shared<const image>(picture))};
    const colour_map colours(options.limits.minimum, options.limits.maximum, options.palette);
    const int fineness = options.scale < 1 ? 2 : 1;
    constexpr int strip = 64;
    const auto fine_width =
        static_cast<std::size_t>(frame.field_width()) * static_cast<std::size_t>(fineness);
    std::vector<std::uint32_t> pixels(fine_width * strip * static_cast<std::size_t>(fineness));
    for (int y0 = 0; y0 < frame.field_height(); y0 += strip) {
        const int rows = std::min(strip, frame.field_height() - y0);
        ViewRectangle rectangle;
        rectangle.zoom = options.scale * fineness;
        rectangle.y = y0 / options.scale - 0.5;
        rectangle.width = frame.field_width() * fineness;
        rectangle.height = rows * fineness;
        render(source, colours, rectangle,
               {pixels.data(), static_cast<std::ptrdiff_t>(fine_width)});
        average_pixels({pixels.data(), static_cast<std::ptrdiff_t>(fine_width)}, fineness,
                       frame.field_width(), rows, frame.field_x(), frame.field_y() + y0, out);
    }
}

void draw_vectors(const image& picture, const PictureOptions& options, const PictureFrame& frame,
                  Canvas& canvas) {
    if (!picture.displacement) return;
    const Displacement& nodes = *picture.displacement;
    const VectorStyle style = suggested_vectors(nodes);
    std::vector<Stroke> arrows;
    for (int r = 0; r < nodes.u.height(); r += style.v_skip)
        for (int c = 0; c < nodes.u.width(); c += style.u_skip) {
            const int x = c * nodes.step;
            const int y = r * nodes.step;
            if (!picture.mask().contains(x, y) || picture.mask()(x, y) != 0) continue;
            const double scale = options.scale * style.scale;
            const std::vector<Stroke> strokes =
                arrow({frame.field_x() - 0.5 + (x + 0.5) * options.scale,
                       frame.field_y() - 0.5 + (y + 0.5) * options.scale},
                      {double(nodes.u(c, r)) * scale, double(nodes.v(c, r)) * scale});
            arrows.insert(arrows.end(), strokes.begin(), strokes.end());
        }
    const double pen = std::max(0.08 * frame.letters(), 1.0);
    canvas.stroke(arrows, 2.5 * pen, {white, white, white});
    canvas.stroke(arrows, pen, black);
}

void draw_markers(const image& picture, const PictureOptions& options, const PictureFrame& frame,
                  Canvas& canvas) {
    const double h = 0.8 * frame.letters();
    const double pen = std::max(0.16 * h, 1.2);
    for (const Marker& marker : picture.markers.markers) {
        const double x = frame.field_x() - 0.5 + (marker.x + 0.5) * options.scale;
        const double y = frame.field_y() - 0.5 + (marker.y + 0.5) * options.scale;
        // Positions that no picture has; NaN too.
        if (!(std::abs(x) < farthest && std::abs(y) < farthest)) continue;
        const Canvas::Colour colour = marker.active ? black : grey;
        const double radius = 0.8 * h;
        Stroke ring;
        for (int degrees = 0; degrees <= 360; degrees += 12) {
            const double angle = degrees * 3.14159265358979323846 / 180;
            ring.push_back({x + radius * std::cos(angle), y + radius * std::sin(angle)});
        }
        canvas.stroke({ring}, 2.5 * pen, {white, white, white});
        canvas.stroke({ring}, pen, colour);
        canvas.text(std::to_string(marker.id), x + radius, y - radius, h, colour,
                    Canvas::Align::left, Canvas::Direction::right, 0.75 * pen);
    }
}

}  // namespace

void average_pixels(PixelBuffer fine, int fineness, int width, int height, int to_x, int to_y,
                    RgbPicture& out) {
    const auto n = static_cast<std::uint32_t>(fineness * fineness);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            std::uint32_t sums[3] = {};
            for (int j = 0; j < fineness; ++j)
                for (int i = 0; i < fineness; ++i) {
                    const std::uint32_t pixel =
                        fine.pixels[(y * fineness + j) * fine.stride + x * fineness + i];
                    sums[0] += pixel >> 16 & 0xFF;
                    sums[1] += pixel >> 8 & 0xFF;
                    sums[2] += pixel & 0xFF;
                }
            std::uint8_t* const to = out.at(to_x + x, to_y + y);
            for (int c = 0; c < 3; ++c)
                to[c] = static_cast<std::uint8_t>((sums[c] + n / 2) / n);
        }
}

RgbPicture draw_picture(const image& picture, const PictureOptions& options) {
    picture.check_planes();
    if (!(options.scale > 0) || !std::isfinite(options.scale))
        throw AlgoError("Algorithm error!", "the scale of a picture must be a positive number");
    const PictureFrame frame(picture.width() * options.scale, picture.height() * options.scale,
                             options);
    RgbPicture out = frame.paper();
    draw_field(picture, options, frame, out);
    Canvas canvas(out);
    if (options.vectors) draw_vectors(picture, options, frame, canvas);
    if (options.markers) draw_markers(picture, options, frame, canvas);
    frame.draw(out);
    return out;
}

double scale_for_side(const image& picture, int side) {
    double scale = 1;
    while (std::max(picture.width(), picture.height()) * scale > std::max(side, 1))
        scale /= 2;
    return scale;
}

}  // namespace vyn
