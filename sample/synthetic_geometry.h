#pragma once

#include "align/image_map.h"

namespace vyn {

/// The motion of a synthetic model between wind-off and wind-on: a polynomial mapping of ideal
/// positions of order 0 to 3 in which every term of the order takes part; a few pixels of shift,
/// 1e-3 of rotation and stretch, bending of 1 to 2 px at the edges of a picture of this size. The
/// points of a run differ in the shift.
PolyTransform synthetic_motion(int order, int width, int height, int point = 0);

/// How the model bends besides: waves of up to `most` pixels, half of the picture long, which no
/// polynomial of these orders follows.
DisplacementField synthetic_bending(double most, int width, int height);

/// The whole motion, wind-off position to wind-on position.
ImageMap synthetic_motion(int order, double bending, int width, int height, int point = 0);

}  // namespace vyn
