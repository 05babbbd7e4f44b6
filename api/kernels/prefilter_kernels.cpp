// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "api/kernels/prefilter_kernels.h"

#include "api/kernels/mirror.h"
#include "api/kernels/vectors.h"

namespace vyn::VYN_ISA {

namespace {

/// A square of coefficients, one vector per row.
struct Tile {
    vfloat v[lanes];
};

/// Exchanges the blocks of that many lanes and rows that lie off the diagonal.
template <int block, int... k>
inline void swap_blocks(vfloat& upper, vfloat& lower, Lanes<k...>) {
    const vfloat u = upper;
    const vfloat l = lower;
    upper = __builtin_shufflevector(u, l, (k & block ? lanes + k - block : k)...);
    lower = __builtin_shufflevector(u, l, (k & block ? lanes + k : k + block)...);
}

template <int block>
inline void transpose_blocks(Tile& tile) {
    for (int r = 0; r < lanes; ++r)
        if ((r & block) == 0)
            swap_blocks<block>(tile.v[r], tile.v[r + block], LanesUpTo<lanes>::type());
    if constexpr (block > 1) transpose_blocks<block / 2>(tile);
}

inline void transpose(Tile& tile) {
    transpose_blocks<lanes / 2>(tile);
}

/// What the backward pass starts from, c[n], from the last two results of the forward pass.
inline vfloat backward_start(float z, const vfloat& last, const vfloat& before_last) {
    return (z * before_last + last) * (1 / (z * z - 1)) + last;
}

/// A group of `lanes` rows, filtered in place tile by tile. Between the passes each tile lies
/// transposed in `out`, so that the recursion runs across the rows of the group.
class RowGroup {
  public:
    RowGroup(const SplineFilter& filter, int width, float* out, std::ptrdiff_t stride)
        : filter_(filter), width_(width), out_(out), stride_(stride) {}

    /// `source` are the rows of the group. False when some value is not finite.
    bool run(const float* const* source) {
        vfloat doubt{};
        forward(0, source_start(source), [&](int x) {
            Tile tile;
            for (int r = 0; r < lanes; ++r)
                tile.v[r] = load<vfloat>(source[r] + x);
            transpose(tile);
            for (int c = 0; c < lanes && x + c < width_; ++c)
                doubt += tile.v[c] * 0;  // NaN unless finite
            for (int c = 0; c < lanes; ++c)
                tile.v[c] *= filter_.gain;
            return tile;
        });
        for (int pole = 1; pole < filter_.poles; ++pole) {
            backward(pole - 1, [&](int x, const Tile& tile) { put(x, tile); });
            forward(pole, column_start(pole), [&](int x) { return get(x); });
        }
        backward(filter_.poles - 1, [&](int x, Tile tile) {
            transpose(tile);
            put(x, tile);
        });
        return all_zero(doubt);
    }

  private:
    static bool all_zero(const vfloat& v) {
        bool zero = true;
        for (int i = 0; i < lanes; ++i)
            zero &= v[i] == 0;
        return zero;
    }

    Tile get(int x) const {
        Tile tile;
        for (int r = 0; r < lanes; ++r)
            tile.v[r] = load<vfloat>(out_ + r * stride_ + x);
        return tile;
    }

    void put(int x, const Tile& tile) const {
        for (int r = 0; r < lanes; ++r)
            store(out_ + r * stride_ + x, tile.v[r]);
    }

    /// c+[-1] of the first pole: by the mirror the sum of z^k s[k + 1].
    vfloat source_start(const float* const* source) const {
        vfloat start{};
        for (int k = filter_.horizon[0]; k > 0; --k) {
            const int x = mirrored_index(k, width_);
            vfloat sample;
            for (int r = 0; r < lanes; ++r)
                sample[r] = source[r][x];
            start = start * filter_.pole[0] + sample * filter_.gain;
        }
        return start;
    }

    /// The same from what an earlier pole left.
    vfloat column_start(int pole) const {
        vfloat start{};
        for (int k = filter_.horizon[pole]; k > 0; --k) {
            const int x = mirrored_index(k, width_);
            const vfloat sample = load<vfloat>(out_ + x % lanes * stride_ + x / lanes * lanes);
            start = start * filter_.pole[pole] + sample;
        }
        return start;
    }

    template <class Read>
    void forward(int pole, vfloat last, Read read) {
        const float z = filter_.pole[pole];
        vfloat before_last{};
        const auto step = [&](vfloat& sample) {
            before_last = last;
            last = sample + z * last;
            sample = last;
        };
        int x = 0;
        for (; x + lanes <= width_; x += lanes) {
            Tile tile = read(x);
            for (int c = 0; c < lanes; ++c)
                step(tile.v[c]);
            put(x, tile);
        }
        if (x < width_) {
            Tile tile = read(x);
            for (int c = 0; x + c < width_; ++c)
                step(tile.v[c]);
            put(x, tile);
        }
        next_ = backward_start(z, last, before_last);
    }

    template <class Write>
    void backward(int pole, Write write) {
        const float z = filter_.pole[pole];
        vfloat next = next_;
        const auto step = [&](vfloat& sample) {
            next = z * (next - sample);
            sample = next;
        };
        int x = width_ / lanes * lanes;
        if (x < width_) {
            Tile tile = get(x);
            for (int c = width_ - x - 1; c >= 0; --c)
                step(tile.v[c]);
            write(x, tile);
        }
        while (x > 0) {
            x -= lanes;
            Tile tile = get(x);
            for (int c = lanes - 1; c >= 0; --c)
                step(tile.v[c]);
            write(x, tile);
        }
    }

    const SplineFilter& filter_;
    const int width_;
    float* const out_;
    const std::ptrdiff_t stride_;
    vfloat next_{};
};

void mirror_row_ends(float* row, int width) {
    for (int k = 1; k <= spline_margin; ++k) {
        row[-k] = row[mirrored_index(-k, width)];
        row[width - 1 + k] = row[mirrored_index(width - 1 + k, width)];
    }
}

bool rows(const SplineFilter& filter, const float* source, std::ptrdiff_t source_stride, int width,
          int count, float* out, std::ptrdiff_t out_stride) {
    bool finite = true;
    for (int y = 0; y < count; y += lanes) {
        // rows beyond the last repeat it; what they give falls into the scratch rows
        const float* group[lanes];
        for (int r = 0; r < lanes; ++r)
            group[r] = source + (y + r < count ? y + r : count - 1) * source_stride;
        finite &= RowGroup(filter, width, out + y * out_stride, out_stride).run(group);
    }
    for (int y = 0; y < count; ++y)
        mirror_row_ends(out + y * out_stride, width);
    return finite;
}

/// Neighbouring columns, filtered down and up while they are in the cache.
template <int vectors>
class Strip {
  public:
    Strip(float* first, std::ptrdiff_t stride, int height)
        : first_(first), stride_(stride), height_(height) {}

    void filter(float z, int horizon) {
        vfloat last[vectors] = {};
        vfloat before_last[vectors] = {};
        for (int k = horizon; k > 0; --k) {
            const float* const row = at(mirrored_index(k, height_));
            for (int i = 0; i < vectors; ++i)
                last[i] = last[i] * z + load<vfloat>(row + i * lanes);
        }
        for (int y = 0; y < height_; ++y) {
            float* const row = at(y);
            for (int i = 0; i < vectors; ++i) {
                before_last[i] = last[i];
                last[i] = load<vfloat>(row + i * lanes) + z * last[i];
                store(row + i * lanes, last[i]);
            }
        }
        vfloat next[vectors];
        for (int i = 0; i < vectors; ++i)
            next[i] = backward_start(z, last[i], before_last[i]);
        for (int y = height_ - 1; y >= 0; --y) {
            float* const row = at(y);
            for (int i = 0; i < vectors; ++i) {
                next[i] = z * (next[i] - load<vfloat>(row + i * lanes));
                store(row + i * lanes, next[i]);
            }
        }
    }

    void mirror_ends() {
        for (int k = 1; k <= spline_margin; ++k) {
            copy_row(mirrored_index(-k, height_), -k);
            copy_row(mirrored_index(height_ - 1 + k, height_), height_ - 1 + k);
        }
    }

  private:
    float* at(int y) const { return first_ + y * stride_; }
    void copy_row(int from, int to) {
        for (int i = 0; i < vectors; ++i)
            store(at(to) + i * lanes, load<vfloat>(at(from) + i * lanes));
    }

    float* const first_;
    const std::ptrdiff_t stride_;
    const int height_;
};

template <int width>
void filter_strip(const SplineFilter& filter, float* first, std::ptrdiff_t stride, int height) {
    Strip<width / lanes> strip(first, stride, height);
    for (int pole = 0; pole < filter.poles; ++pole)
        strip.filter(filter.pole[pole], filter.horizon[pole]);
    strip.mirror_ends();
}

void columns(const SplineFilter& filter, float* first, std::ptrdiff_t stride, int height,
             int count) {
    int x = 0;
    for (; x + 32 <= count; x += 32)
        filter_strip<32>(filter, first + x, stride, height);
    if (x < count) filter_strip<16>(filter, first + x, stride, height);
}

}  // namespace

extern const PrefilterKernels prefilter_kernels;
const PrefilterKernels prefilter_kernels = {rows, columns};

}  // namespace vyn::VYN_ISA
