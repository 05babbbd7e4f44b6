#include "sample/synthetic_light.h"

#include <cmath>
#include <optional>

#include "sample/synthetic_point.h"
#include "sample/synthetic_records.h"

namespace vyn {

namespace {

using Channels = SyntheticOptions::Channels;

constexpr std::uint64_t patch_stream = 4;

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

/// A scene under a lamp that has lost light with wind, and a grey, speckled patch on the wall.
SyntheticLight with_patch(const SyntheticOptions& options, const SyntheticLight& scene) {
    const MonitorPatch patch = monitor_patch(options);
    const auto of_patch = [patch, seed = options.seed](Point place) -> std::optional<double> {
        constexpr double counts = 20000;
        constexpr double speckle = 0.03;
        constexpr int rim = 2;  // the lens bends the patch a little
        if (place.x < patch.x - rim || place.x > patch.x + patch.width + rim ||
            place.y < patch.y - rim || place.y > patch.y + patch.height + rim)
            return std::nullopt;
        const double phase = hashed_uniform(seed, patch_stream, 0);
        return counts * (1 + speckle * std::sin(1.1 * place.x + 6 * phase) *
                                 std::cos(0.9 * place.y + 2 * phase));
    };
    const double left = 1 - options.lamp_drift;
    return {[of_patch, off = scene.wind_off](Point place) {
                const auto light = of_patch(place);
                return light ? *light : off(place);
            },
            [of_patch, left, on = scene.wind_on](Point place, Point on_model) {
                const auto light = of_patch(place);
                return left * (light ? *light : on(place, on_model));
            }};
}

/// Light of a decay exp(-t / tau) that falls into the first of two equal gates, in units of the
/// gate's length, when the second gets `gate_ratio` of it: gate_ratio = exp(-gate / tau).
double first_gate(double gate_ratio) {
    return (1 - gate_ratio) / -std::log(gate_ratio);
}

}  // namespace

PaintResponse::PaintResponse(const paintFeatures& paint, const flowFeatures& flow, double gain)
    : paint_(paint),
      law_(law_at(paint, flow.wind_on_t)),
      wind_off_ratio_(wind_off_ratio(paint, flow.wind_off_t, flow.wind_off_p).value / gain) {}

double PaintResponse::ratio(double pressure, const PaintLaw& law) const {
    const double discriminant = law.b * law.b - 4 * law.c * (law.a - pressure);
    return (std::sqrt(discriminant) - law.b) / (2 * law.c) / wind_off_ratio_;
}

double PaintResponse::pressure(double ratio) const {
    const double r = ratio * wind_off_ratio_;
    return (law_.c * r + law_.b) * r + law_.a;
}

double lamp_factor(const SyntheticOptions& options, Point place, Point place_with_wind) {
    return lamp_wind_off(options)(place) / lamp_wind_on(options)(place_with_wind);
}

double synthetic_temperature(const SyntheticOptions& options, Point on_model) {
    constexpr double model_share = 0.76;  // of the picture's width
    const double along = on_model.x / (options.width - 1) - 0.5;
    return synthetic_flow().wind_on_t + options.warmer +
           options.temperature_ramp * along / model_share;
}

MonitorPatch monitor_patch(const SyntheticOptions& options) {
    return {options.width / 100 + 1, options.height / 100 + 1, options.width / 16,
            options.height / 16};
}

SyntheticLights lights_of(const SyntheticOptions& options, const SyntheticScene& scene,
                          const PaintResponse& response) {
    const auto off = [&scene, lamp = lamp_wind_off(options)](Point place) {
        return scene.wind_off(place) * lamp(place);
    };
    const auto on = [&scene, lamp = lamp_wind_on(options)](Point place, Point on_model) {
        return scene.wind_off(on_model) * lamp(place);
    };
    const auto ratio = [&scene, &response, options](Point on_model) {
        return response.ratio(scene.pressure(on_model), synthetic_temperature(options, on_model));
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
    if (options.lamp_drift != 0) lights.signal = with_patch(options, lights.signal);
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
