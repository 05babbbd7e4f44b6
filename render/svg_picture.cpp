#include "render/svg_picture.h"

#include <algorithm>

#include "core/base64.h"
#include "core/numbers.h"
#include "core/xml_writer.h"
#include "render/canvas.h"
#include "render/picture_frame.h"

namespace vyn {

namespace {

std::string text_of(double number) {
    return format_general(number, 7);
}

std::string attribute(const char* name, double value) {
    return std::string(" ") + name + "=\"" + text_of(value) + "\"";
}

std::string rectangle(double x, double y, double width, double height, const std::string& more) {
    return "<rect" + attribute("x", x) + attribute("y", y) + attribute("width", width) +
           attribute("height", height) + " " + more + "/>\n";
}

/// `height` is that of capitals.
std::string letters(const std::string& text, double x, double y, double height,
                    const std::string& more) {
    constexpr double capitals = 0.72;  // of the size of most fonts
    return "<text" + attribute("x", x) + attribute("y", y) +
           attribute("font-size", height / capitals) + " " + more + ">" + xml_escaped(text) +
           "</text>\n";
}

/// Colour bar with ticks, as PictureFrame draws them on pixels.
std::string colour_bar(const PictureFrame& frame) {
    const FrameOptions& options = frame.options();
    const palette_array& palette = options.palette;
    const double h = frame.letters();
    const double colours = palette.last - palette.first;
    std::string svg = "<g shape-rendering=\"crispEdges\">\n";
    // One stripe for each colour; they reach below each other, so that no seam shows.
    for (int i = palette.last; i >= palette.first; --i) {
        const PaletteColour& colour = palette.entries[static_cast<std::size_t>(i)];
        const double top = frame.bar_height() * (palette.last - i) / (colours + 1);
        svg += rectangle(
            frame.bar_x(), frame.bar_y() + top, frame.bar_width(), frame.bar_height() - top,
            "fill=\"rgb(" + std::to_string(colour.red) + "," + std::to_string(colour.green) + "," +
                std::to_string(colour.blue) + ")\"");
    }
    svg += "</g>\n";
    const std::string pen =
        "fill=\"none\" stroke=\"black\" stroke-width=\"" + text_of(std::max(0.08 * h, 1.0)) + "\"";
    svg += rectangle(frame.bar_x(), frame.bar_y(), frame.bar_width(), frame.bar_height(), pen);
    const double middle = frame.bar_x() + frame.bar_width() / 2.0;
    const std::string grey = "text-anchor=\"middle\" fill=\"rgb(110,110,110)\"";
    svg += letters(format_general(options.limits.maximum, 5), middle, frame.bar_y() - 0.45 * h,
                   0.75 * h, grey);
    svg += letters(format_general(options.limits.minimum, 5), middle,
                   frame.bar_y() + frame.bar_height() + 1.15 * h, 0.75 * h, grey);
    const double right = frame.bar_x() + frame.bar_width();
    const double range = options.limits.maximum - options.limits.minimum;
    double widest = 0;
    for (std::size_t i = 0; i < frame.ticks().values.size(); ++i) {
        const double share = (frame.ticks().values[i] - options.limits.minimum) / range;
        const double y = frame.bar_y() + (1 - share) * frame.bar_height();
        svg += "<path d=\"M" + text_of(right) + " " + text_of(y) + "h" + text_of(0.5 * h) + "\" " +
               pen + "/>\n";
        svg += letters(frame.ticks().texts[i], right + 0.9 * h, y + 0.5 * h, h, "");
        widest = std::max(widest, text_width(frame.ticks().texts[i], h));
    }
    if (options.label.empty()) return svg;
    const double x = right + 0.9 * h + widest + 1.9 * h;
    const double y = frame.bar_y() + frame.bar_height() / 2.0;
    return svg + letters(options.label, x, y, h,
                         "text-anchor=\"middle\" transform=\"rotate(-90 " + text_of(x) + " " +
                             text_of(y) + ")\"");
}

}  // namespace

std::string svg_of(const RgbPicture& field, const FrameOptions& options) {
    const PictureFrame frame(field.width, field.height, options);
    const std::string width = std::to_string(frame.width());
    const std::string height = std::to_string(frame.height());
    std::string svg =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<svg xmlns=\"http://www.w3.org/2000/svg\" "
        "xmlns:xlink=\"http://www.w3.org/1999/xlink\" version=\"1.1\" width=\"" +
        width + "\" height=\"" + height + "\" viewBox=\"0 0 " + width + " " + height +
        "\" font-family=\"Helvetica, Arial, sans-serif\">\n";
    svg += rectangle(0, 0, frame.width(), frame.height(), "fill=\"white\"");
    svg += "<image" + attribute("x", frame.field_x()) + attribute("y", frame.field_y()) +
           attribute("width", field.width) + attribute("height", field.height) +
           " xlink:href=\"data:image/png;base64," + base64(png_bytes(field)) + "\"/>\n";
    if (options.colour_bar || !options.title.empty())
        svg += rectangle(frame.field_x(), frame.field_y(), field.width, field.height,
                         "fill=\"none\" stroke=\"black\" stroke-width=\"" +
                             text_of(std::max(0.08 * frame.letters(), 1.0)) + "\"");
    if (options.colour_bar) svg += colour_bar(frame);
    if (!options.title.empty())
        svg += letters(options.title, frame.width() / 2.0, 2.2 * frame.letters(),
                       1.2 * frame.letters(), "text-anchor=\"middle\"");
    return svg + "</svg>\n";
}

}  // namespace vyn
