#include "calib/recovery_temperature.h"

#include <algorithm>
#include <cmath>

#include "core/errors.h"

namespace vyn {

namespace {

constexpr double heat_capacity_ratio = 1.4;

double total_pressure(const RecoveryFlow& flow) {
    return flow.static_pressure *
           std::pow(1 + (heat_capacity_ratio - 1) / 2 * flow.mach * flow.mach,
                    heat_capacity_ratio / (heat_capacity_ratio - 1));
}

/// The temperatures of a field of pressures; the largest change of a valid pixel.
double update(const image& pressure, const RecoveryFlow& flow, image& temperature) {
    double change = 0;
    for (int y = 0; y < pressure.height(); ++y) {
        const float* p = pressure.values().row(y);
        const std::uint8_t* excluded = pressure.mask().row(y);
        float* t = temperature.values().row(y);
        std::uint8_t* mask = temperature.mask().row(y);
        for (int x = 0; x < pressure.width(); ++x) {
            mask[x] = excluded[x] != 0 || !(p[x] > 0) ? 1 : mask[x];
            if (mask[x] != 0) continue;
            const auto now = static_cast<float>(recovery_temperature(flow, p[x]));
            change = std::max(change, std::abs(double(now) - double(t[x])));
            t[x] = now;
        }
    }
    return change;
}

}  // namespace

double recovery_temperature(const RecoveryFlow& flow, double pressure) {
    const double expanded = std::min(1.0, pressure / total_pressure(flow));
    const double local =
        flow.total * std::pow(expanded, (heat_capacity_ratio - 1) / heat_capacity_ratio);
    return flow.total - (1 - flow.factor) * (flow.total - local);
}

image recovery_temperatures(const image& ratio, const RecoveryFlow& flow,
                            const PreparedConversion& pressures,
                            const PaintLawOfTemperature& kelvin, Progress& progress) {
    constexpr double settled = 1e-4;  // of 300 K a float holds a third of it
    constexpr int most_passes = 30;
    image temperature = ratio;
    const auto start = static_cast<float>(recovery_temperature(flow, flow.static_pressure));
    for (int y = 0; y < ratio.height(); ++y)
        std::fill_n(temperature.values().row(y), ratio.width(), start);
    for (int pass = 0; pass < most_passes; ++pass) {
        const image pressure =
            convert_field(ratio, {kelvin, temperature}, pressures.conversion, progress);
        if (update(pressure, flow, temperature) < settled) return temperature;
    }
    throw AlgoError("Algorithm error!",
                    "recovery temperature and pressure do not settle: the paint's law is too steep "
                    "in temperature");
}

}  // namespace vyn
