#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "api/point.h"
#include "render/figure.h"
#include "render/lettering.h"

// Names of the library.
struct _cairo;          // NOLINT(bugprone-reserved-identifier)
struct _cairo_surface;  // NOLINT(bugprone-reserved-identifier)

namespace vyn {

/// A line through points.
using Stroke = std::vector<Point>;

/// A surface to draw on: pixels, or a drawing of lines and letters. Positions in pixels, x to the
/// right and y downwards from the upper left corner of the first pixel, whose centre is (0.5, 0.5).
/// What lies outside is cut off.
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
    struct TextStyle : Lettering {
        Colour colour{};
        Align align = Align::left;
        Direction direction = Direction::right;
        double halo = 0;  ///< width of the white edge round the letters
    };

    virtual ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    void fill(double x, double y, double width, double height, Colour colour);
    /// Round pen of this width; parts of one call that lie over each other do not add up. A stroke
    /// of one place twice is a dot; strokes with places that no picture has are left out.
    void stroke(const std::vector<Stroke>& strokes, double pen, Colour colour);
    /// Just outside a rectangle.
    void frame(double x, double y, double width, double height, double pen, Colour colour);
    /// One line on the base line through (x, y).
    void text(std::string_view text, double x, double y, const TextStyle& style);
    /// Pixels as they are, their upper left corner in (x, y).
    void picture(const RgbPicture& pixels, double x, double y);
    /// A figure `scale` times as large, its upper left corner in (x, y).
    void place(const Figure& figure, double x, double y, double scale);

  protected:
    /// How texts come on the surface: drawn as shapes, or kept as characters of a font.
    enum class Texts { shapes, characters };
    /// Takes the surface. One canvas pixel is `scale` units of it.
    Canvas(_cairo_surface* surface, Texts texts, double scale);

    _cairo* context() const { return context_.get(); }
    /// Raises AlgoError when something could not be drawn.
    void check() const;

  private:
    struct Release {
        void operator()(_cairo* context) const;
    };
    std::unique_ptr<_cairo, Release> context_;
    Texts texts_;
};

}  // namespace vyn
