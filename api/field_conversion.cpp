#include "api/field_conversion.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "api/image_parts.h"
#include "api/isa.h"
#include "api/kernels/pixel_kernels.h"
#include "api/parallel.h"
#include "api/pixel_ops.h"

namespace vyn {

VYN_CHOOSE_KERNELS(PixelKernels, pixel_kernels)

namespace {

constexpr int rows_per_block = 32;
constexpr float infinity = std::numeric_limits<float>::infinity();

constexpr Quantity intensity_ratio{Quantity::Kind::intensity_ratio};

FieldRowLaw::Output row_output(FieldQuantity quantity) {
    switch (quantity) {
        case FieldQuantity::pressure:
            return FieldRowLaw::Output::scaled;
        case FieldQuantity::p_over_static:
            return FieldRowLaw::Output::over_static;
        case FieldQuantity::cp:
            return FieldRowLaw::Output::cp;
        case FieldQuantity::ratio:
            break;
    }
    return FieldRowLaw::Output::ratio;
}

FieldRowLaw row_law(const FieldConversion& conversion) {
    return {row_output(conversion.quantity),
            conversion.law.a,
            conversion.law.b,
            conversion.law.c,
            conversion.wind_off_ratio,
            conversion.static_pressure,
            conversion.dynamic_pressure,
            conversion.unit_factor};
}

/// The planes of a result made row by row from `source`, whose region plane goes with them.
class RowResult {
  public:
    explicit RowResult(const image& source)
        : source_(source),
          values_(source.width(), source.height()),
          mask_(source.width(), source.height()) {
        if (source.has_region()) region_ = Bitmap<std::uint8_t>(source.width(), source.height());
    }

    PixelRow row(int y) { return {values_.row(y), mask_.row(y)}; }

    void copy_region(int y) {
        if (source_.has_region())
            std::memcpy(region_.row(y), source_.region().row(y),
                        static_cast<std::size_t>(source_.width()));
    }

    image take(Quantity quantity, const std::string& unit = {}) {
        image result = with_planes(source_, std::move(values_), std::move(mask_));
        result.quantity = quantity;
        result.unit = unit;
        if (source_.has_region()) result.set_region(std::move(region_));
        return result;
    }

  private:
    const image& source_;
    Bitmap<float> values_;
    Bitmap<std::uint8_t> mask_;
    Bitmap<std::uint8_t> region_;
};

ConstPixelRow const_row(const image& picture, int y) {
    return {picture.values().row(y), picture.mask().row(y)};
}

}  // namespace

Quantity quantity_of(FieldQuantity quantity) {
    switch (quantity) {
        case FieldQuantity::pressure:
            return {Quantity::Kind::pressure};
        case FieldQuantity::p_over_static:
            return {Quantity::Kind::p_over_static};
        case FieldQuantity::cp:
            return {Quantity::Kind::cp};
        case FieldQuantity::ratio:
            break;
    }
    return intensity_ratio;
}

image form_ratio(const image& wind_off, const image& wind_on, const RatioLimits& limits,
                 Progress& progress) {
    check_all_planes(wind_off);
    wind_on.check_planes();
    check_same_size(wind_off, wind_on);
    const RowLimits row_limits =
        limits.clamp ? RowLimits{limits.lower, limits.upper} : RowLimits{-infinity, infinity};
    const PixelKernels& kernels = active_pixel_kernels();
    RowResult result(wind_off);
    parallel_rows(wind_off.height(), rows_per_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            kernels.ratio(const_row(wind_off, y), const_row(wind_on, y), region_row(wind_off, y),
                          row_limits, wind_off.width(), result.row(y));
            result.copy_region(y);
        }
    });
    return result.take(intensity_ratio);
}

image form_ratio_of_ratios(const ChannelPictures& pictures, const RatioLimits& limits,
                           Progress& progress) {
    const image& signal_off = pictures.signal_off;
    check_all_planes(signal_off);
    for (const image* other :
         {&pictures.signal_on, &pictures.reference_off, &pictures.reference_on}) {
        other->check_planes();
        check_same_size(signal_off, *other);
    }
    RowResult result(signal_off);
    parallel_rows(signal_off.height(), rows_per_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const ConstPixelRow rows[] = {
                const_row(signal_off, y), const_row(pictures.reference_on, y),
                const_row(pictures.reference_off, y), const_row(pictures.signal_on, y)};
            const PixelRow out = result.row(y);
            for (int x = 0; x < signal_off.width(); ++x) {
                const double ratio = double{rows[0].value[x]} * double{rows[1].value[x]} /
                                     (double{rows[2].value[x]} * double{rows[3].value[x]});
                const bool excluded =
                    (rows[0].mask[x] | rows[1].mask[x] | rows[2].mask[x] | rows[3].mask[x]) != 0 ||
                    !std::isfinite(static_cast<float>(ratio));
                out.value[x] = excluded ? rows[0].value[x] : static_cast<float>(ratio);
                out.mask[x] = excluded ? 1 : 0;
            }
            result.copy_region(y);
        }
    });
    image ratio = result.take(intensity_ratio);
    if (limits.clamp) {
        clamp_above(ratio, limits.upper);
        clamp_below(ratio, limits.lower);
    }
    return ratio;
}

image convert_field(const image& ratio, const FieldConversion& conversion, Progress& progress) {
    check_all_planes(ratio);
    const RowLimits row_limits = conversion.limit ? RowLimits{conversion.lower, conversion.upper}
                                                  : RowLimits{-infinity, infinity};
    const FieldRowLaw law = row_law(conversion);
    const PixelKernels& kernels = active_pixel_kernels();
    RowResult result(ratio);
    parallel_rows(ratio.height(), rows_per_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            kernels.field(const_row(ratio, y), region_row(ratio, y), law, row_limits, ratio.width(),
                          result.row(y));
            result.copy_region(y);
        }
    });
    if (conversion.quantity == FieldQuantity::ratio) return result.take(ratio.quantity, ratio.unit);
    return result.take(quantity_of(conversion.quantity),
                       conversion.quantity == FieldQuantity::pressure ? conversion.unit : "");
}

}  // namespace vyn
