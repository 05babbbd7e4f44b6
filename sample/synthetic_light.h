#pragma once

#include "calib/flow.h"
#include "calib/paint.h"
#include "calib/paint_law.h"
#include "sample/synthetic_camera.h"
#include "sample/synthetic_scene.h"

namespace vyn {

/// The paint law at wind-on conditions, in pascal, between pressure and the ratio wind-off /
/// wind-on.
class PaintResponse {
  public:
    /// `gain`: the ratio over that of the law.
    PaintResponse(const paintFeatures& paint, const flowFeatures& flow, double gain = 1);
    double ratio(double pressure) const { return ratio(pressure, law_); }
    /// At another wind-on temperature, in the paint's unit.
    double ratio(double pressure, double temperature) const {
        return ratio(pressure, law_at(paint_, temperature));
    }
    double pressure(double ratio) const;

  private:
    double ratio(double pressure, const PaintLaw& law) const;

    paintFeatures paint_;
    PaintLaw law_;
    double wind_off_ratio_;
};

/// Light in counts of the paint that answers to pressure, and of what it is compared with.
struct SyntheticLights {
    SyntheticLight signal;
    SyntheticLight reference;  ///< empty for a single channel
};

/// The wind-on temperature at a place of the model by its wind-off place, in the test's unit.
double synthetic_temperature(const SyntheticOptions& options, Point on_model);

/// A patch beside the model that shows the lamp alone, in pixels of the ideal picture.
struct MonitorPatch {
    int x, y, width, height;
};
MonitorPatch monitor_patch(const SyntheticOptions& options);

/// The lights of a point. The lamp stands still for a single channel and moves with the wind for
/// the others. Scene and response must outlive the result.
SyntheticLights lights_of(const SyntheticOptions& options, const SyntheticScene& scene,
                          const PaintResponse& response);

/// The lamp's light at a place without wind over that at `place_with_wind`: the factor by which the
/// ratio of the signal channel alone is wrong.
double lamp_factor(const SyntheticOptions& options, Point place, Point place_with_wind);

}  // namespace vyn
