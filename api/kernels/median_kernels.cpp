// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "api/kernels/median_kernels.h"

#include "api/kernels/row_finish.h"

namespace vyn::VYN_ISA {

namespace {

/// a < b ? a : b, which the compiler makes a comparison and a selection of.
inline vfloat lesser(const vfloat& a, const vfloat& b) {
#if defined(__AVX512F__)
    return _mm512_maskz_min_ps(0xffff, a, b);
#elif defined(__AVX2__)
    return _mm256_min_ps(a, b);
#elif defined(__SSE2__)
    return _mm_min_ps(a, b);
#else
    return a < b ? a : b;
#endif
}

/// a > b ? a : b
inline vfloat greater(const vfloat& a, const vfloat& b) {
#if defined(__AVX512F__)
    return _mm512_maskz_max_ps(0xffff, a, b);
#elif defined(__AVX2__)
    return _mm256_max_ps(a, b);
#elif defined(__SSE2__)
    return _mm_max_ps(a, b);
#else
    return a > b ? a : b;
#endif
}

inline void order(vfloat& low, vfloat& high) {
    const vfloat smaller = lesser(low, high);
    high = greater(high, low);
    low = smaller;
}

inline void sort(vfloat (&v)[3]) {
    order(v[0], v[1]);
    order(v[1], v[2]);
    order(v[0], v[1]);
}

/// The shortest network for five (Knuth 1973, 5.3.4).
inline void sort(vfloat (&v)[5]) {
    order(v[0], v[1]);
    order(v[3], v[4]);
    order(v[2], v[4]);
    order(v[2], v[3]);
    order(v[1], v[4]);
    order(v[0], v[3]);
    order(v[0], v[2]);
    order(v[1], v[3]);
    order(v[1], v[2]);
}

/// Brings the least of v[first] to v[last] to the first place, the greatest to the last.
template <int first, int last>
inline void put_extremes_outside(vfloat* v) {
    constexpr int count = last - first + 1;
    for (int i = 0; i < count / 2; ++i)
        order(v[first + i], v[last - i]);
    for (int i = 1; i < (count + 1) / 2; ++i)
        order(v[first], v[first + i]);
    for (int i = 1; i < (count + 1) / 2; ++i)
        order(v[last - i], v[last]);
}

/// Of columns sorted downwards.
inline vfloat median_of(vfloat (&rows)[3][3]) {
    for (auto& row : rows)
        sort(row);
    vfloat diagonal[3] = {rows[0][2], rows[1][1], rows[2][0]};
    sort(diagonal);
    return diagonal[1];
}

/// Of columns sorted downwards. With the rows sorted too, columns still are, and element (r, c) has
/// (r + 1)(c + 1) - 1 others that are not above it: 13 of the 25 can be the median. Of eight of
/// these the least and the greatest cannot be; they are dropped, one more is taken in, and so on.
inline vfloat median_of(vfloat (&rows)[5][5]) {
    for (auto& row : rows)
        sort(row);
    vfloat v[13] = {rows[0][3], rows[1][2], rows[2][1], rows[0][4], rows[1][3],
                    rows[2][2], rows[1][4], rows[2][3], rows[3][0], rows[3][1],
                    rows[3][2], rows[4][0], rows[4][1]};
    // the least of the first eight is one of the first three, the greatest one of the last two
    order(v[0], v[1]);
    order(v[0], v[2]);
    order(v[6], v[7]);
    v[7] = v[8];
    put_extremes_outside<1, 7>(v);
    v[7] = v[9];
    put_extremes_outside<2, 7>(v);
    v[7] = v[10];
    put_extremes_outside<3, 7>(v);
    v[7] = v[11];
    put_extremes_outside<4, 7>(v);
    v[7] = v[12];
    put_extremes_outside<5, 7>(v);
    return v[6];
}

/// The columns of a window's rows, sorted.
template <int size>
struct Columns {
    vfloat rank[size];

    Columns(const float* const (&values)[size], int x) {
        for (int i = 0; i < size; ++i)
            rank[i] = load<vfloat>(values[i] + x);
        sort(rank);
    }
};

/// The middle vector as it is `shift` pixels farther on.
template <int shift>
inline vfloat shifted(const vfloat& left, const vfloat& middle, const vfloat& right) {
    using All = typename LanesUpTo<lanes>::type;
    if constexpr (shift < 0)
        return neighbours<lanes + shift>(left, middle, All());
    else
        return neighbours<shift>(middle, right, All());
}

/// Rows of the windows of the middle columns; `c` counts the columns of a window.
template <int size, int... c>
inline void spread(const Columns<size>& left, const Columns<size>& middle,
                   const Columns<size>& right, vfloat (&rows)[size][size], Lanes<c...>) {
    for (int r = 0; r < size; ++r)
        ((rows[r][c] = shifted<c - size / 2>(left.rank[r], middle.rank[r], right.rank[r])), ...);
}

/// Pixels x0 to x1 - 1, whose windows are clean.
template <int size>
void clean_medians(const MedianWindow& window, const FilterRow& filter_row, int x0, int x1) {
    const FilterRow row = filter_row;  // copies: what is stored below cannot change them
    const float* values[size];
    for (int i = 0; i < size; ++i)
        values[i] = window.values[i];
    Columns<size> left(values, x0 - lanes);
    Columns<size> middle(values, x0);
    for (int x = x0; x < x1; x += lanes) {
        if (x % chunk::pixels == 0) fetch_chunk<Use::yes>(row.next_out, x);
        const Columns<size> right(values, x + lanes);
        vfloat rows[size][size];
        spread(left, middle, right, rows, typename LanesUpTo<size>::type());
        vfloat median = median_of(rows);
        if (row.region)
            median = load_bytes(row.region + x) != 0 ? median : load<vfloat>(row.source.value + x);
        store(row.out.value + x, median);
        store_bytes(row.out.mask + x, vint{});
        left = middle;
        middle = right;
    }
}

/// Sorts the columns of the windows of pixels x0 to x1 - 1 once for all of these.
template <int size>
void sort_columns(const MedianWindow& window, int x0, int x1) {
    constexpr int margin = 16;
    for (int x = x0 - margin; x < x1 + margin; x += lanes) {
        vfloat column[size];
        vfloat sum{};
        vfloat least = vfloat{} + 1.0F;
        for (int i = 0; i < size; ++i) {
            column[i] = load<vfloat>(window.values[i] + x);
            sum += column[i];
            least = lesser(least, load<vfloat>(window.weights[i] + x));
        }
        sort(column);
        for (int i = 0; i < size; ++i)
            store(window.sorted[i] + x, column[i]);
        // 0 times anything finite is 0, NaN otherwise: infinite sums also go the slow way
        store(window.dirty + x, sum * 0.0F + (least > 0 ? vfloat{} : vfloat{} + 1.0F));
    }
}

struct Middle {
    vfloat value;
    vfloat count;  ///< of valid pixels
};

/// Of the valid pixels of windows without NaN. The excluded ones are dealt out to both ends, so
/// that the middle of all is that of the valid ones.
template <int size>
Middle ragged_median(const MedianWindow& window, int x) {
    constexpr float infinity = __builtin_inff();
    vfloat count{};
    for (int c = 0; c < size; ++c)
        for (int r = 0; r < size; ++r)
            count += load<vfloat>(window.weights[r] + x + c - size / 2);
    const vint below = size * size / 2 - (__builtin_convertvector(count, vint) >> 1);
    vint dealt{};
    vfloat rows[size][size];
    for (int c = 0; c < size; ++c) {
        const int from = x + c - size / 2;
        vfloat column[size];
        for (int r = 0; r < size; ++r) {
            const vint valid = load<vfloat>(window.weights[r] + from) > 0;
            const vfloat end = dealt < below ? everywhere(-infinity) : everywhere(infinity);
            column[r] = valid ? load<vfloat>(window.values[r] + from) : end;
            dealt -= ~valid;
        }
        sort(column);
        for (int r = 0; r < size; ++r)
            rows[r][c] = column[r];
    }
    return {median_of(rows), count};
}

/// Pixels x0 to x1 - 1, of windows of any kind.
template <int size>
void mixed_medians(const MedianWindow& window, const FilterRow& row, int x0, int x1,
                   std::uint8_t* todo) {
    sort_columns<size>(window, x0, x1);
    constexpr int half = size / 2;
    for (int x = x0; x < x1; x += lanes) {
        if (x % chunk::pixels == 0) fetch_chunk<Use::yes>(row.next_out, x);
        const vint visit = visited(row, x);
        vfloat dirt{};
        for (int c = 0; c < size; ++c)
            dirt += load<vfloat>(window.dirty + x + c - half);
        const vint clean = dirt == 0;
        const vint ragged = dirt > 0;
        vint filled = clean;
        vfloat median{};
        if (any(visit & clean)) {
            vfloat rows[size][size];
            for (int r = 0; r < size; ++r)
                for (int c = 0; c < size; ++c)
                    rows[r][c] = load<vfloat>(window.sorted[r] + x + c - half);
            median = median_of(rows);
        }
        if (any(visit & ragged)) {
            const Middle middle = ragged_median<size>(window, x);
            const vint enough = (load<vfloat>(window.weights[half] + x) > 0) |
                                (middle.count >= row.rule.least_count);
            median = clean ? median : middle.value;
            filled |= ragged & (middle.count > 0) & enough;
        }
        finish(row, x, visit & (clean | ragged), filled, median);
        store_bytes(todo + x, visit & ~(clean | ragged) & 1);
    }
}

void copy_pixels(const FilterRow& row, int x0, int x1) {
    for (int x = x0; x < x1; x += lanes) {
        if (x % chunk::pixels == 0) fetch_chunk<Use::yes>(row.next_out, x);
        finish(row, x, vint{}, vint{}, vfloat{});
    }
}

template <int size>
void median_row(const MedianWindow& window, const FilterRow& row, int n, std::uint8_t* todo) {
    const int count = (n + chunk::pixels - 1) / chunk::pixels;
    __builtin_memset(todo, 0, static_cast<std::size_t>(count) * chunk::pixels);
    for (int first = 0; first < count;) {
        // chunks of one kind together, so that few columns are sorted twice
        const std::uint8_t kind = window.chunks[first];
        int end = first + 1;
        while (end < count && window.chunks[end] == kind)
            ++end;
        const int x0 = first * chunk::pixels;
        const int x1 = end < count ? end * chunk::pixels : n;
        if ((kind == window_chunk::empty && row.rule.visit_excluded == 0) ||
            (kind == window_chunk::clean && row.rule.visit_valid == 0))
            copy_pixels(row, x0, x1);
        else if (kind == window_chunk::clean)
            clean_medians<size>(window, row, x0, x1);
        else
            mixed_medians<size>(window, row, x0, x1, todo);
        first = end;
    }
}

/// The set of a window that slides along a row, and the block that its middle lies in.
class SlidingRanks {
  public:
    SlidingRanks(const RankWindow& window, RankSet set) : window_(window), set_(set) {}

    void insert_column(int x) {
        for (int j = 0; j < window_.row_count; ++j) {
            const std::uint32_t rank = window_.rows[j][x];
            if (rank == no_rank) continue;
            set_.words[rank / 64] |= std::uint64_t{1} << rank % 64;
            const std::uint32_t block = rank / RankSet::bits_per_block;
            ++set_.counts[block];
            below_ += block < block_ ? 1 : 0;
            ++count_;
        }
    }

    void remove_column(int x) {
        for (int j = 0; j < window_.row_count; ++j) {
            const std::uint32_t rank = window_.rows[j][x];
            if (rank == no_rank) continue;
            set_.words[rank / 64] &= ~(std::uint64_t{1} << rank % 64);
            const std::uint32_t block = rank / RankSet::bits_per_block;
            --set_.counts[block];
            below_ -= block < block_ ? 1 : 0;
            --count_;
        }
    }

    std::uint32_t count() const { return count_; }

    /// For a set that is not empty.
    std::uint32_t middle() {
        const std::uint32_t wanted = count_ / 2;
        while (below_ > wanted)
            below_ -= set_.counts[--block_];
        while (below_ + set_.counts[block_] <= wanted)
            below_ += set_.counts[block_++];
        std::uint32_t left = wanted - below_;
        std::uint32_t word = block_ * (RankSet::bits_per_block / 64);
        for (;; ++word) {
            const auto here = static_cast<std::uint32_t>(__builtin_popcountll(set_.words[word]));
            if (left < here) break;
            left -= here;
        }
        std::uint64_t bits = set_.words[word];
        for (; left > 0; --left)
            bits &= bits - 1;
        return word * 64 + static_cast<std::uint32_t>(__builtin_ctzll(bits));
    }

  private:
    const RankWindow window_;
    const RankSet set_;
    std::uint32_t count_ = 0;
    std::uint32_t block_ = 0;
    std::uint32_t below_ = 0;  ///< ranks in the blocks before block_
};

void middle_ranks(const RankWindow& window, const std::uint8_t* wanted, RankSet set, int n,
                  std::uint32_t* middle, std::uint32_t* count) {
    SlidingRanks ranks(window, set);
    const int half = window.half_width;
    for (int x = 0; x < half && x < n; ++x)
        ranks.insert_column(x);
    for (int x = 0; x < n; ++x) {
        if (half < n - x) ranks.insert_column(x + half);
        if (x > half) ranks.remove_column(x - half - 1);
        count[x] = ranks.count();
        if (wanted[x] != 0 && count[x] != 0) middle[x] = ranks.middle();
    }
    for (int x = n - 1 > half ? n - 1 - half : 0; x < n; ++x)
        ranks.remove_column(x);
}

}  // namespace

extern const MedianKernels median_kernels;
const MedianKernels median_kernels = {median_row<3>, median_row<5>, middle_ranks};

}  // namespace vyn::VYN_ISA
