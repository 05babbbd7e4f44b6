#pragma once

#include "api/kernels/filter_kernels.h"
#include "api/kernels/vectors.h"

/// What all filter kernels do with a result. For kernel files only, like vectors.h.
namespace vyn::VYN_ISA {

enum class Use { no, yes };

/// Brings 64 pixels of a row that is read (or written) soon into the cache. A pass over an image is
/// bound by the memory otherwise: the hardware's own prefetch starts anew with every row.
template <Use writing, class Row>
static inline void fetch_chunk(const Row& row, int x) {
    constexpr int line = 64 / sizeof(float);
    for (int i = 0; i < chunk::pixels; i += line)
        __builtin_prefetch(row.value + x + i, writing == Use::yes);
    __builtin_prefetch(row.mask + x, writing == Use::yes);
}

static inline vint visited(const FilterRow& row, int x) {
    const vint valid = load_bytes(row.source.mask + x) == 0;
    const vint visit = (valid & row.rule.visit_valid) | (~valid & row.rule.visit_excluded);
    return row.region ? visit & (load_bytes(row.region + x) != 0) : visit;
}

/// Visited pixels become the value, or excluded where `filled` is not set.
static inline void finish(const FilterRow& row, int x, const vint& visit, const vint& filled,
                          const vfloat& value) {
    const vint mask = load_bytes(row.source.mask + x);
    const vint changed = visit & filled;
    const vint lost = visit & ~filled & (mask == 0);
    store(row.out.value + x, changed ? value : load<vfloat>(row.source.value + x));
    store_bytes(row.out.mask + x, changed ? vint{} : mask | (lost & 1));
}

}  // namespace vyn::VYN_ISA
