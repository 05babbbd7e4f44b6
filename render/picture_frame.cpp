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

constexpr double largest_side = 32000;  // of what is drawn on
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
        width_ = std::max(width_, whole(text_width(options.title, title_letters())) + 2 * margin);
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
        texts = std::max(texts, text_width(text, {.height = h}));
    const double label = options_.label.empty() ? 0 : 2.4 * h;
    width_ = bar_x_ + bar_width_ + whole(1.2 * h + texts + label) + margin;
    height_ = bar_y_ + bar_height_ + margin;
    field_y_ += (bar_height_ - field_height_) / 2;
}

void PictureFrame::draw(Canvas& canvas) const {
    if (alone()) return;
    canvas.frame(field_x_, field_y_, field_width_, field_height_, pen(), black);
    if (options_.colour_bar) draw_colour_bar(canvas);
    canvas.text(options_.title, width_ / 2.0, 2.2 * letters_,
                {title_letters(), black, Canvas::Align::centre});
}

RgbPicture PictureFrame::colours() const {
    RgbPicture bar = paper(bar_width_, bar_height_);
    const palette_array& palette = options_.palette;
    const double range = palette.last - palette.first;
    for (int row = 0; row < bar_height_; ++row) {
        const double share = 1 - (row + 0.5) / bar_height_;
        const auto index =
            static_cast<std::size_t>(std::clamp(palette.first + share * range, 0.0, 255.0));
        const PaletteColour& colour = palette.entries[index];
        for (int x = 0; x < bar_width_; ++x) {
            std::uint8_t* const to = bar.at(x, row);
            to[0] = colour.red;
            to[1] = colour.green;
            to[2] = colour.blue;
        }
    }
    return bar;
}

void PictureFrame::draw_colour_bar(Canvas& canvas) const {
    const Limits& limits = options_.limits;
    const double range = limits.maximum - limits.minimum;
    const double h = letters_;
    canvas.picture(colours(), bar_x_, bar_y_);
    canvas.frame(bar_x_, bar_y_, bar_width_, bar_height_, pen(), black);

    const double middle = bar_x_ + bar_width_ / 2.0;
    const auto end = [&](double value, double base_line) {
        canvas.text(format_general(value, 5), middle, base_line,
                    {{.height = 0.75 * h}, grey, Canvas::Align::centre});
    };
    end(limits.maximum, bar_y_ - 0.45 * h);
    end(limits.minimum, bar_y_ + bar_height_ + 1.15 * h);

    double texts = 0;
    const double right = bar_x_ + bar_width_ + pen() / 2;
    for (std::size_t i = 0; i < ticks_.values.size(); ++i) {
        const double share = (ticks_.values[i] - limits.minimum) / range;
        const double y = bar_y_ + (1 - share) * bar_height_;
        const std::string& text = ticks_.texts[i];
        canvas.stroke({{{right, y}, {right + 0.5 * h, y}}}, pen(), black);
        canvas.text(text, right + 0.9 * h, y + 0.5 * h, {{.height = h}, black});
        texts = std::max(texts, text_width(text, {.height = h}));
    }
    const double length = std::max(text_width(options_.label, {.height = h}), 1.0);
    canvas.text(options_.label, right + 0.9 * h + texts + 1.9 * h, bar_y_ + bar_height_ / 2.0,
                {{.height = std::min(h, h * bar_height_ / length)},
                 black,
                 Canvas::Align::centre,
                 Canvas::Direction::up});
}

}  // namespace vyn
