#include "api/field_conversion.h"

#include <algorithm>
#include <cmath>
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
        case FieldQuantity::kept:
            break;
    }
    return FieldRowLaw::Output::ratio;
}

FieldRowLaw row_law(const FieldConversion& conversion) {
    if (conversion.quantity == FieldQuantity::kept)
        return {FieldRowLaw::Output::scaled, 0, 1, 0, 1, 0, 0, 1};  // the value, if it is finite
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
          mask_(source.width(), source.height()) {}

    PixelRow row(int y) { return {values_.row(y), mask_.row(y)}; }

    image take(Quantity quantity, const std::string& unit = {}) {
        image result = with_planes(source_, std::move(values_), std::move(mask_));
        result.quantity = quantity;
        result.unit = unit;
        result.share_region(source_);
        return result;
    }

  private:
    const image& source_;
    Bitmap<float> values_;
    Bitmap<std::uint8_t> mask_;
};

ConstPixelRow const_row(const image& picture, int y) {
    return {picture.values().row(y), picture.mask().row(y)};
}

RowLimits row_limits(bool limit, float lower, float upper) {
    return limit ? RowLimits{lower, upper} : RowLimits{-infinity, infinity};
}

RowLimits row_limits(const RatioLimits& limits) {
    return row_limits(limits.clamp, limits.lower, limits.upper);
}

RowLimits row_limits(const FieldConversion& conversion) {
    return row_limits(conversion.limit, conversion.lower, conversion.upper);
}

void check_pair(const image& wind_off, const image& wind_on) {
    check_all_planes(wind_off);
    wind_on.check_planes();
    check_same_size(wind_off, wind_on);
}

/// Calls `make(kernels, y)` for every row of results of the size of `picture`.
template <class Make>
void for_each_row(const image& picture, Progress& progress, Make make) {
    const PixelKernels& kernels = active_pixel_kernels();
    parallel_rows(picture.height(), rows_per_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y)
            make(kernels, y);
    });
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
        case FieldQuantity::kept:
            break;
    }
    return intensity_ratio;
}

image form_ratio(const image& wind_off, const image& wind_on, const RatioLimits& limits,
                 Progress& progress) {
    check_pair(wind_off, wind_on);
    RowResult result(wind_off);
    for_each_row(wind_off, progress, [&](const PixelKernels& kernels, int y) {
        kernels.ratio(const_row(wind_off, y), const_row(wind_on, y), region_row(wind_off, y),
                      row_limits(limits), wind_off.width(), result.row(y));
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
        }
    });
    image ratio = result.take(intensity_ratio);
    if (limits.clamp) {
        clamp_above(ratio, limits.upper);
        clamp_below(ratio, limits.lower);
    }
    return ratio;
}

namespace {

/// A field of the rows that `make(kernels, law, y, row)` fills.
template <class Make>
image field_of_rows(const image& ratio, const FieldConversion& conversion, Progress& progress,
                    Make make) {
    const FieldRowLaw law = row_law(conversion);
    RowResult result(ratio);
    for_each_row(ratio, progress,
                 [&](const PixelKernels& kernels, int y) { make(kernels, law, y, result.row(y)); });
    if (conversion.quantity == FieldQuantity::ratio || conversion.quantity == FieldQuantity::kept)
        return result.take(ratio.quantity, ratio.unit);
    return result.take(quantity_of(conversion.quantity),
                       conversion.quantity == FieldQuantity::pressure ? conversion.unit : "");
}

}  // namespace

image convert_field(const image& ratio, const FieldConversion& conversion, Progress& progress) {
    check_all_planes(ratio);
    return field_of_rows(
        ratio, conversion, progress,
        [&](const PixelKernels& kernels, const FieldRowLaw& law, int y, PixelRow out) {
            kernels.field(const_row(ratio, y), region_row(ratio, y), law, row_limits(conversion),
                          ratio.width(), out);
        });
}

image convert_field(const image& ratio, const TemperaturePlane& temperature,
                    const FieldConversion& conversion, Progress& progress) {
    if (conversion.quantity == FieldQuantity::ratio || conversion.quantity == FieldQuantity::kept)
        return convert_field(ratio, conversion, progress);
    check_all_planes(ratio);
    temperature.values.check_planes();
    check_same_size(ratio, temperature.values);
    const auto& [gamma, factor, offset] = temperature.law;
    FieldTemperatureLaw of_temperature{{}, factor, offset};
    for (std::size_t i = 0; i < gamma.size(); ++i)
        std::ranges::copy(gamma[i], of_temperature.gamma[i]);
    return field_of_rows(
        ratio, conversion, progress,
        [&](const PixelKernels& kernels, const FieldRowLaw& law, int y, PixelRow out) {
            kernels.field_at(const_row(ratio, y), const_row(temperature.values, y),
                             region_row(ratio, y), law, of_temperature, row_limits(conversion),
                             ratio.width(), out);
        });
}

}  // namespace vyn
