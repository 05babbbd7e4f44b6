#include "render/picture_frame.h"

#include <algorithm>
#include <cmath>

#include "core/errors.h"
#include "core/numbers.h"
#include "render/canvas.h"

namespace vyn {

namespace {

constexpr Canvas::Colour black{};
constexpr Canvas::Colour grey{110, 110, 110};
constexpr std::uint8_t white = 255;

constexpr double largest_side = 60000;
constexpr double largest_count = 3e8;

int whole(double length) {
    return static_cast<int>(std::lround(length));
}

}  // namespace

PictureFrame::PictureFrame(double field_width, double field_height, const FrameOptions& options)
    : options_(options) {
    const double width = std::max(field_width, 1.0);
    const double height = std::max(field_height, 1.0);
    if (!(width <= largest_side && height <= largest_side && width * height <= largest_count))
        throw AlgoError("Algorithm error!", "a picture of this scale would be too large");
    field_width_ = width_ = whole(width);
    field_height_ = height_ = whole(height);
    const double h = letters_ = std::clamp(0.02 * std::sqrt(width * height), 9.0, 60.0);
    if (alone()) return;

    const int margin = whole(1.6 * h);
    field_x_ = margin;
    field_y_ = options.title.empty() ? margin : whole(3.6 * h);
    width_ = margin + field_width_ + margin;
    height_ = field_y_ + field_height_ + margin;
    if (options.colour_bar) place_colour_bar();
    if (!options.title.empty())
        width_ = std::max(width_, whole(text_width(options.title, 1.2 * h)) + 2 * margin);
}

void PictureFrame::place_colour_bar() {
    const double h = letters_;
    const int margin = whole(1.6 * h);
    // A bar needs room for a few ticks beside the smallest field too.
    bar_height_ = std::max(field_height_, whole(10 * h));
    bar_x_ = field_x_ + field_width_ + margin;
    bar_y_ = field_y_;
    bar_width_ = whole(1.8 * h);
    ticks_ = make_ticks(options_.limits.minimum, options_.limits.maximum,
                        std::clamp(whole(bar_height_ / (4.5 * h)), 3, 11));
    double texts = 0;
    for (const std::string& text : ticks_.texts)
        texts = std::max(texts, text_width(text, h));
    const double label = options_.label.empty() ? 0 : 2.4 * h;
    width_ = bar_x_ + bar_width_ + whole(1.2 * h + texts + label) + margin;
    height_ = bar_y_ + bar_height_ + margin;
    field_y_ += (bar_height_ - field_height_) / 2;
}

RgbPicture PictureFrame::paper() const {
    RgbPicture picture;
    picture.width = width_;
    picture.height = height_;
    picture.rgb.assign(3 * static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_),
                       white);
    return picture;
}

void PictureFrame::draw(RgbPicture& picture) const {
    if (alone()) return;
    Canvas canvas(picture);
    canvas.frame(field_x_, field_y_, field_width_, field_height_, std::max(0.08 * letters_, 1.0),
                 black);
    if (options_.colour_bar) draw_colour_bar(picture);
    canvas.text(options_.title, width_ / 2.0, 2.2 * letters_, 1.2 * letters_, black,
                Canvas::Align::centre);
}

void PictureFrame::draw_colour_bar(RgbPicture& picture) const {
    Canvas canvas(picture);
    const Limits& limits = options_.limits;
    const double range = limits.maximum - limits.minimum;
    const palette_array& palette = options_.palette;
    const double colours = palette.last - palette.first;
    for (int row = 0; row < bar_height_; ++row) {
        const double share = 1 - (row + 0.5) / bar_height_;
        const auto index =
            static_cast<std::size_t>(std::clamp(palette.first + share * colours, 0.0, 255.0));
        const PaletteColour& colour = palette.entries[index];
        canvas.fill(bar_x_, bar_y_ + row, bar_width_, 1, {colour.red, colour.green, colour.blue});
    }
    const double h = letters_;
    const double pen = std::max(0.08 * h, 1.0);
    canvas.frame(bar_x_, bar_y_, bar_width_, bar_height_, pen, black);

    const double middle = bar_x_ + (bar_width_ - 1) / 2.0;
    const auto end = [&](double value, double base_line) {
        canvas.text(format_general(value, 5), middle, base_line, 0.75 * h, grey,
                    Canvas::Align::centre);
    };
    end(limits.maximum, bar_y_ - 0.45 * h);
    end(limits.minimum, bar_y_ + bar_height_ + 1.15 * h);

    double texts = 0;
    const double right = bar_x_ + bar_width_ - 0.5 + pen / 2;
    for (std::size_t i = 0; i < ticks_.values.size(); ++i) {
        const double share = (ticks_.values[i] - limits.minimum) / range;
        const double y = bar_y_ - 0.5 + (1 - share) * bar_height_;
        const std::string& text = ticks_.texts[i];
        canvas.stroke({{{right, y}, {right + 0.5 * h, y}}}, pen, black);
        canvas.text(text, right + 0.9 * h, y + 0.5 * h, h, black);
        texts = std::max(texts, text_width(text, h));
    }
    canvas.text(options_.label, right + 0.9 * h + texts + 1.9 * h, bar_y_ + bar_height_ / 2.0,
                std::min(h, h * bar_height_ / std::max(text_width(options_.label, h), 1.0)), black,
                Canvas::Align::centre, Canvas::Direction::up);
}

}  // namespace vyn
