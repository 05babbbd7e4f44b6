#include "calib/paint_curves.h"

#include "calib/law_inverse.h"
#include "calib/paint_law.h"

namespace vyn {

namespace {

constexpr int steps = 100;
constexpr double degrees_aside = 10;

std::array<double, 3> temperatures_of(const paintFeatures& paint) {
    const double low = paint.minimal_temperature;
    const double high = paint.maximal_temperature;
    const double normal = paint.normalizing_temperature;
    if (!(low < high)) return {normal - degrees_aside, normal, normal + degrees_aside};
    return {low, normal > low && normal < high ? normal : (low + high) / 2, high};
}

struct Span {
    double low = 0;
    double high = 2;
};

Span ratios_of(const paintFeatures& paint, const PaintLaw& law) {
    if (!(paint.minimal_pressure < paint.maximal_pressure)) return {};
    const auto low = ratio_of(law, paint.minimal_pressure);
    const auto high = ratio_of(law, paint.maximal_pressure);
    return low && high && *low < *high ? Span{*low, *high} : Span{};
}

}  // namespace

std::array<PaintCurve, 3> paint_curves(const paintFeatures& paint) {
    const paintFeatures in_law =
        prepare_conversion(FieldQuantity::ratio, paint, flowFeatures{}).paint;
    const std::array<double, 3> temperatures = temperatures_of(in_law);
    const Span span = ratios_of(in_law, law_at(in_law, temperatures[1]));
    std::array<PaintCurve, 3> curves;
    for (std::size_t i = 0; i < curves.size(); ++i) {
        PaintCurve& curve = curves[i];
        curve.temperature = temperatures[i];
        const PaintLaw law = law_at(in_law, curve.temperature);
        for (int step = 0; step <= steps; ++step) {
            const double ratio = span.low + (span.high - span.low) * step / steps;
            curve.ratios.push_back(ratio);
            curve.pressures.push_back(pressure_of(law, ratio));
        }
    }
    return curves;
}

}  // namespace vyn
