#include "api/pixel_ops.h"

#include "api/image_parts.h"

namespace vyn {

namespace {

/// Calls `operation(value, mask)` for the pixels of the image inside its region.
template <class Operation>
void for_each_inside(image& a, Operation operation) {
    check_all_planes(a);
    for (int y = 0; y < a.height(); ++y) {
        float* const value = a.values().row(y);
        std::uint8_t* const mask = a.mask().row(y);
        const std::uint8_t* const region = region_row(a, y);
        for (int x = 0; x < a.width(); ++x)
            if (!region || region[x] != 0) operation(value[x], mask[x]);
    }
}

/// The same with the second image's value for pixels valid in both; all others become excluded.
template <class Operation>
void for_each_inside(image& a, const image& b, Operation operation) {
    check_all_planes(a);
    b.check_planes();
    check_same_size(a, b);
    for (int y = 0; y < a.height(); ++y) {
        float* const value = a.values().row(y);
        std::uint8_t* const mask = a.mask().row(y);
        const float* const other = b.values().row(y);
        const std::uint8_t* const other_mask = b.mask().row(y);
        const std::uint8_t* const region = region_row(a, y);
        for (int x = 0; x < a.width(); ++x) {
            if (region && region[x] == 0) continue;
            if (mask[x] == 0 && other_mask[x] == 0)
                operation(value[x], mask[x], other[x]);
            else
                mask[x] = 1;
        }
    }
}

}  // namespace

void subtract(image& a, const image& b) {
    for_each_inside(a, b, [](float& value, std::uint8_t&, float other) { value -= other; });
}

void multiply(image& a, const image& b) {
    for_each_inside(a, b, [](float& value, std::uint8_t&, float other) { value *= other; });
}

void divide(image& a, const image& f) {
    for_each_inside(a, f, [](float& value, std::uint8_t& mask, float other) {
        if (other == 0)
            mask = 1;
        else
            value /= other;
    });
}

void exclude_below(image& a, float level) {
    for_each_inside(a, [level](float& value, std::uint8_t& mask) {
        if (mask == 0 && value < level) mask = 1;
    });
}

void clamp_above(image& a, float level) {
    for_each_inside(a, [level](float& value, std::uint8_t& mask) {
        if (mask == 0 && value > level) value = level;
    });
}

void clamp_below(image& a, float level) {
    for_each_inside(a, [level](float& value, std::uint8_t& mask) {
        if (mask == 0 && value < level) value = level;
    });
}

}  // namespace vyn
