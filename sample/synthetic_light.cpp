#include "sample/synthetic_light.h"

#include <cmath>

#include "sample/synthetic_point.h"

namespace vyn {

namespace {

using Channels = SyntheticOptions::Channels;

/// The lamp's light over the laboratory; where it stands says the brightest column, as a share of
/// the picture's width.
class Lamp {
  public:
    Lamp(const SyntheticOptions& options, double column) : options_(options), column_(column) {}
    double operator()(Point place) const {
        if (options_.channels == Channels::single) return 1;
        const double u = (place.x / options_.width - column_) / 0.45;
        const double v = (place.y / options_.height - 0.45) / 0.6;
        return 0.8 + 0.3 * std::exp(-(u * u + v * v));
    }

  private:
    const SyntheticOptions& options_;
    double column_;
};

Lamp lamp_wind_off(const SyntheticOptions& options) {
    return {options, 0.4};
}
Lamp lamp_wind_on(const SyntheticOptions& options) {
    return {options, 0.62};
}

/// Light of a decay exp(-t / tau) that falls into the first of two equal gates, in units of the
/// gate's length, when the second gets `gate_ratio` of it: gate_ratio = exp(-gate / tau).
double first_gate(double gate_ratio) {
    return (1 - gate_ratio) / -std::log(gate_ratio);
}

}  // namespace

PaintResponse::PaintResponse(const paintFeatures& paint, const flowFeatures& flow, double gain)
    : law_(law_at(paint, flow.wind_on_t)),
      wind_off_ratio_(wind_off_ratio(paint, flow.wind_off_t, flow.wind_off_p).value / gain) {}

double PaintResponse::ratio(double pressure) const {
    const double discriminant = law_.b * law_.b - 4 * law_.c * (law_.a - pressure);
    return (std::sqrt(discriminant) - law_.b) / (2 * law_.c) / wind_off_ratio_;
}

double PaintResponse::pressure(double ratio) const {
    const double r = ratio * wind_off_ratio_;
    return (law_.c * r + law_.b) * r + law_.a;
}

double lamp_factor(const SyntheticOptions& options, Point place, Point place_with_wind) {
    return lamp_wind_off(options)(place) / lamp_wind_on(options)(place_with_wind);
}

SyntheticLights lights_of(const SyntheticOptions& options, const SyntheticScene& scene,
                          const PaintResponse& response) {
    const auto off = [&scene, lamp = lamp_wind_off(options)](Point place) {
        return scene.wind_off(place) * lamp(place);
    };
    const auto on = [&scene, lamp = lamp_wind_on(options)](Point place, Point on_model) {
        return scene.wind_off(on_model) * lamp(place);
    };
    const auto ratio = [&scene, &response](Point on_model) {
        return response.ratio(scene.pressure(on_model));
    };
    if (options.channels == Channels::lifetime) {
        constexpr double off_ratio = SyntheticPoint::gate_ratio;
        const auto gate_1 = [on, ratio](Point place, Point on_model) {
            return on(place, on_model) * first_gate(off_ratio / ratio(on_model)) /
                   first_gate(off_ratio);
        };
        return {{[off](Point place) { return off_ratio * off(place); },
                 [gate_1, ratio](Point place, Point on_model) {
                     return off_ratio / ratio(on_model) * gate_1(place, on_model);
                 }},
                {off, gate_1}};
    }
    SyntheticLights lights{
        {off, [on, ratio](Point place,
                          Point on_model) { return on(place, on_model) / ratio(on_model); }},
        {}};
    if (options.channels == Channels::binary)
        lights.reference = {[&scene, lamp = lamp_wind_off(options)](Point place) {
                                return scene.reference(place) * lamp(place);
                            },
                            [&scene, lamp = lamp_wind_on(options)](Point place, Point on_model) {
                                return scene.reference(on_model) * lamp(place);
                            }};
    return lights;
}

}  // namespace vyn
