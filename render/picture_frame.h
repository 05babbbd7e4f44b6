#pragma once

#include <algorithm>

#include "render/canvas.h"
#include "render/picture.h"
#include "render/ticks.h"

namespace vyn {

/// Where the parts of a picture lie, in its pixels: the field, and round it what the options ask
/// for. Without colour bar and title there is nothing but the field.
class PictureFrame {
  public:
    /// Size of the field in pixels, at least 1 each. Raises AlgoError when the picture would be too
    /// large.
    PictureFrame(double field_width, double field_height, const FrameOptions& options);

    /// Draws frame, colour bar and title.
    void draw(Canvas& canvas) const;

    int field_x() const { return field_x_; }
    int field_y() const { return field_y_; }
    int field_width() const { return field_width_; }
    int field_height() const { return field_height_; }
    int width() const { return width_; }
    int height() const { return height_; }
    /// Height of capitals; everything about the drawing is in proportion to it.
    double letters() const { return letters_; }

  private:
    void place_colour_bar();
    void draw_colour_bar(Canvas& canvas) const;
    RgbPicture colours() const;
    double pen() const { return std::max(0.08 * letters_, 1.0); }
    Lettering title_letters() const { return {.height = 1.2 * letters_}; }
    bool alone() const { return !options_.colour_bar && options_.title.empty(); }

    FrameOptions options_;
    int width_, height_;  ///< of the picture
    int field_x_ = 0, field_y_ = 0, field_width_, field_height_;
    int bar_x_ = 0, bar_y_ = 0, bar_width_ = 0, bar_height_ = 0;
    double letters_;
    Ticks ticks_;
};

}  // namespace vyn
