#include "api/isa.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace vyn {

namespace {

Isa widest_isa() {
#ifdef VYN_HAVE_X86_VARIANTS
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl"))
        return Isa::avx512;
    if (__builtin_cpu_supports("avx2")) return Isa::avx2;
#endif
    return Isa::base;
}

}  // namespace

Isa active_isa() {
    static const Isa widest = widest_isa();
    const char* const wanted = std::getenv("VYNLITE_ISA");
    if (!wanted) return widest;
    const std::string_view name = wanted;
    if (name == "base") return Isa::base;
    if (name == "avx2") return std::min(widest, Isa::avx2);
    return widest;
}

}  // namespace vyn
