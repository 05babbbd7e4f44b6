#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "render/picture.h"
#include "render/stroke_font.h"

namespace vyn {

/// Smooth-edged drawing on the pixels of a picture. Positions in pixels, whose centres lie at whole
/// coordinates, y downwards; what lies outside is cut off.
class Canvas {
  public:
    struct Colour {
        std::uint8_t red = 0;
        std::uint8_t green = 0;
        std::uint8_t blue = 0;
    };
    /// Which way a text runs.
    enum class Direction { right, up };
    /// Where its given position lies along it.
    enum class Align { left, centre, right };

    explicit Canvas(RgbPicture& picture) : picture_(picture) {}

    void fill(int x, int y, int width, int height, Colour colour);
    /// Round pen of this width; parts of one call that lie over each other do not add up.
    void stroke(const std::vector<Stroke>& strokes, double pen, Colour colour);
    /// Around a rectangle of pixels, just outside it.
    void frame(int x, int y, int width, int height, double pen, Colour colour);
    /// A text of this height of capitals on the base line through (x, y).
    void text(std::string_view text, double x, double y, double height, Colour colour,
              Align align = Align::left, Direction direction = Direction::right, double halo = 0);

  private:
    RgbPicture& picture_;
};

/// The width in pixels of a text of this height of capitals.
double text_width(std::string_view text, double height);

}  // namespace vyn
