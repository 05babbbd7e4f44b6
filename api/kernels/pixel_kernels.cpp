// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake. No branches: every
// pixel is computed, the mask selects. Whole vectors only: rows have room for the last one.
#include "api/kernels/pixel_kernels.h"

#include "api/kernels/prefetch.h"
#include "api/kernels/vectors.h"

namespace vyn::VYN_ISA {

namespace {

/// `lanes` pixels.
struct Pixels {
    vfloat value;
    vint mask;
};

inline Pixels load_pixels(ConstPixelRow row, int x) {
    fetch_ahead<Use::no>(row, x);
    return {load<vfloat>(row.value + x), load_bytes(row.mask + x)};
}

inline void put(const Pixels& pixels, int x, PixelRow out) {
    fetch_ahead<Use::yes>(out, x);
    store(out.value + x, pixels.value);
    store_bytes(out.mask + x, pixels.mask);
}

/// Limits for each of `lanes` pixels.
struct Limits {
    vfloat lower;
    vfloat upper;
};

/// Outside the region no limit does anything.
template <Use region_plane>
inline Limits limits_inside(const std::uint8_t* region, int x, RowLimits limits) {
    const Limits plain{everywhere(limits.lower), everywhere(limits.upper)};
    if constexpr (region_plane == Use::no) return plain;
    constexpr float infinity = __builtin_inff();
    const vint outside = load_bytes(region + x) == 0;
    return {outside ? everywhere(-infinity) : plain.lower,
            outside ? everywhere(infinity) : plain.upper};
}

template <Use dark_image, Use flat_image>
void correct_row(ConstPixelRow source, float dark_level, ConstPixelRow dark, ConstPixelRow flat,
                 int n, PixelRow out) {
    for (int x = 0; x < n; x += lanes) {
        auto [value, mask] = load_pixels(source, x);
        vint excluded = (mask != 0) | (value < dark_level);
        if constexpr (dark_image == Use::yes) {
            fetch_ahead<Use::no>(dark, x);
            excluded |= load_bytes(dark.mask + x) != 0;
            value = excluded ? value : value - load<vfloat>(dark.value + x);
            excluded |= value < 0;
        }
        if constexpr (flat_image == Use::yes) {
            fetch_ahead<Use::no>(flat, x);
            const vfloat divisor = load<vfloat>(flat.value + x);
            excluded |= (load_bytes(flat.mask + x) != 0) | (divisor == 0);
            value = excluded ? value : value / divisor;
        }
        if constexpr (dark_image == Use::yes || flat_image == Use::yes)
            put({value, excluded & 1}, x, out);
        else
            put({value, mask != 0 ? mask : excluded & 1}, x, out);
    }
}

void correct(ConstPixelRow source, float dark_level, ConstPixelRow dark, ConstPixelRow flat, int n,
             PixelRow out) {
    if (dark.value && flat.value)
        correct_row<Use::yes, Use::yes>(source, dark_level, dark, flat, n, out);
    else if (dark.value)
        correct_row<Use::yes, Use::no>(source, dark_level, dark, flat, n, out);
    else if (flat.value)
        correct_row<Use::no, Use::yes>(source, dark_level, dark, flat, n, out);
    else
        correct_row<Use::no, Use::no>(source, dark_level, dark, flat, n, out);
}

template <Use region_plane>
inline Pixels ratio_of(const Pixels& wind_off, const Pixels& wind_on, const std::uint8_t* region,
                       int x, RowLimits limits) {
    const vint excluded = (wind_off.mask != 0) | (wind_on.mask != 0) | (wind_on.value == 0);
    vfloat ratio = wind_off.value / wind_on.value;
    ratio = ratio > limits.upper ? everywhere(limits.upper) : ratio;
    ratio = ratio < limits.lower ? everywhere(limits.lower) : ratio;
    ratio = excluded ? wind_off.value : ratio;
    const vint mask = excluded & 1;
    if constexpr (region_plane == Use::no) return {ratio, mask};
    const vint outside = load_bytes(region + x) == 0;
    return {outside ? wind_off.value : ratio, outside ? wind_off.mask : mask};
}

template <FieldRowLaw::Output output>
inline vfloat_half in_quantity(const vdouble& p, const FieldRowLaw& law) {
    if constexpr (output == FieldRowLaw::Output::scaled)
        return __builtin_convertvector(p * law.unit_factor, vfloat_half);
    else if constexpr (output == FieldRowLaw::Output::over_static)
        return __builtin_convertvector(p / law.static_pressure, vfloat_half);
    else
        return __builtin_convertvector((p - law.static_pressure) / law.dynamic_pressure,
                                       vfloat_half);
}

template <FieldRowLaw::Output output>
inline vfloat_half converted_half(const vfloat_half& ratio, const FieldRowLaw& law) {
    const vdouble r = widened(ratio) * law.wind_off_ratio;
    return in_quantity<output>((law.c * r + law.b) * r + law.a, law);
}

template <FieldRowLaw::Output output>
inline vfloat_half converted_half(const vfloat_half& ratio, const vfloat_half& temperature,
                                  const FieldRowLaw& law, const FieldTemperatureLaw& by) {
    const vdouble r = widened(ratio) * law.wind_off_ratio;
    const vdouble t = widened(temperature) * by.factor + by.offset;
    const vdouble a = (by.gamma[0][2] * t + by.gamma[0][1]) * t + by.gamma[0][0];
    const vdouble b = (by.gamma[1][2] * t + by.gamma[1][1]) * t + by.gamma[1][0];
    const vdouble c = (by.gamma[2][2] * t + by.gamma[2][1]) * t + by.gamma[2][0];
    return in_quantity<output>((c * r + b) * r + a, law);
}

/// The values of `lanes` pixels: to load them in halves is cheaper than to divide a vector.
struct Halves {
    vfloat_half low;
    vfloat_half high;
};

inline Pixels limited_field(const Pixels& ratio, const vfloat& field, const vint& lost,
                            const Limits& limits) {
    const vint below = field < limits.lower;
    vfloat limited = field > limits.upper ? limits.upper : field;
    limited = below ? field : limited;
    return {lost ? ratio.value : limited, ratio.mask != 0 ? ratio.mask : (lost | below) & 1};
}

template <FieldRowLaw::Output output>
inline Pixels field_of(const Pixels& ratio, const Halves& halves, const FieldRowLaw& law,
                       const Limits& limits) {
    vfloat field = ratio.value;
    vint lost = ratio.mask != 0;
    if constexpr (output != FieldRowLaw::Output::ratio) {
        field = joined<vfloat>(converted_half<output>(halves.low, law),
                               converted_half<output>(halves.high, law));
        lost |= field * 0 != 0;  // NaN unless finite
    }
    return limited_field(ratio, field, lost, limits);
}

/// Calls `run` with the use of a region plane as a constant.
template <class Run>
inline void with_region(const std::uint8_t* region, Run run) {
    if (region)
        run.template operator()<Use::yes>();
    else
        run.template operator()<Use::no>();
}

template <class Run>
inline void with_output(FieldRowLaw::Output output, Run run) {
    using Output = FieldRowLaw::Output;
    switch (output) {
        case Output::scaled:
            return run.template operator()<Output::scaled>();
        case Output::over_static:
            return run.template operator()<Output::over_static>();
        case Output::cp:
            return run.template operator()<Output::cp>();
        case Output::ratio:
            return run.template operator()<Output::ratio>();
    }
}

void ratio_row(ConstPixelRow wind_off, ConstPixelRow wind_on, const std::uint8_t* region,
               RowLimits limits, int n, PixelRow out) {
    with_region(region, [&]<Use region_plane>() {
        for (int x = 0; x < n; x += lanes)
            put(ratio_of<region_plane>(load_pixels(wind_off, x), load_pixels(wind_on, x), region, x,
                                       limits),
                x, out);
    });
}

void field_row(ConstPixelRow ratio, const std::uint8_t* region, const FieldRowLaw& row_law,
               RowLimits limits, int n, PixelRow out) {
    const FieldRowLaw law = row_law;
    with_output(law.output, [&]<FieldRowLaw::Output output>() {
        with_region(region, [&]<Use region_plane>() {
            for (int x = 0; x < n; x += lanes)
                put(field_of<output>(load_pixels(ratio, x),
                                     {load<vfloat_half>(ratio.value + x),
                                      load<vfloat_half>(ratio.value + x + half_lanes)},
                                     law, limits_inside<region_plane>(region, x, limits)),
                    x, out);
        });
    });
}

void field_at_row(ConstPixelRow ratio, ConstPixelRow temperature, const std::uint8_t* region,
                  const FieldRowLaw& row_law, const FieldTemperatureLaw& of_temperature,
                  RowLimits limits, int n, PixelRow out) {
    const FieldRowLaw law = row_law;
    const FieldTemperatureLaw by = of_temperature;
    with_output(law.output, [&]<FieldRowLaw::Output output>() {
        if constexpr (output != FieldRowLaw::Output::ratio)
            with_region(region, [&]<Use region_plane>() {
                const auto half = [&](int x) {
                    return converted_half<output>(load<vfloat_half>(ratio.value + x),
                                                  load<vfloat_half>(temperature.value + x), law,
                                                  by);
                };
                for (int x = 0; x < n; x += lanes) {
                    const Pixels pixels = load_pixels(ratio, x);
                    const vfloat field = joined<vfloat>(half(x), half(x + half_lanes));
                    const vint lost = (pixels.mask != 0) | (field * 0 != 0) |
                                      (load_bytes(temperature.mask + x) != 0);
                    put(limited_field(pixels, field, lost,
                                      limits_inside<region_plane>(region, x, limits)),
                        x, out);
                }
            });
    });
}

}  // namespace

extern const PixelKernels pixel_kernels;
const PixelKernels pixel_kernels = {correct, ratio_row, field_row, field_at_row};

}  // namespace vyn::VYN_ISA
