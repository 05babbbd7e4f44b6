// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "api/kernels/edge_kernels.h"

#include "api/kernels/prefetch.h"
#include "api/kernels/vectors.h"

namespace vyn::VYN_ISA {

namespace {

bool take_known(ConstPixelRow source, int n, float* out, std::uint8_t* state) {
    vint lost{};
    const PixelRow target{out, state};
    for (int x = 0; x < n; x += lanes) {
        fetch_ahead<Use::no>(source, x);
        fetch_ahead<Use::yes>(target, x);
        const vfloat value = load<vfloat>(source.value + x);
        const vint unknown = (load_bytes(source.mask + x) != 0) | (value * 0 != 0);
        store(out + x, unknown ? vfloat{} : value);
        store_bytes(state + x, unknown & pixel_state::unknown);
        if (x + lanes <= n)
            lost |= unknown;
        else
            for (int i = 0; x + i < n; ++i)
                lost[0] |= unknown[i];
    }
    return !any(lost);
}

constexpr int group = 4 * lanes;
typedef std::uint8_t Bytes __attribute__((vector_size(group)));

inline bool any_byte(const Bytes& bytes) {
    return any(reinterpret_cast<vint>(bytes));
}

/// Columns of the bytes that are not 0.
inline int* add_columns(const Bytes& found, int x, int n, int* columns) {
    constexpr int word = 8;
    std::uint8_t bytes[group];
    store(bytes, found);
    for (int first = 0; first < group; first += word) {
        if (load<std::uint64_t>(bytes + first) == 0) continue;
        for (int i = first; i < first + word && x + i < n; ++i)
            if (bytes[i]) *columns++ = x + i;
    }
    return columns;
}

int border(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below, int n,
           int* columns) {
    static_assert(pixel_state::known == 0 && pixel_state::unknown == 255);
    int* end = columns;
    for (int x = 0; x < n; x += group) {
        __builtin_prefetch(below + (below - row) + x);
        const Bytes own = load<Bytes>(row + x);
        if (!any_byte(own)) continue;
        Bytes all_unknown = own;
        for (int dx = -1; dx <= 1; ++dx)
            all_unknown &= load<Bytes>(above + x + dx) & load<Bytes>(row + x + dx) &
                           load<Bytes>(below + x + dx);
        const Bytes found = own & ~all_unknown;
        if (any_byte(found)) end = add_columns(found, x, n, end);
    }
    return static_cast<int>(end - columns);
}

}  // namespace

extern const EdgeKernels edge_kernels;
const EdgeKernels edge_kernels = {take_known, border};

}  // namespace vyn::VYN_ISA
