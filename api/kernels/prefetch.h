#pragma once

#include "api/kernels/filter_kernels.h"

/// Passes over an image are bound by the memory, and the hardware's own prefetch starts anew with
/// every row and every page. For kernel files only, like vectors.h.
namespace vyn::VYN_ISA {

enum class Use { no, yes };

/// Brings 64 pixels of a row that is read (or written) soon into the cache.
template <Use writing, class Row>
static inline void fetch_chunk(const Row& row, int x) {
    constexpr int line = 64 / sizeof(float);
    for (int i = 0; i < chunk::pixels; i += line)
        __builtin_prefetch(row.value + x + i, writing == Use::yes);
    __builtin_prefetch(row.mask + x, writing == Use::yes);
}

/// Brings the pixels `ahead` of x into the cache: of the same row or of the next, which follows in
/// memory.
template <Use writing, class Row>
static inline void fetch_ahead(const Row& row, int x) {
    constexpr int ahead = 512;
    constexpr int line = 64;
    __builtin_prefetch(row.value + x + ahead, writing == Use::yes);
    if (x % line == 0) __builtin_prefetch(row.mask + x + ahead, writing == Use::yes);
}

}  // namespace vyn::VYN_ISA
