#pragma once

namespace vyn {

/// Instruction sets that the kernels are compiled for. Every one gives the same bits.
enum class Isa { base, avx2, avx512 };

/// The widest set that this processor has, or the narrower one that the environment variable
/// VYNLITE_ISA names (base, avx2 or avx512), by which tests compare the variants.
Isa active_isa();

/// The variant of a kernel table for the active instruction set.
template <class Table>
const Table& variant(const Table& base, const Table& avx2, const Table& avx512) {
    switch (active_isa()) {
        case Isa::avx512:
            return avx512;
        case Isa::avx2:
            return avx2;
        case Isa::base:
            break;
    }
    return base;
}

}  // namespace vyn

/// Declares a kernel table `Type name`, which each variant of a kernel file defines in its own
/// namespace, and the function `active_name()` that chooses among them. For files that are compiled
/// once; kernel files include nothing of this.
#ifdef VYN_HAVE_X86_VARIANTS
#define VYN_CHOOSE_KERNELS(Type, name)                                    \
    namespace isa_base {                                                  \
    extern const Type name;                                               \
    }                                                                     \
    namespace isa_avx2 {                                                  \
    extern const Type name;                                               \
    }                                                                     \
    namespace isa_avx512 {                                                \
    extern const Type name;                                               \
    }                                                                     \
    static const Type& active_##name() {                                  \
        return variant(isa_base::name, isa_avx2::name, isa_avx512::name); \
    }
#else
#define VYN_CHOOSE_KERNELS(Type, name)                                  \
    namespace isa_base {                                                \
    extern const Type name;                                             \
    }                                                                   \
    static const Type& active_##name() {                                \
        return variant(isa_base::name, isa_base::name, isa_base::name); \
    }
#endif
