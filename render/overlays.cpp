#include "render/overlays.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <utility>

namespace vyn {

namespace {

constexpr Canvas::Colour black{};
constexpr Canvas::Colour grey{110, 110, 110};
constexpr Canvas::Colour white{255, 255, 255};
constexpr double overlay_letters = 0.8;  ///< of a picture's other letters

}  // namespace

IsoDrawing number_iso_lines(std::vector<IsoLine> lines, double letters, double width,
                            double height) {
    const Lettering lettering{.height = overlay_letters * letters};
    return label_iso_lines(
        std::move(lines),
        {lettering.height,
         [lettering](const std::string& text) { return text_width(text, lettering); }},
        width, height);
}

void draw_iso_lines(const IsoDrawing& iso, const colour_map& colours, double letters,
                    Canvas& canvas) {
    const auto ink = [&colours](double level) {
        return iso_ink(colours, level) == 0xFFFFFFFFU ? white : black;
    };
    for (const IsoLine& line : iso.lines)
        canvas.stroke({line.places}, std::max(0.08 * letters, 1.0), ink(line.level));
    const double h = overlay_letters * letters;
    for (const IsoLabel& label : iso.labels)
        canvas.text(label.text, label.middle.x, label.middle.y + h / 2,
                    {{.height = h}, ink(label.level), Canvas::Align::centre});
}

void draw_marker(const Marker& marker, Point place, double letters, Canvas& canvas) {
    const double h = overlay_letters * letters;
    const double pen = std::max(0.16 * h, 1.2);
    const double radius = 0.8 * h;
    Stroke ring;
    for (int degrees = 0; degrees <= 360; degrees += 12) {
        const double angle = degrees * std::numbers::pi / 180;
        ring.push_back({place.x + radius * std::cos(angle), place.y + radius * std::sin(angle)});
    }
    const Canvas::Colour colour = marker.active ? black : grey;
    canvas.stroke({ring}, 2.5 * pen, white);
    canvas.stroke({ring}, pen, colour);
    canvas.text(std::to_string(marker.id), place.x + radius, place.y - radius,
                {{.height = h},
                 colour,
                 Canvas::Align::left,
                 Canvas::Direction::right,
                 /*halo=*/0.75 * pen});
}

}  // namespace vyn
