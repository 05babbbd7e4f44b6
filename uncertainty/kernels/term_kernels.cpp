// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "uncertainty/kernels/term_kernels.h"

#include <algorithm>
#include <cmath>

#include "api/kernels/vectors.h"

namespace vyn::VYN_ISA {

namespace {

/// Pixels that are left out together.
constexpr int group = 16;

void valid_span(const std::uint8_t* mask, int n, int* first, int* end) {
    const auto any_valid = [&](int i) {
        vint valid{};
        for (int k = i; k < i + group; k += lanes)
            valid |= (load_bytes(mask + k) == 0) & (counting<vint>() + k < n);
        return any(valid);
    };
    int from = 0;
    int to = (n + group - 1) / group * group;
    while (from < to && !any_valid(from))
        from += group;
    while (to > from && !any_valid(to - group))
        to -= group;
    *first = from < to ? from : 0;
    *end = from < to ? to : 0;
}

double value_at(const double (&coefficients)[5], double u) {
    const double(&c)[5] = coefficients;
    return (((c[4] * u + c[3]) * u + c[2]) * u + c[1]) * u + c[0];
}

double quartic_at(const double (&c)[5][5], double r, double u) {
    return (((value_at(c[4], u) * r + value_at(c[3], u)) * r + value_at(c[2], u)) * r +
            value_at(c[1], u)) *
               r +
           value_at(c[0], u);
}

inline float* row_of(const TermRows& rows, TermRow which) {
    return rows.first + static_cast<int>(which) * rows.stride;
}

void law_at(const LawRow& law, const LawOfTemperature& of_temperature, const float* ratio,
            const float* values, const float* sigma, const std::uint8_t* mask, int n,
            const TermRows& rows) {
    const LawOfTemperature by = of_temperature;
    const double scale2 = double(law.scale) * double(law.scale);
    const double fa = law.fa;
    float* __restrict temperature = row_of(rows, TermRow::temperature);
    float* __restrict reference = row_of(rows, TermRow::reference);
    float* __restrict coefficients = row_of(rows, TermRow::law);
    float* __restrict by_ratio = row_of(rows, TermRow::photons);
    for (int i = 0; i < n; ++i) {
        const double r = fa * static_cast<double>(ratio[i]);
        const double u = by.factor * static_cast<double>(values[i]) + by.offset;
        const double deviation = by.to_law * static_cast<double>(sigma[i]);
        const double slope =
            (value_at(by.by_log_ratio[2], u) * r + value_at(by.by_log_ratio[1], u)) * r;
        const double of_t = quartic_at(by.temperature, r, u) * deviation * deviation;
        const double of_reference = quartic_at(by.reference, r, u);
        const double of_law = quartic_at(by.law, r, u);
        const double valid = mask[i] == 0 ? scale2 : 0.0;
        by_ratio[i] = static_cast<float>(valid * slope * slope);
        temperature[i] = static_cast<float>(of_t > 0 ? valid * of_t : 0.0);
        reference[i] = static_cast<float>(of_reference > 0 ? valid * of_reference : 0.0);
        coefficients[i] = static_cast<float>(of_law > 0 ? valid * of_law : 0.0);
    }
}

/// A variance that is a polynomial in r = fa * ratio; in double, for the terms of a fitted law
/// cancel each other.
class QuarticVariance {
  public:
    explicit QuarticVariance(const double (&coefficients)[5])
        : c_{coefficients[0], coefficients[1], coefficients[2], coefficients[3], coefficients[4]},
          nothing_(std::all_of(c_, c_ + 5, [](double c) { return c == 0; })) {}

    vfloat at(const vdouble& r_low, const vdouble& r_high, float scale2, const vint& valid) const {
        if (nothing_) return vfloat{};
        const vfloat variance = joined<vfloat>(at(r_low), at(r_high));
        return (valid & (variance > 0)) ? scale2 * variance : vfloat{};
    }

  private:
    vfloat_half at(const vdouble& r) const {
        return __builtin_convertvector((((c_[4] * r + c_[3]) * r + c_[2]) * r + c_[1]) * r + c_[0],
                                       vfloat_half);
    }

    double c_[5];
    bool nothing_;
};

void combine(const LawRow& law_row, const RatioVarianceRow& variances, const float* ratio,
             const float* value, const std::uint8_t* mask, int n, const TermRows& rows,
             const SigmaRow& sigmas, SigmaTally* tally) {
    const LawRow law = law_row;
    const RatioVarianceRow in = variances;
    const SigmaRow out = sigmas;
    const float scale2 = law.scale * law.scale;
    const auto fa = static_cast<double>(law.fa);
    const QuarticVariance of_temperature(law.temperature);
    const QuarticVariance of_reference(law.reference);
    const QuarticVariance of_law(law.law);
    vint counted{};
    vint noisy{};
    vfloat largest{};
    for (int i = 0; i < n; i += lanes) {
        const vint valid = (load_bytes(mask + i) == 0) & (counting<vint>() + i < n);
        const auto where_valid = [&](const vfloat& v) { return valid ? v : vfloat{}; };
        const auto term = [&](TermRow which) { return row_of(rows, which) + i; };
        vfloat temperature;
        vfloat reference;
        vfloat coefficients;
        vfloat by_ratio;
        if (law.given) {
            temperature = where_valid(load<vfloat>(term(TermRow::temperature)));
            reference = where_valid(load<vfloat>(term(TermRow::reference)));
            coefficients = where_valid(load<vfloat>(term(TermRow::law)));
            by_ratio = where_valid(load<vfloat>(term(TermRow::photons)));
        } else {
            const vfloat r = law.fa * load<vfloat>(ratio + i);
            const vfloat slope = (law.by_log_ratio[2] * r + law.by_log_ratio[1]) * r;
            const vdouble r_low = fa * widened(load<vfloat_half>(ratio + i));
            const vdouble r_high = fa * widened(load<vfloat_half>(ratio + i + half_lanes));
            temperature = of_temperature.at(r_low, r_high, scale2, valid);
            reference = of_reference.at(r_low, r_high, scale2, valid);
            coefficients = of_law.at(r_low, r_high, scale2, valid);
            by_ratio = where_valid(scale2 * slope * slope);
        }
        // Where nothing is to be seen a picture may be 0, and what is relative to it infinite.
        const vfloat noise = where_valid(by_ratio * load<vfloat>(in.noise + i));
        const vfloat flat = where_valid(by_ratio * load<vfloat>(in.flat + i));
        const vfloat registration = where_valid(by_ratio * load<vfloat>(in.registration + i));
        const vfloat lamp = by_ratio * in.lamp;
        const vfloat of_pixel = load<vfloat>(value + i);
        const vfloat conditions = where_valid(law.shift2 + law.of_value2 * of_pixel * of_pixel);
        const vfloat together =
            registration + lamp + temperature + reference + coefficients + conditions;
        const vfloat total = square_root(noise + flat + together);
        const vfloat white =
            where_valid(load<vfloat>(in.noise_white + i) + load<vfloat>(in.flat_white + i));
        store(out.total + i, total);
        store(out.common + i, square_root(together));
        store(out.area + i, square_root(by_ratio * white));
        store(term(TermRow::noise), noise);
        store(term(TermRow::flat), flat);
        store(term(TermRow::registration), registration);
        store(term(TermRow::lamp), lamp);
        store(term(TermRow::temperature), temperature);
        store(term(TermRow::reference), reference);
        store(term(TermRow::law), coefficients);
        store(term(TermRow::conditions), conditions);
        store(term(TermRow::photons), by_ratio * where_valid(load<vfloat>(in.shot + i)));
        counted -= valid;
        noisy -= valid & (load<vfloat>(in.largest + i) > too_noisy_variance);
        largest = total > largest ? total : largest;
    }
    for (int k = 0; k < lanes; ++k) {
        tally->valid += counted[k];
        tally->too_noisy += noisy[k];
        tally->largest = std::max(tally->largest, largest[k]);
    }
}

/// Of each row by as many numbers side by side, whatever the vectors hold.
constexpr int sum_lanes = 8;
/// Rows that are summed up at once: an addition waits for the one before.
constexpr int together = 3;
static_assert(sigma_rows % together == 0);

void add_sums(const TermRows& rows, int n, double* sums) {
    constexpr int vectors = sum_lanes / half_lanes;
    for (int first = 0; first < sigma_rows; first += together) {
        const float* row[together];
        for (int k = 0; k < together; ++k)
            row[k] = rows.first + (first + k) * rows.stride;
        vdouble partial[together][vectors] = {};
        int i = 0;
        for (; i + sum_lanes <= n; i += sum_lanes)
            for (int k = 0; k < together; ++k)
                for (int v = 0; v < vectors; ++v)
                    partial[k][v] += widened(load<vfloat_half>(row[k] + i + v * half_lanes));
        for (int k = 0; k < together; ++k) {
            double all = 0;
            for (int rest = i; rest < n; ++rest)
                all += row[k][rest];
            for (int lane = 0; lane < sum_lanes; ++lane)
                all += partial[k][lane / half_lanes][lane % half_lanes];
            sums[first + k] += all;
        }
    }
}

void root(const float* row, int n, float* __restrict out) {
    for (int i = 0; i < n; ++i)
        out[i] = std::sqrt(row[i]);
}

}  // namespace

extern const TermKernels term_kernels;
const TermKernels term_kernels{valid_span, law_at, combine, add_sums, root};

}  // namespace vyn::VYN_ISA
