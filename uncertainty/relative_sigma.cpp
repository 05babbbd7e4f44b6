#include "uncertainty/relative_sigma.h"

#include <cmath>

#include "api/image_parts.h"
#include "core/errors.h"

namespace vyn {

std::string field_of_sigma(std::string_view name) {
    const std::size_t end = name.rfind("_sigma");
    return end == std::string_view::npos ? std::string() : std::string(name.substr(0, end));
}

std::string objection_to_per_cent(const image& sigma, const image* field) {
    if (!sigma.quantity.deviation) return "the image is no standard deviation";
    if (sigma.quantity.kind == Quantity::Kind::temperature)
        return "per cent of a temperature say nothing";
    if (!field) return "the field that the standard deviation belongs to is not there";
    if (field->quantity != Quantity{sigma.quantity.kind} || field->unit != sigma.unit)
        return "the field is not of the quantity and unit of its standard deviation";
    if (!field->values().same_size(sigma.values()))
        return "the field is not of the size of its standard deviation";
    return {};
}

image per_cent_of_field(const image& sigma, const image& field) {
    if (const std::string objection = objection_to_per_cent(sigma, &field); !objection.empty())
        throw AlgoError("Algorithm error!", "no per cent of the field: " + objection);
    sigma.check_planes();
    field.check_planes();
    Bitmap<float> values(sigma.width(), sigma.height());
    Bitmap<std::uint8_t> mask(sigma.width(), sigma.height());
    for (int y = 0; y < sigma.height(); ++y) {
        const float* const deviation = sigma.values().row(y);
        const float* const value = field.values().row(y);
        for (int x = 0; x < sigma.width(); ++x) {
            const float per_cent = 100 * deviation[x] / std::abs(value[x]);
            const bool valid = sigma.mask()(x, y) == 0 && field.mask()(x, y) == 0 &&
                               std::isfinite(per_cent) && std::isfinite(value[x]);
            values(x, y) = valid ? per_cent : 0;
            mask(x, y) = valid ? 0 : 1;
        }
    }
    image result = with_planes(sigma, std::move(values), std::move(mask));
    result.share_region(sigma);
    result.origin = sigma.origin;
    result.unit = "%";
    result.displacement.reset();
    return result;
}

}  // namespace vyn
