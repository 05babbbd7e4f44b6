#include "render/canvas.h"

#include <algorithm>
#include <cmath>

namespace vyn {

namespace {

/// Pixels that something may touch.
struct Box {
    int x0, y0, x1, y1;
};

double square_distance(Point p, Point a, Point b) {
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    const double length = dx * dx + dy * dy;
    const double along =
        length > 0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / length, 0.0, 1.0) : 0;
    const double x = a.x + along * dx - p.x;
    const double y = a.y + along * dy - p.y;
    return x * x + y * y;
}

/// How much of each pixel of a box a pen covers.
class Coverage {
  public:
    Coverage(const RgbPicture& picture, const std::vector<Stroke>& strokes, double pen)
        : reach_(pen / 2 + 0.5) {
        Point low{1e9, 1e9};
        Point high{-1e9, -1e9};
        for (const Stroke& stroke : strokes)
            for (const Point& p : stroke) {
                low = {std::min(low.x, p.x), std::min(low.y, p.y)};
                high = {std::max(high.x, p.x), std::max(high.y, p.y)};
            }
        box_ = touched(low, high, {0, 0, picture.width, picture.height});
        if (box_.x1 <= box_.x0 || box_.y1 <= box_.y0) {
            box_ = {};
            return;
        }
        shares_.resize(static_cast<std::size_t>(box_.x1 - box_.x0) *
                       static_cast<std::size_t>(box_.y1 - box_.y0));
        for (const Stroke& stroke : strokes)
            for (std::size_t i = 0; i < stroke.size(); ++i)
                add(stroke[i == 0 ? 0 : i - 1], stroke[i], pen);
    }

    const Box& box() const { return box_; }
    double share(int x, int y) const { return shares_[place(x, y)]; }

  private:
    Box touched(Point low, Point high, const Box& within) const {
        return {std::max(static_cast<int>(std::floor(low.x - reach_)), within.x0),
                std::max(static_cast<int>(std::floor(low.y - reach_)), within.y0),
                std::min(static_cast<int>(std::ceil(high.x + reach_)) + 1, within.x1),
                std::min(static_cast<int>(std::ceil(high.y + reach_)) + 1, within.y1)};
    }

    void add(Point a, Point b, double pen) {
        const Box part = touched({std::min(a.x, b.x), std::min(a.y, b.y)},
                                 {std::max(a.x, b.x), std::max(a.y, b.y)}, box_);
        for (int y = part.y0; y < part.y1; ++y)
            for (int x = part.x0; x < part.x1; ++x) {
                const Point centre{static_cast<double>(x), static_cast<double>(y)};
                const double distance = std::sqrt(square_distance(centre, a, b));
                // A pen thinner than a pixel covers as much less of it.
                const double covered = std::clamp(reach_ - distance, 0.0, 1.0) * std::min(pen, 1.0);
                float& share = shares_[place(x, y)];
                share = std::max(share, static_cast<float>(covered));
            }
    }

    std::size_t place(int x, int y) const {
        return static_cast<std::size_t>(y - box_.y0) * static_cast<std::size_t>(box_.x1 - box_.x0) +
               static_cast<std::size_t>(x - box_.x0);
    }

    double reach_;
    Box box_{};
    std::vector<float> shares_;
};

}  // namespace

void Canvas::fill(int x, int y, int width, int height, Colour colour) {
    for (int row = std::max(y, 0); row < std::min(y + height, picture_.height); ++row)
        for (int column = std::max(x, 0); column < std::min(x + width, picture_.width); ++column) {
            std::uint8_t* const to = picture_.at(column, row);
            to[0] = colour.red;
            to[1] = colour.green;
            to[2] = colour.blue;
        }
}

void Canvas::stroke(const std::vector<Stroke>& strokes, double pen, Colour colour) {
    const Coverage coverage(picture_, strokes, pen);
    const Box& box = coverage.box();
    for (int y = box.y0; y < box.y1; ++y)
        for (int x = box.x0; x < box.x1; ++x) {
            const double share = coverage.share(x, y);
            std::uint8_t* const to = picture_.at(x, y);
            const auto mix = [share](std::uint8_t& old, std::uint8_t fresh) {
                old = static_cast<std::uint8_t>(std::lround(old + share * (fresh - old)));
            };
            mix(to[0], colour.red);
            mix(to[1], colour.green);
            mix(to[2], colour.blue);
        }
}

void Canvas::frame(int x, int y, int width, int height, double pen, Colour colour) {
    const double gap = (1 + pen) / 2;
    const double left = x - gap;
    const double top = y - gap;
    const double right = x + width - 1 + gap;
    const double bottom = y + height - 1 + gap;
    const Stroke corners{{left, top}, {right, top}, {right, bottom}, {left, bottom}, {left, top}};
    // Side by side, so that the coverage's boxes stay thin.
    for (std::size_t i = 1; i < corners.size(); ++i)
        stroke({{corners[i - 1], corners[i]}}, pen, colour);
}

void Canvas::text(std::string_view text, double x, double y, double height, Colour colour,
                  Align align, Direction direction, double halo) {
    StrokeText letters = stroke_text(text);
    const double start = align == Align::left     ? 0
                         : align == Align::centre ? -letters.width / 2
                                                  : -letters.width;
    for (Stroke& stroke : letters.strokes)
        for (Point& p : stroke) {
            const double along = (p.x + start) * height;
            const double above = p.y * height;
            p = direction == Direction::right ? Point{x + along, y - above}
                                              : Point{x - above, y - along};
        }
    const double pen = std::max(stroke_text_pen * height, 1.0);
    if (halo > 0) stroke(letters.strokes, pen + 2 * halo, {255, 255, 255});
    stroke(letters.strokes, pen, colour);
}

double text_width(std::string_view text, double height) {
    return stroke_text(text).width * height;
}

}  // namespace vyn
