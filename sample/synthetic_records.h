#pragma once

#include "api/field_conversion.h"
#include "api/point.h"
#include "calib/flow.h"
#include "calib/paint.h"
#include "markers/marker.h"

namespace vyn {

/// Counts between the ground's light with its dark level and the model's.
constexpr double synthetic_dark_level = 2400;

/// What all synthetic points have in common: paint and test conditions.
paintFeatures synthetic_paint();
flowFeatures synthetic_flow();

/// A pressure (pascal), or the ratio that it goes with, in a field's quantity.
double in_quantity(FieldQuantity quantity, double pressure, double ratio, const flowFeatures& flow);

Marker marker_at(Point p, std::int32_t number);

}  // namespace vyn
