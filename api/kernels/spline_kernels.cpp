// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "api/kernels/spline_kernels.h"

#include "api/kernels/spline_basis.h"
#include "api/kernels/vectors.h"

namespace vyn::VYN_ISA {

namespace {

/// One coordinate of as many positions as a float vector has lanes.
struct Coordinates {
    vdouble low;
    vdouble high;
};

inline Coordinates load_coordinates(const double* from) {
    return {load<vdouble>(from), load<vdouble>(from + half_lanes)};
}

/// Lanes that lie outside 0 .. last or are no number.
inline vlong beyond(const Coordinates& c, double last) {
    return ~((c.low >= 0) & (c.low <= last) & (c.high >= 0) & (c.high <= last));
}

inline vlong is_far(const vdouble& c) {
    return ~((c > -spline_far) & (c < spline_far));
}

/// The coordinate mirrored into 0 .. length - 1; 0 where it is far outside. The same operations as
/// in SplineCoefficients::at.
inline vdouble mirrored(const vdouble& c, int length) {
    if (length == 1) return vdouble{};
    const double last = length - 1;
    const double period = 2 * last;
    vdouble p = is_far(c) ? vdouble{} : c;
    p = p < 0 ? -p : p;
    p -= widened(__builtin_convertvector(p / period, vint_half)) * period;
    p = p < 0 ? -p : p;
    return p > last ? period - p : p;
}

/// The sample left of the position (odd degrees) or nearest to it (even ones), and the rest.
struct Split {
    vint index;
    vfloat rest;
};

template <int degree>
inline Split split(const Coordinates& c) {
    const auto sample_of = [](const vdouble& position) {
        if constexpr (degree % 2 == 0)
            return __builtin_convertvector(position + 0.5, vint_half);
        else
            return __builtin_convertvector(position, vint_half);
    };
    const vint_half low = sample_of(c.low);
    const vint_half high = sample_of(c.high);
    const vdouble low_rest = c.low - widened(low);
    const vdouble high_rest = c.high - widened(high);
    return {joined<vint>(low, high),
            joined<vfloat>(__builtin_convertvector(low_rest, vfloat_half),
                           __builtin_convertvector(high_rest, vfloat_half))};
}

/// True when the samples are neighbouring columns of one row, in order.
inline bool are_neighbours(const vint& columns, const vint& rows) {
    return !any(((columns - columns[0]) ^ counting<vint>()) | (rows - rows[0]));
}

/// Samples that lie close together: so few columns from `left` and at most one row from `top` that
/// they can be picked out of two vectors per row.
struct Window {
    int left;
    int top;
    vint dx;
    vint dy;

    Window(const vint& columns, const vint& rows)
        : left(lesser(columns[0], columns[lanes - 1])),
          top(lesser(rows[0], rows[lanes - 1])),
          dx(columns - left),
          dy(rows - top) {}

    bool holds(int taps) const {
        const vuint widest = vuint{} + static_cast<unsigned>(2 * lanes - taps);
        return !any((reinterpret_cast<vuint>(dx) > widest) | (reinterpret_cast<vuint>(dy) > 1));
    }

  private:
    static int lesser(int a, int b) { return a < b ? a : b; }
};

/// Where mask and region bytes go; `region` may be null.
struct ByteTarget {
    std::uint8_t* mask;
    std::uint8_t* region;
};

/// Mask and region bytes of `lanes` source pixels.
class ByteGroup {
  public:
    /// Of pixels inside the source.
    ByteGroup(const BytePlanes& source, const vint& columns, const vint& rows)
        : source_(source), inside_(~vint{}), column_(columns), row_(rows) {}

    /// Of the pixels at positions truncated toward zero.
    ByteGroup(const BytePlanes& source, const Coordinates& x, const Coordinates& y)
        : source_(source) {
        const vlong low = inside(x.low, y.low);
        const vlong high = inside(x.high, y.high);
        inside_ = joined<vint>(__builtin_convertvector(low, vint_half),
                               __builtin_convertvector(high, vint_half));
        column_ = truncated(x, low, high);
        row_ = truncated(y, low, high);
    }

    void copy(const ByteTarget& to) const {
        if (any(~inside_)) return copy_some(lanes, to);
        if (are_neighbours(column_, row_)) return copy_neighbours(to);
        if constexpr (has_permutation) {
            const Window window(column_, row_);
            if (window.holds(1)) return copy_near(window, to);
        }
        copy_some(lanes, to);
    }

    void copy_neighbours(const ByteTarget& to) const {
        __builtin_memcpy(to.mask, source_.mask + offset(0), lanes);
        if (to.region) __builtin_memcpy(to.region, source_.region + offset(0), lanes);
    }

    void copy_near(const Window& window, const ByteTarget& to) const {
        // two vectors from two rows on, which may reach into a third
        if (window.top + 2 >= source_.height) return copy_some(lanes, to);
        copy_near(window, source_.mask, to.mask);
        if (to.region) copy_near(window, source_.region, to.region);
    }

    /// One by one, all of them inside.
    void copy_scattered(const ByteTarget& to) const {
        constexpr std::ptrdiff_t most = 0x7fffffff;
        if (source_.stride * source_.height > most) return copy_some(lanes, to);
        const vint pixels = row_ * static_cast<int>(source_.stride) + column_;
        copy_numbered(source_.mask, pixels, to.mask);
        if (to.region) copy_numbered(source_.region, pixels, to.region);
    }

    /// The first n, one by one.
    __attribute__((noinline)) void copy_some(int n, const ByteTarget& to) const {
        for (int i = 0; i < n; ++i) {
            to.mask[i] = inside_[i] ? source_.mask[offset(i)] : 1;
            if (to.region) to.region[i] = inside_[i] ? source_.region[offset(i)] : 0;
        }
    }

  private:
    vlong inside(const vdouble& x, const vdouble& y) const {
        return (x > -1) & (x < source_.width) & (y > -1) & (y < source_.height);
    }
    static vint truncated(const Coordinates& c, const vlong& low, const vlong& high) {
        return joined<vint>(__builtin_convertvector(low ? c.low : vdouble{}, vint_half),
                            __builtin_convertvector(high ? c.high : vdouble{}, vint_half));
    }
    std::ptrdiff_t offset(int i) const { return row_[i] * source_.stride + column_[i]; }

    __attribute__((noinline)) static void copy_numbered(const std::uint8_t* plane,
                                                        const vint& pixels, std::uint8_t* to) {
        int number[lanes];
        store(number, pixels);
        for (int i = 0; i < lanes; ++i)
            to[i] = plane[number[i]];
    }

    void copy_near(const Window& window, const std::uint8_t* plane, std::uint8_t* to) const {
        const std::uint8_t* const upper = plane + window.top * source_.stride + window.left;
        const std::uint8_t* const lower = upper + source_.stride;
        const vint from_upper = permuted(load_bytes(upper), load_bytes(upper + lanes), window.dx);
        const vint from_lower = permuted(load_bytes(lower), load_bytes(lower + lanes), window.dx);
        store_bytes(to, window.dy > 0 ? from_lower : from_upper);
    }

    const BytePlanes& source_;
    vint inside_;
    vint column_;
    vint row_;
};

/// Sums for `lanes` positions at once. Rows first, from left to right, then their sums from top to
/// bottom: the order of SplineCoefficients::at, whichever way the samples are fetched.
template <int degree>
class Group {
  public:
    static constexpr int taps = degree + 1;

    Group(const SplinePlane& plane, const Coordinates& x, const Coordinates& y)
        : plane_(plane), x_(split<degree>(x)), y_(split<degree>(y)) {
        spline_weights<degree>(x_.rest, wx_);
        spline_weights<degree>(y_.rest, wy_);
    }

    vfloat value() const {
        if (are_neighbours(x_.index, y_.index))
            return value_of_neighbours(sample(x_.index[0], y_.index[0]));
        if constexpr (has_permutation) {
            const Window window(x_.index, y_.index);
            if (window.holds(taps))
                return value_of_near(sample(window.left, window.top), window.dx, window.dy);
        }
        return value_of_any();
    }

    /// Value and bytes, of positions whose samples are also the pixels at the truncated positions.
    vfloat value_and_bytes(const BytePlanes& source, const ByteTarget& to) const {
        static_assert(degree % 2 != 0);
        const ByteGroup bytes(source, x_.index, y_.index);
        fetch_next_rows(source);
        if (are_neighbours(x_.index, y_.index)) {
            bytes.copy_neighbours(to);
            return value_of_neighbours(sample(x_.index[0], y_.index[0]));
        }
        if constexpr (has_permutation) {
            const Window window(x_.index, y_.index);
            if (window.holds(taps)) {
                bytes.copy_near(window, to);
                return value_of_near(sample(window.left, window.top), window.dx, window.dy);
            }
        }
        bytes.copy_scattered(to);
        return value_of_any();
    }

  private:
    /// Brings what the next row of the output reads into the cache: the hardware starts anew with
    /// every row and every page. In its place, or the compiler takes it for doing nothing.
    __attribute__((always_inline)) inline void fetch_next_rows(const BytePlanes& source) const {
        __builtin_prefetch(sample(x_.index[0], y_.index[0] + taps + 1));
        const int row = y_.index[0] + 2 < source.height ? y_.index[0] + 2 : source.height - 1;
        const std::ptrdiff_t pixel = row * source.stride + x_.index[0];
        __builtin_prefetch(source.mask + pixel);
        if (source.region) __builtin_prefetch(source.region + pixel);
    }

    const float* sample(int x, int y) const {
        return plane_.origin + (y - degree / 2) * plane_.stride + (x - degree / 2);
    }

    template <class Fetch>
    vfloat row_sum(Fetch fetch) const {
        vfloat sum = wx_[0] * fetch(0);
        for (int k = 1; k < taps; ++k)
            sum += wx_[k] * fetch(k);
        return sum;
    }

    /// The positions read neighbouring columns of the same rows.
    vfloat value_of_neighbours(const float* row) const {
        vfloat sum{};
        for (int j = 0; j < taps; ++j, row += plane_.stride) {
            const vfloat part = wy_[j] * row_sum([&](int k) { return load<vfloat>(row + k); });
            sum = j == 0 ? part : sum + part;
        }
        return sum;
    }

    /// `dx` columns and `dy` rows (0 or 1) from `row` on.
    vfloat value_of_near(const float* row, const vint& dx, const vint& dy) const {
        const vint lower = dy > 0;
        vfloat sum{};
        vfloat upper_part{};
        for (int j = 0; j <= taps; ++j, row += plane_.stride) {
            const vfloat a = load<vfloat>(row);
            const vfloat b = load<vfloat>(row + lanes);
            const vfloat part = row_sum([&](int k) { return permuted(a, b, dx + k); });
            if (j > 0) {
                const vfloat weighted = wy_[j - 1] * (lower ? part : upper_part);
                sum = j == 1 ? weighted : sum + weighted;
            }
            upper_part = part;
        }
        return sum;
    }

    __attribute__((noinline)) vfloat value_of_any() const {
        const float* first[lanes];
        for (int i = 0; i < lanes; ++i)
            first[i] = sample(x_.index[i], y_.index[i]);
        vfloat sum{};
        for (int j = 0; j < taps; ++j) {
            const std::ptrdiff_t row = j * plane_.stride;
            vfloat quads[4]{};
            if constexpr (taps >= 4) load_quads(first, row, quads);
            const vfloat part = wy_[j] * row_sum([&](int k) {
                                    if (taps >= 4 && k < 4) return quads[k];
                                    vfloat samples{};
                                    for (int i = 0; i < lanes; ++i)
                                        samples[i] = first[i][row + k];
                                    return samples;
                                });
            sum = j == 0 ? part : sum + part;
        }
        return sum;
    }

    const SplinePlane& plane_;
    Split x_;
    Split y_;
    vfloat wx_[taps];
    vfloat wy_[taps];
};

/// Some of the positions lie outside the picture.
template <int degree>
__attribute__((noinline)) vfloat border_value(const SplinePlane& plane, const Coordinates& x,
                                              const Coordinates& y) {
    const vint far =
        joined<vint>(__builtin_convertvector(is_far(x.low) | is_far(y.low), vint_half),
                     __builtin_convertvector(is_far(x.high) | is_far(y.high), vint_half));
    const Coordinates inner_x{mirrored(x.low, plane.width), mirrored(x.high, plane.width)};
    const Coordinates inner_y{mirrored(y.low, plane.height), mirrored(y.high, plane.height)};
    const vfloat value = Group<degree>(plane, inner_x, inner_y).value();
    return far ? vfloat{} : value;
}

inline bool some_beyond(const SplinePlane& plane, const Coordinates& x, const Coordinates& y) {
    return any(beyond(x, plane.width - 1) | beyond(y, plane.height - 1));
}

template <int degree>
inline vfloat group_value(const SplinePlane& plane, const double* at_x, const double* at_y) {
    const Coordinates x = load_coordinates(at_x);
    const Coordinates y = load_coordinates(at_y);
    if (some_beyond(plane, x, y)) return border_value<degree>(plane, x, y);
    return Group<degree>(plane, x, y).value();
}

/// The same, and the bytes.
template <int degree>
inline vfloat group_sample(const SplinePlane& plane, const BytePlanes& source, const double* at_x,
                           const double* at_y, const ByteTarget& to) {
    const Coordinates x = load_coordinates(at_x);
    const Coordinates y = load_coordinates(at_y);
    if (some_beyond(plane, x, y)) {
        ByteGroup(source, x, y).copy(to);
        return border_value<degree>(plane, x, y);
    }
    const Group<degree> group(plane, x, y);
    if constexpr (degree % 2 != 0) return group.value_and_bytes(source, to);
    ByteGroup(source, x, y).copy(to);
    return group.value();
}

/// Room for one group, for what is left at the end of a row.
template <class Element>
struct Remainder {
    Element element[lanes];
    Remainder(const Element* from, int n) {
        for (int i = 0; i < lanes; ++i)
            element[i] = from[i < n ? i : n - 1];
    }
};

template <int degree>
void values_of(const SplinePlane& plane, const double* x, const double* y, int n, float* out) {
    int i = 0;
    for (; i + lanes <= n; i += lanes)
        store(out + i, group_value<degree>(plane, x + i, y + i));
    if (i < n) {
        const Remainder<double> last_x(x + i, n - i);
        const Remainder<double> last_y(y + i, n - i);
        const vfloat value = group_value<degree>(plane, last_x.element, last_y.element);
        for (int k = 0; i + k < n; ++k)
            out[i + k] = value[k];
    }
}

void values(const SplinePlane& plane, const double* x, const double* y, int n, float* out) {
    switch (plane.degree) {
        case 2:
            return values_of<2>(plane, x, y, n, out);
        case 4:
            return values_of<4>(plane, x, y, n, out);
        case 5:
            return values_of<5>(plane, x, y, n, out);
        default:
            return values_of<3>(plane, x, y, n, out);
    }
}

template <int degree>
void samples_of(const SplinePlane& plane, const BytePlanes& source, const double* x,
                const double* y, int n, float* out, ByteTarget to) {
    int i = 0;
    for (; i + lanes <= n; i += lanes) {
        store(out + i, group_sample<degree>(plane, source, x + i, y + i, to));
        to.mask += lanes;
        if (to.region) to.region += lanes;
    }
    if (i < n) {
        values_of<degree>(plane, x + i, y + i, n - i, out + i);
        const Remainder<double> last_x(x + i, n - i);
        const Remainder<double> last_y(y + i, n - i);
        ByteGroup(source, load_coordinates(last_x.element), load_coordinates(last_y.element))
            .copy_some(n - i, to);
        leave_wide();
    }
}

void samples(const SplinePlane& plane, const BytePlanes& source, const double* x, const double* y,
             int n, float* out, std::uint8_t* mask, std::uint8_t* region) {
    const ByteTarget to{mask, region};
    switch (plane.degree) {
        case 2:
            return samples_of<2>(plane, source, x, y, n, out, to);
        case 4:
            return samples_of<4>(plane, source, x, y, n, out, to);
        case 5:
            return samples_of<5>(plane, source, x, y, n, out, to);
        default:
            return samples_of<3>(plane, source, x, y, n, out, to);
    }
}

}  // namespace

extern const SplineKernels spline_kernels;
const SplineKernels spline_kernels = {values, samples};

}  // namespace vyn::VYN_ISA
