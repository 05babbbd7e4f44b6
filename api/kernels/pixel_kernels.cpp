// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake. No branches: every
// pixel is computed, the mask selects. Whole vectors only: rows have room for the last one.
#include "api/kernels/pixel_kernels.h"

#include "api/kernels/vectors.h"

namespace vyn::VYN_ISA {

namespace {

enum class Use { no, yes };

template <Use dark_image, Use flat_image>
void correct_row(ConstPixelRow source, float dark_level, ConstPixelRow dark, ConstPixelRow flat,
                 int n, PixelRow out) {
    for (int x = 0; x < n; x += lanes) {
        vfloat value = load<vfloat>(source.value + x);
        const vint mask = load_bytes(source.mask + x);
        vint excluded = (mask != 0) | (value < dark_level);
        if constexpr (dark_image == Use::yes) {
            excluded |= load_bytes(dark.mask + x) != 0;
            value = excluded ? value : value - load<vfloat>(dark.value + x);
            excluded |= value < 0;
        }
        if constexpr (flat_image == Use::yes) {
            const vfloat divisor = load<vfloat>(flat.value + x);
            excluded |= (load_bytes(flat.mask + x) != 0) | (divisor == 0);
            value = excluded ? value : value / divisor;
        }
        store(out.value + x, value);
        if constexpr (dark_image == Use::yes || flat_image == Use::yes)
            store_bytes(out.mask + x, excluded & 1);
        else
            store_bytes(out.mask + x, mask != 0 ? mask : excluded & 1);
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
void ratio_row(ConstPixelRow wind_off, ConstPixelRow wind_on, const std::uint8_t* region,
               RowLimits limits, int n, PixelRow out) {
    for (int x = 0; x < n; x += lanes) {
        const vfloat value = load<vfloat>(wind_off.value + x);
        const vfloat divisor = load<vfloat>(wind_on.value + x);
        const vint mask = load_bytes(wind_off.mask + x);
        const vint excluded = (mask != 0) | (load_bytes(wind_on.mask + x) != 0) | (divisor == 0);
        vfloat ratio = value / divisor;
        ratio = ratio > limits.upper ? vfloat{} + limits.upper : ratio;
        ratio = ratio < limits.lower ? vfloat{} + limits.lower : ratio;
        if constexpr (region_plane == Use::yes) {
            const vint outside = load_bytes(region + x) == 0;
            store(out.value + x, excluded | outside ? value : ratio);
            store_bytes(out.mask + x, outside ? mask : excluded & 1);
        } else {
            store(out.value + x, excluded ? value : ratio);
            store_bytes(out.mask + x, excluded & 1);
        }
    }
}

void ratio_of(ConstPixelRow wind_off, ConstPixelRow wind_on, const std::uint8_t* region,
              RowLimits limits, int n, PixelRow out) {
    if (region)
        ratio_row<Use::yes>(wind_off, wind_on, region, limits, n, out);
    else
        ratio_row<Use::no>(wind_off, wind_on, region, limits, n, out);
}

template <FieldRowLaw::Output output>
inline vfloat_half converted_half(const float* ratio, const FieldRowLaw& law) {
    const vdouble r =
        __builtin_convertvector(load<vfloat_half>(ratio), vdouble) * law.wind_off_ratio;
    const vdouble p = (law.c * r + law.b) * r + law.a;
    if constexpr (output == FieldRowLaw::Output::scaled)
        return __builtin_convertvector(p * law.unit_factor, vfloat_half);
    else if constexpr (output == FieldRowLaw::Output::over_static)
        return __builtin_convertvector(p / law.static_pressure, vfloat_half);
    else
        return __builtin_convertvector((p - law.static_pressure) / law.dynamic_pressure,
                                       vfloat_half);
}

template <FieldRowLaw::Output output>
inline vfloat converted(const float* ratio, const FieldRowLaw& law) {
    if constexpr (output == FieldRowLaw::Output::ratio)
        return load<vfloat>(ratio);
    else
        return joined<vfloat>(converted_half<output>(ratio, law),
                              converted_half<output>(ratio + half_lanes, law));
}

template <FieldRowLaw::Output output, Use region_plane>
void field_row(ConstPixelRow ratio, const std::uint8_t* region, const FieldRowLaw& row_law,
               RowLimits limits, int n, PixelRow out) {
    const FieldRowLaw law = row_law;
    for (int x = 0; x < n; x += lanes) {
        const vfloat value = load<vfloat>(ratio.value + x);
        const vint mask = load_bytes(ratio.mask + x);
        const vfloat field = converted<output>(ratio.value + x, law);
        vint lost = mask != 0;
        if constexpr (output != FieldRowLaw::Output::ratio)
            lost |= field * 0 != 0;  // NaN unless finite
        vint below = field < limits.lower;
        vint above = field > limits.upper;
        if constexpr (region_plane == Use::yes) {
            const vint inside = load_bytes(region + x) != 0;
            below &= inside;
            above &= inside;
        }
        const vfloat limited = above & ~below ? vfloat{} + limits.upper : field;
        store(out.value + x, lost ? value : limited);
        store_bytes(out.mask + x, mask != 0 ? mask : (lost | below) & 1);
    }
}

template <FieldRowLaw::Output output>
void field_of_output(ConstPixelRow ratio, const std::uint8_t* region, const FieldRowLaw& law,
                     RowLimits limits, int n, PixelRow out) {
    if (region)
        field_row<output, Use::yes>(ratio, region, law, limits, n, out);
    else
        field_row<output, Use::no>(ratio, region, law, limits, n, out);
}

void field_of_law(ConstPixelRow ratio, const std::uint8_t* region, const FieldRowLaw& law,
                  RowLimits limits, int n, PixelRow out) {
    using Output = FieldRowLaw::Output;
    switch (law.output) {
        case Output::scaled:
            return field_of_output<Output::scaled>(ratio, region, law, limits, n, out);
        case Output::over_static:
            return field_of_output<Output::over_static>(ratio, region, law, limits, n, out);
        case Output::cp:
            return field_of_output<Output::cp>(ratio, region, law, limits, n, out);
        case Output::ratio:
            return field_of_output<Output::ratio>(ratio, region, law, limits, n, out);
    }
}

}  // namespace

extern const PixelKernels pixel_kernels;
const PixelKernels pixel_kernels = {correct, ratio_of, field_of_law};

}  // namespace vyn::VYN_ISA
