#pragma once

#include "api/kernels/filter_kernels.h"
#include "api/kernels/prefetch.h"
#include "api/kernels/vectors.h"

/// What all filter kernels do with a result. For kernel files only, like vectors.h.
namespace vyn::VYN_ISA {

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
