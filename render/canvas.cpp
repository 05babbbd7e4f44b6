#include "render/canvas.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include <pango/pangocairo.h>

#include "core/errors.h"

namespace vyn {

namespace {

/// Cairo counts in 24.8 bits; beyond this there is no picture anyway.
constexpr double farthest = 1e6;

bool is_drawable(Point p) {
    return std::abs(p.x) < farthest && std::abs(p.y) < farthest;  // false for NaN
}

void choose(cairo_t* context, Canvas::Colour colour) {
    cairo_set_source_rgb(context, colour.red / 255.0, colour.green / 255.0, colour.blue / 255.0);
}

/// What is changed while one lives is as it was before afterwards.
class Saved {
  public:
    explicit Saved(cairo_t* context) : context_(context) { cairo_save(context); }
    ~Saved() { cairo_restore(context_); }
    Saved(const Saved&) = delete;
    Saved& operator=(const Saved&) = delete;

  private:
    cairo_t* context_;
};

struct SurfaceRelease {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using Surface = std::unique_ptr<cairo_surface_t, SurfaceRelease>;

/// Cairo's 32-bit pixels.
Surface surface_of(const RgbPicture& pixels) {
    Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, pixels.width, pixels.height));
    unsigned char* const data = cairo_image_surface_get_data(surface.get());
    if (!data) return surface;
    const int stride = cairo_image_surface_get_stride(surface.get());
    for (int y = 0; y < pixels.height; ++y) {
        auto* const to = reinterpret_cast<std::uint32_t*>(data + std::ptrdiff_t{y} * stride);
        const std::uint8_t* from = pixels.at(0, y);
        for (int x = 0; x < pixels.width; ++x, from += 3)
            to[x] = std::uint32_t{from[0]} << 16 | std::uint32_t{from[1]} << 8 | from[2];
    }
    cairo_surface_mark_dirty(surface.get());
    return surface;
}

class PixelCanvas final : public Canvas {
  public:
    PixelCanvas(int width, int height)
        : Canvas(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height), Texts::shapes,
                 /*scale=*/1) {
        choose(context(), {255, 255, 255});
        cairo_paint(context());
    }

    RgbPicture pixels() const {
        check();
        cairo_surface_t* const surface = cairo_get_target(context());
        cairo_surface_flush(surface);
        RgbPicture out =
            paper(cairo_image_surface_get_width(surface), cairo_image_surface_get_height(surface));
        const unsigned char* const data = cairo_image_surface_get_data(surface);
        const int stride = cairo_image_surface_get_stride(surface);
        for (int y = 0; y < out.height; ++y) {
            const auto* const from =
                reinterpret_cast<const std::uint32_t*>(data + std::ptrdiff_t{y} * stride);
            std::uint8_t* to = out.at(0, y);
            for (int x = 0; x < out.width; ++x, to += 3) {
                to[0] = static_cast<std::uint8_t>(from[x] >> 16 & 0xFF);
                to[1] = static_cast<std::uint8_t>(from[x] >> 8 & 0xFF);
                to[2] = static_cast<std::uint8_t>(from[x] & 0xFF);
            }
        }
        return out;
    }
};

}  // namespace

void Canvas::Release::operator()(_cairo* context) const {
    cairo_destroy(context);
}

Canvas::Canvas(_cairo_surface* surface, Texts texts, double scale)
    : context_(cairo_create(surface)), texts_(texts) {
    cairo_surface_destroy(surface);  // the context keeps it
    cairo_scale(context(), scale, scale);
    cairo_set_antialias(context(), CAIRO_ANTIALIAS_GRAY);
    cairo_set_line_cap(context(), CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(context(), CAIRO_LINE_JOIN_ROUND);
}

Canvas::~Canvas() = default;

void Canvas::check() const {
    if (const cairo_status_t status = cairo_status(context()); status != CAIRO_STATUS_SUCCESS)
        throw AlgoError("Algorithm error!", std::string("the picture cannot be drawn: ") +
                                                cairo_status_to_string(status));
}

void Canvas::fill(double x, double y, double width, double height, Colour colour) {
    choose(context(), colour);
    cairo_rectangle(context(), x, y, width, height);
    cairo_fill(context());
}

void Canvas::stroke(const std::vector<Stroke>& strokes, double pen, Colour colour) {
    choose(context(), colour);
    cairo_set_line_width(context(), pen);
    for (const Stroke& stroke : strokes) {
        if (stroke.empty() || !std::ranges::all_of(stroke, is_drawable)) continue;
        cairo_move_to(context(), stroke.front().x, stroke.front().y);
        for (const Point& p : stroke)
            cairo_line_to(context(), p.x, p.y);
    }
    cairo_stroke(context());
}

void Canvas::frame(double x, double y, double width, double height, double pen, Colour colour) {
    choose(context(), colour);
    cairo_set_line_width(context(), pen);
    cairo_rectangle(context(), x - pen / 2, y - pen / 2, width + pen, height + pen);
    cairo_stroke(context());
}

void Canvas::text(std::string_view text, double x, double y, const TextStyle& style) {
    if (text.empty() || !(style.height > 0) || !is_drawable({x, y})) return;
    const Saved saved(context());
    const TextLayout layout = text_layout(text, style);
    PangoLayoutLine* const line = pango_layout_get_line_readonly(layout.get(), 0);
    PangoRectangle extents;
    pango_layout_line_get_extents(line, nullptr, &extents);
    const double width = static_cast<double>(extents.width) / PANGO_SCALE;
    cairo_translate(context(), x, y);
    if (style.direction == Direction::up) cairo_rotate(context(), -std::numbers::pi / 2);
    cairo_translate(context(),
                    style.align == Align::left     ? 0
                    : style.align == Align::centre ? -width / 2
                                                   : -width,
                    0);
    const auto outline = [&] {
        cairo_move_to(context(), 0, 0);
        pango_cairo_layout_line_path(context(), line);
    };
    if (style.halo > 0) {
        choose(context(), {255, 255, 255});
        cairo_set_line_width(context(), 2 * style.halo);
        outline();
        cairo_stroke(context());
    }
    choose(context(), style.colour);
    if (texts_ == Texts::shapes) {
        // Glyphs would be put on whole pixels.
        outline();
        cairo_fill(context());
    } else {
        cairo_move_to(context(), 0, 0);
        pango_cairo_show_layout_line(context(), line);
    }
    cairo_new_path(context());
}

void Canvas::picture(const RgbPicture& pixels, double x, double y) {
    const Saved saved(context());
    const Surface surface = surface_of(pixels);
    cairo_set_source_surface(context(), surface.get(), x, y);
    cairo_pattern_set_filter(cairo_get_source(context()), CAIRO_FILTER_NEAREST);
    cairo_paint(context());
}

void Canvas::place(const Figure& figure, double x, double y, double scale) {
    if (!figure.draw) return;
    const Saved saved(context());
    cairo_translate(context(), x, y);
    cairo_scale(context(), scale, scale);
    figure.draw(*this);
}

RgbPicture pixels_of(const Figure& figure) {
    PixelCanvas canvas(figure.width, figure.height);
    if (figure.draw) figure.draw(canvas);
    return canvas.pixels();
}

}  // namespace vyn
