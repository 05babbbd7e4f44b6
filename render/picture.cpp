#include "render/picture.h"

#include <algorithm>
#include <cmath>

#include "core/errors.h"
#include "core/numbers.h"
#include "render/arrow.h"
#include "render/canvas.h"
#include "render/colour_map.h"
#include "render/fashion.h"
#include "render/render.h"
#include "render/ticks.h"

namespace vyn {

namespace {

constexpr Canvas::Colour black{};
constexpr Canvas::Colour grey{110, 110, 110};
constexpr std::uint8_t white = 255;

constexpr double largest_side = 60000;
constexpr double largest_count = 3e8;

/// Everything about the drawing is in proportion to its letters.
double letter_height(double width, double height) {
    return std::clamp(0.02 * std::sqrt(width * height), 9.0, 60.0);
}

/// Where the parts of a picture lie, in its pixels.
struct Layout {
    int width, height;  ///< of the picture
    int field_x, field_y, field_width, field_height;
    int bar_x, bar_y, bar_width, bar_height;
    double letters;  ///< height of capitals
    Ticks ticks;
};

int whole(double length) {
    return static_cast<int>(std::lround(length));
}

Layout make_layout(const image& picture, const PictureOptions& options) {
    if (!(options.scale > 0) || !std::isfinite(options.scale))
        throw AlgoError("Algorithm error!", "the scale of a picture must be a positive number");
    const double width = std::max(picture.width() * options.scale, 1.0);
    const double height = std::max(picture.height() * options.scale, 1.0);
    if (width > largest_side || height > largest_side || width * height > largest_count)
        throw AlgoError("Algorithm error!", "a picture of this scale would be too large");
    Layout layout{};
    layout.field_width = layout.width = whole(width);
    layout.field_height = layout.height = whole(height);
    if (!options.colour_bar && options.title.empty()) return layout;

    const double h = layout.letters = letter_height(width, height);
    const int margin = whole(1.6 * h);
    layout.field_x = margin;
    layout.field_y = options.title.empty() ? margin : whole(3.6 * h);
    layout.width = margin + layout.field_width + margin;
    layout.height = layout.field_y + layout.field_height + margin;
    if (options.colour_bar) {
        // A bar needs room for a few ticks beside the smallest field too.
        layout.bar_height = std::max(layout.field_height, whole(10 * h));
        layout.bar_x = layout.field_x + layout.field_width + margin;
        layout.bar_y = layout.field_y;
        layout.bar_width = whole(1.8 * h);
        layout.ticks = make_ticks(options.limits.minimum, options.limits.maximum,
                                  std::clamp(whole(layout.bar_height / (4.5 * h)), 3, 11));
        double texts = 0;
        for (const std::string& text : layout.ticks.texts)
            texts = std::max(texts, text_width(text, h));
        const double label = options.label.empty() ? 0 : 2.4 * h;
        layout.width = layout.bar_x + layout.bar_width + whole(1.2 * h + texts + label) + margin;
        layout.height = layout.bar_y + layout.bar_height + margin;
        layout.field_y += (layout.bar_height - layout.field_height) / 2;
    }
    if (!options.title.empty())
        layout.width =
            std::max(layout.width, whole(text_width(options.title, 1.2 * h)) + 2 * margin);
    return layout;
}

/// The field alone, in strips so that the finer drawing for smooth edges stays small.
void draw_field(const image& picture, const PictureOptions& options, const Layout& layout,
                RgbPicture& out) {
    // The source shares the planes of the image.
    const FieldSource source{
        std::make_shared<const ImageLevels>(std::make_shared<const image>(picture))};
    const colour_map colours(options.limits.minimum, options.limits.maximum, options.palette);
    const int fineness = options.scale < 1 ? 2 : 1;
    constexpr int strip = 64;
    const auto fine_width =
        static_cast<std::size_t>(layout.field_width) * static_cast<std::size_t>(fineness);
    std::vector<std::uint32_t> pixels(fine_width * strip * static_cast<std::size_t>(fineness));
    for (int y0 = 0; y0 < layout.field_height; y0 += strip) {
        const int rows = std::min(strip, layout.field_height - y0);
        ViewRectangle rectangle;
        rectangle.zoom = options.scale * fineness;
        rectangle.y = y0 / options.scale - 0.5;
        rectangle.width = layout.field_width * fineness;
        rectangle.height = rows * fineness;
        render(source, colours, rectangle,
               {pixels.data(), static_cast<std::ptrdiff_t>(fine_width)});
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < layout.field_width; ++x) {
                std::uint32_t sums[3] = {};
                for (int j = 0; j < fineness; ++j)
                    for (int i = 0; i < fineness; ++i) {
                        const std::uint32_t pixel =
                            pixels[static_cast<std::size_t>(y * fineness + j) * fine_width +
                                   static_cast<std::size_t>(x * fineness + i)];
                        sums[0] += pixel >> 16 & 0xFF;
                        sums[1] += pixel >> 8 & 0xFF;
                        sums[2] += pixel & 0xFF;
                    }
                const auto n = static_cast<std::uint32_t>(fineness * fineness);
                std::uint8_t* const to = out.at(layout.field_x + x, layout.field_y + y0 + y);
                for (int c = 0; c < 3; ++c)
                    to[c] = static_cast<std::uint8_t>((sums[c] + n / 2) / n);
            }
    }
}

void draw_colour_bar(const PictureOptions& options, const Layout& layout, Canvas& canvas) {
    const Limits& limits = options.limits;
    const double range = limits.maximum - limits.minimum;
    const palette_array& palette = options.palette;
    const double colours = palette.last - palette.first;
    for (int row = 0; row < layout.bar_height; ++row) {
        const double share = 1 - (row + 0.5) / layout.bar_height;
        const auto index =
            static_cast<std::size_t>(std::clamp(palette.first + share * colours, 0.0, 255.0));
        const PaletteColour& colour = palette.entries[index];
        canvas.fill(layout.bar_x, layout.bar_y + row, layout.bar_width, 1,
                    {colour.red, colour.green, colour.blue});
    }
    const double h = layout.letters;
    const double pen = std::max(0.08 * h, 1.0);
    canvas.frame(layout.bar_x, layout.bar_y, layout.bar_width, layout.bar_height, pen, black);

    const double middle = layout.bar_x + (layout.bar_width - 1) / 2.0;
    const auto end = [&](double value, double base_line) {
        canvas.text(format_general(value, 5), middle, base_line, 0.75 * h, grey,
                    Canvas::Align::centre);
    };
    end(limits.maximum, layout.bar_y - 0.45 * h);
    end(limits.minimum, layout.bar_y + layout.bar_height + 1.15 * h);

    double texts = 0;
    const double right = layout.bar_x + layout.bar_width - 0.5 + pen / 2;
    for (std::size_t i = 0; i < layout.ticks.values.size(); ++i) {
        const double share = (layout.ticks.values[i] - limits.minimum) / range;
        const double y = layout.bar_y - 0.5 + (1 - share) * layout.bar_height;
        const std::string& text = layout.ticks.texts[i];
        canvas.stroke({{{right, y}, {right + 0.5 * h, y}}}, pen, black);
        canvas.text(text, right + 0.9 * h, y + 0.5 * h, h, black);
        texts = std::max(texts, text_width(text, h));
    }
    canvas.text(options.label, right + 0.9 * h + texts + 1.9 * h,
                layout.bar_y + layout.bar_height / 2.0,
                std::min(h, h * layout.bar_height / std::max(text_width(options.label, h), 1.0)),
                black, Canvas::Align::centre, Canvas::Direction::up);
}

void draw_vectors(const image& picture, const PictureOptions& options, const Layout& layout,
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
                arrow({layout.field_x - 0.5 + (x + 0.5) * options.scale,
                       layout.field_y - 0.5 + (y + 0.5) * options.scale},
                      {double(nodes.u(c, r)) * scale, double(nodes.v(c, r)) * scale});
            arrows.insert(arrows.end(), strokes.begin(), strokes.end());
        }
    const double pen = std::max(0.08 * letter_height(layout.field_width, layout.field_height), 1.0);
    canvas.stroke(arrows, 2.5 * pen, {white, white, white});
    canvas.stroke(arrows, pen, black);
}

void draw_markers(const image& picture, const PictureOptions& options, const Layout& layout,
                  Canvas& canvas) {
    const double h = 0.8 * letter_height(layout.field_width, layout.field_height);
    const double pen = std::max(0.16 * h, 1.2);
    for (const Marker& marker : picture.markers.markers) {
        const double x = layout.field_x - 0.5 + (marker.x + 0.5) * options.scale;
        const double y = layout.field_y - 0.5 + (marker.y + 0.5) * options.scale;
        // Positions that no picture has; NaN too.
        if (!(std::abs(x) < 2 * largest_side && std::abs(y) < 2 * largest_side)) continue;
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

RgbPicture draw_picture(const image& picture, const PictureOptions& options) {
    picture.check_planes();
    const Layout layout = make_layout(picture, options);
    RgbPicture out;
    out.width = layout.width;
    out.height = layout.height;
    out.rgb.assign(3 * static_cast<std::size_t>(out.width) * static_cast<std::size_t>(out.height),
                   white);
    draw_field(picture, options, layout, out);

    Canvas canvas(out);
    if (options.vectors) draw_vectors(picture, options, layout, canvas);
    if (options.markers) draw_markers(picture, options, layout, canvas);
    if (layout.letters > 0)
        canvas.frame(layout.field_x, layout.field_y, layout.field_width, layout.field_height,
                     std::max(0.08 * layout.letters, 1.0), black);
    if (options.colour_bar) draw_colour_bar(options, layout, canvas);
    canvas.text(options.title, layout.width / 2.0, 2.2 * layout.letters, 1.2 * layout.letters,
                black, Canvas::Align::centre);
    return out;
}

double scale_for_side(const image& picture, int side) {
    double scale = 1;
    while (std::max(picture.width(), picture.height()) * scale > std::max(side, 1))
        scale /= 2;
    return scale;
}

}  // namespace vyn
