#pragma once

#include "align/poly_transform.h"
#include "api/correction.h"
#include "api/point.h"

namespace vyn {

/// Where the camera saw an ideal point: the exact inverse of `ideal_position`, by Newton's method
/// on the radius. For lenses whose distortion grows with the radius up to the point.
Point exact_camera_position(const Distortion& lens, Point ideal);

/// The motion of a synthetic model between wind-off and wind-on: a polynomial mapping of ideal
/// positions of order 0 to 3 in which every term of the order takes part; a few pixels of shift,
/// 1e-3 of rotation and stretch, bending of 1 to 2 px at the edges of a picture of this size.
PolyTransform synthetic_motion(int order, int width, int height);

}  // namespace vyn
