// Compiled once per instruction set; see vyn_kernels in cmake/VynTargets.cmake.
#include "api/kernels/edge_kernels.h"

#include "api/kernels/vectors.h"

namespace vyn::VYN_ISA {

namespace {

bool take_known(ConstPixelRow source, int n, float* out, std::uint8_t* state) {
    vint lost{};
    for (int x = 0; x < n; x += lanes) {
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

inline Bytes known_at(const std::uint8_t* from) {
    return reinterpret_cast<Bytes>(load<Bytes>(from) == pixel_state::known);
}

int border(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below, int n,
           int* columns) {
    int count = 0;
    for (int x = 0; x < n; x += group) {
        const Bytes own = load<Bytes>(row + x);
        if (!any_byte(own)) continue;
        Bytes known_near{};
        for (int dx = -1; dx <= 1; ++dx)
            known_near |=
                known_at(above + x + dx) | known_at(row + x + dx) | known_at(below + x + dx);
        const Bytes found = known_near & own;
        if (!any_byte(found)) continue;
        for (int i = 0; i < group && x + i < n; ++i)
            if (found[i]) columns[count++] = x + i;
    }
    return count;
}

}  // namespace

extern const EdgeKernels edge_kernels;
const EdgeKernels edge_kernels = {take_known, border};

}  // namespace vyn::VYN_ISA
