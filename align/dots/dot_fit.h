#pragma once

#include <optional>

#include "api/image.h"
#include "api/point.h"

namespace vyn {

/// Dark dots on a bright surface or bright ones on a dark surface.
enum class DotPolarity { dark, bright };

/// A round dot on a sloping background.
struct DotFit {
    Point centre;           ///< pixels
    double radius = 0;      ///< at half its depth, pixels
    double depth = 0;       ///< how far its middle departs from the background, > 0
    double background = 0;  ///< of the surface, at the centre
    Point slope;            ///< of the background, per pixel in x and y
    double error = 0;       ///< root mean square of the fit's residuals
    double core_error = 0;  ///< the same of those pixels alone that the dot covers, rim included

    double background_at(Point p) const {
        return background + slope.x * (p.x - centre.x) + slope.y * (p.y - centre.y);
    }
};

/// Smallest and largest radius in pixels of the window of a fit.
inline constexpr double min_dot_window = 2;
inline constexpr double max_dot_window = 500;

/// Fits a dot near `start` to the valid pixels within `window` pixels of it: a soft-threshold
/// moment finds the middle, then the super-Gaussian b - a exp(-(r^2 / 2 s^2)^e) on a plane b is
/// fitted (Levenberg 1944, Marquardt 1963), which suits dots from blurred points to flat discs.
/// Nothing when there is no dot of this polarity, when it is not wholly in the window, or when too
/// few pixels are valid. The window should be about twice the dot's radius.
std::optional<DotFit> fit_dot(const image& picture, Point start, double window,
                              DotPolarity polarity);

}  // namespace vyn
