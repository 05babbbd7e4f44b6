#include "render/picture.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "api/image_parts.h"
#include "core/errors.h"
#include "render/arrow.h"
#include "render/canvas.h"
#include "render/colour_map.h"
#include "render/fashion.h"
#include "render/overlays.h"
#include "render/picture_frame.h"
#include "render/render.h"

namespace vyn {

namespace {

constexpr Canvas::Colour black{};
constexpr Canvas::Colour white{255, 255, 255};

colour_map colours_of(const PictureOptions& options) {
    return {options.limits.minimum, options.limits.maximum, options.palette};
}

/// The field alone, in strips so that the finer drawing for smooth edges stays small.
RgbPicture draw_field(const FieldSource& source, const PictureOptions& options, int width,
                      int height) {
    const colour_map colours = colours_of(options);
    const int fineness = options.scale < 1 ? 2 : 1;
    constexpr int strip = 64;
    const auto fine_width = static_cast<std::size_t>(width) * static_cast<std::size_t>(fineness);
    std::vector<std::uint32_t> pixels(fine_width * strip * static_cast<std::size_t>(fineness));
    RgbPicture out = paper(width, height);
    for (int y0 = 0; y0 < height; y0 += strip) {
        const int rows = std::min(strip, height - y0);
        ViewRectangle rectangle;
        rectangle.zoom = options.scale * fineness;
        rectangle.y = y0 / options.scale - 0.5;
        rectangle.width = width * fineness;
        rectangle.height = rows * fineness;
        render(source, colours, rectangle,
               {pixels.data(), static_cast<std::ptrdiff_t>(fine_width)});
        average_pixels({pixels.data(), static_cast<std::ptrdiff_t>(fine_width)}, fineness, width,
                       rows, y0, out);
    }
    return out;
}

ViewRectangle whole_field(const PictureOptions& options, const PictureFrame& frame) {
    return {-0.5, -0.5, options.scale, frame.field_width(), frame.field_height()};
}

/// Lines of equal value from the field's corner on, cut where their numbers stand.
IsoDrawing iso_drawing(const FieldSource& source, const PictureOptions& options,
                       const PictureFrame& frame) {
    constexpr std::size_t most_steps = 300000;  // of a picture, which is drawn once
    std::vector<IsoLine> lines =
        iso_lines(source, whole_field(options, frame), options.iso_levels, most_steps);
    for (IsoLine& line : lines)
        for (Point& place : line.places)
            place = {(place.x + 0.5) * options.scale, (place.y + 0.5) * options.scale};
    if (!options.iso_labels) return {std::move(lines), {}};
    return number_iso_lines(std::move(lines), frame.letters(), frame.field_width(),
                            frame.field_height());
}

/// On the picture, of what is valid.
std::vector<Stroke> arrows_of(const image& picture, double picture_scale) {
    std::vector<Stroke> arrows;
    if (!picture.displacement) return arrows;
    const Displacement& nodes = *picture.displacement;
    const VectorStyle style = suggested_vectors(picture);
    const double scale = picture_scale * style.scale;
    const int pitch = node_pitch(picture);
    for (int r = 0; r < nodes.u.height(); r += style.v_skip)
        for (int c = 0; c < nodes.u.width(); c += style.u_skip) {
            const int x = c * pitch;
            const int y = r * pitch;
            if (!picture.mask().contains(x, y) || picture.mask()(x, y) != 0) continue;
            const std::vector<Stroke> strokes =
                arrow({(x + 0.5) * picture_scale, (y + 0.5) * picture_scale},
                      {double(nodes.u(c, r)) * scale, double(nodes.v(c, r)) * scale});
            arrows.insert(arrows.end(), strokes.begin(), strokes.end());
        }
    return arrows;
}

void draw_vectors(const std::vector<Stroke>& arrows, double letters, Canvas& canvas) {
    const double pen = std::max(0.08 * letters, 1.0);
    canvas.stroke(arrows, 2.5 * pen, white);
    canvas.stroke(arrows, pen, black);
}

/// What is drawn of a field.
struct Drawing {
    PictureFrame frame;
    RgbPicture pixels;
    colour_map colours;
    HatchDrawing hatching;        ///< from the field's corner on
    IsoDrawing iso;               ///< likewise
    std::vector<Stroke> arrows;   ///< likewise
    std::vector<Marker> markers;  ///< pixels of the image
    double scale;

    void draw(Canvas& canvas) const {
        const double letters = frame.letters();
        canvas.picture(pixels, frame.field_x(), frame.field_y());
        const Figure on_field{
            frame.field_width(), frame.field_height(), [&](Canvas& field) {
                draw_iso_lines(iso, colours, letters, field);
                draw_hatching(hatching, field);
                draw_vectors(arrows, letters, field);
                for (const Marker& marker : markers)
                    draw_marker(marker, {(marker.x + 0.5) * scale, (marker.y + 0.5) * scale},
                                letters, field);
            }};
        canvas.place(on_field, frame.field_x(), frame.field_y(), /*scale=*/1);
        frame.draw(canvas);
    }
};

}  // namespace

void average_pixels(PixelBuffer fine, int fineness, int width, int height, int to_y,
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
            std::uint8_t* const to = out.at(x, to_y + y);
            for (int c = 0; c < 3; ++c)
                to[c] = static_cast<std::uint8_t>((sums[c] + n / 2) / n);
        }
}

Figure field_figure(const image& picture, const PictureOptions& options) {
    picture.check_planes();
    if (options.hatching.sigma) check_same_size(picture, *options.hatching.sigma);
    if (!(options.scale > 0) || !std::isfinite(options.scale))
        throw AlgoError("Algorithm error!", "the scale of a picture must be a positive number");
    const PictureFrame frame(picture.width() * options.scale, picture.height() * options.scale,
                             options);
    // The source shares the planes of the image.
    const FieldSource source{
        std::make_shared<const ImageLevels>(std::make_shared<const image>(picture))};
    const auto drawing = std::make_shared<const Drawing>(
        Drawing{frame, draw_field(source, options, frame.field_width(), frame.field_height()),
                colours_of(options),
                hatch_drawing(options.hatching, whole_field(options, frame), frame.letters()),
                iso_drawing(source, options, frame),
                options.vectors ? arrows_of(picture, options.scale) : std::vector<Stroke>(),
                options.markers ? picture.markers.markers : std::vector<Marker>(), options.scale});
    return {frame.width(), frame.height(), [drawing](Canvas& canvas) { drawing->draw(canvas); }};
}

RgbPicture draw_picture(const image& picture, const PictureOptions& options) {
    return pixels_of(field_figure(picture, options));
}

double scale_for_side(const image& picture, int side) {
    double scale = 1;
    while (std::max(picture.width(), picture.height()) * scale > std::max(side, 1))
        scale /= 2;
    return scale;
}

}  // namespace vyn
