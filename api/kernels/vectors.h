#pragma once

#include <cstddef>
#include <cstdint>
#if defined(__SSE2__)
#include <immintrin.h>
#endif

/// Vectors of the instruction set that a kernel file is being compiled for. For kernel files only:
/// everything is in the variant's own namespace and static, so that nothing compiled for a wide
/// instruction set can be linked into code for all machines. Kernels use lane-wise operations only,
/// so that the number of lanes never shows in the bits.
namespace vyn::VYN_ISA {

#if defined(__AVX512F__)
constexpr int lanes = 16;
#elif defined(__AVX2__)
constexpr int lanes = 8;
#else
constexpr int lanes = 4;
#endif

typedef float vfloat __attribute__((vector_size(4 * lanes)));
typedef std::int32_t vint __attribute__((vector_size(4 * lanes)));
typedef std::uint32_t vuint __attribute__((vector_size(4 * lanes)));
typedef std::uint8_t vbyte __attribute__((vector_size(lanes)));
/// Half as many lanes, of 64 and of 32 bits.
constexpr int half_lanes = lanes / 2;
typedef double vdouble __attribute__((vector_size(8 * half_lanes)));
typedef std::int64_t vlong __attribute__((vector_size(8 * half_lanes)));
typedef float vfloat_half __attribute__((vector_size(4 * half_lanes)));
typedef std::int32_t vint_half __attribute__((vector_size(4 * half_lanes)));

template <class Vector, class Element>
static inline Vector load(const Element* from) {
    Vector v;
    __builtin_memcpy(&v, from, sizeof v);
    return v;
}

template <class Vector, class Element>
static inline void store(Element* to, const Vector& v) {
    __builtin_memcpy(to, &v, sizeof v);
}

/// One number in all lanes. `vfloat{} + number` would cost an addition, because it makes 0 of -0.
static inline vfloat everywhere(float number) {
#if defined(__AVX512F__)
    return _mm512_set1_ps(number);
#elif defined(__AVX2__)
    return _mm256_set1_ps(number);
#elif defined(__SSE2__)
    return _mm_set1_ps(number);
#else
    vfloat v{};
    for (int i = 0; i < lanes; ++i)
        v[i] = number;
    return v;
#endif
}

static inline vfloat square_root(const vfloat& v) {
#if defined(__AVX512F__)
    return _mm512_maskz_sqrt_ps(0xffff, v);
#elif defined(__AVX2__)
    return _mm256_sqrt_ps(v);
#elif defined(__SSE2__)
    return _mm_sqrt_ps(v);
#else
    vfloat root{};
    for (int i = 0; i < lanes; ++i)
        root[i] = __builtin_sqrtf(v[i]);
    return root;
#endif
}

/// 0, 1, 2, ... as a vector of that type.
template <class Vector>
static inline Vector counting() {
    Vector v{};
    for (int i = 0; i < static_cast<int>(sizeof v / sizeof v[0]); ++i)
        v[i] = i;
    return v;
}

/// Lane numbers 0 to count - 1 as a pack.
template <int... numbers>
struct Lanes {};
template <int count, int... numbers>
struct LanesUpTo : LanesUpTo<count - 1, count - 1, numbers...> {};
template <int... numbers>
struct LanesUpTo<0, numbers...> {
    using type = Lanes<numbers...>;
};

/// `lanes` neighbours out of the pair (a, b), from number `first` on.
template <int first, int... k>
static inline vfloat neighbours(const vfloat& a, const vfloat& b, Lanes<k...>) {
    return __builtin_shufflevector(a, b, (first + k)...);
}

/// One vector of two halves.
template <class Whole, class Half>
static inline Whole joined(const Half& low, const Half& high) {
#if defined(__AVX512F__)
    return __builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
#elif defined(__AVX2__)
    return __builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7);
#else
    return __builtin_shufflevector(low, high, 0, 1, 2, 3);
#endif
}

/// Whole numbers as 64-bit floats. The compiler would convert them in quarters.
static inline vdouble widened(const vint_half& numbers) {
#if defined(__AVX512F__)
    return _mm512_maskz_cvtepi32_pd(0xff, reinterpret_cast<__m256i>(numbers));
#else
    return __builtin_convertvector(numbers, vdouble);
#endif
}

/// 32-bit floats as 64-bit ones, likewise.
static inline vdouble widened(const vfloat_half& numbers) {
#if defined(__AVX512F__)
    return _mm512_maskz_cvtps_pd(0xff, reinterpret_cast<__m256>(numbers));
#else
    return __builtin_convertvector(numbers, vdouble);
#endif
}

/// The lower or upper half of a vector.
static inline vfloat_half lower_half(const vfloat& v) {
#if defined(__AVX512F__)
    return __builtin_shufflevector(v, v, 0, 1, 2, 3, 4, 5, 6, 7);
#elif defined(__AVX2__)
    return __builtin_shufflevector(v, v, 0, 1, 2, 3);
#else
    return __builtin_shufflevector(v, v, 0, 1);
#endif
}
static inline vfloat_half upper_half(const vfloat& v) {
#if defined(__AVX512F__)
    return __builtin_shufflevector(v, v, 8, 9, 10, 11, 12, 13, 14, 15);
#elif defined(__AVX2__)
    return __builtin_shufflevector(v, v, 4, 5, 6, 7);
#else
    return __builtin_shufflevector(v, v, 2, 3);
#endif
}

/// Ends the use of wide registers, where the compiler does not see that narrow code comes next:
/// what they hold would make that wait for it, tenfold slower.
static inline void leave_wide() {
#if defined(__AVX__)
    _mm256_zeroupper();
#endif
}

/// True when some bit of the vector is set.
template <class Vector>
static inline bool any(const Vector& v) {
#if defined(__AVX512F__)
    return _mm512_test_epi32_mask(reinterpret_cast<__m512i>(v), reinterpret_cast<__m512i>(v)) != 0;
#elif defined(__AVX2__)
    return !_mm256_testz_si256(reinterpret_cast<__m256i>(v), reinterpret_cast<__m256i>(v));
#else
    std::int64_t found = 0;
    for (std::size_t i = 0; i < sizeof v / sizeof v[0]; ++i)
        found |= v[i];
    return found != 0;
#endif
}

#if defined(__AVX2__)
constexpr bool has_permutation = true;
#else
constexpr bool has_permutation = false;
#endif

/// Lanes of the pair (a, b) by their numbers, 0 to 2 * lanes - 1.
static inline vfloat permuted(const vfloat& a, const vfloat& b, const vint& numbers) {
#if defined(__AVX512F__)
    return _mm512_permutex2var_ps(a, reinterpret_cast<__m512i>(numbers), b);
#elif defined(__AVX2__)
    const __m256i order = reinterpret_cast<__m256i>(numbers);
    return numbers < lanes ? _mm256_permutevar8x32_ps(a, order)
                           : _mm256_permutevar8x32_ps(b, order);
#else
    vfloat picked{};
    for (int i = 0; i < lanes; ++i)
        picked[i] = numbers[i] < lanes ? a[numbers[i]] : b[numbers[i] - lanes];
    return picked;
#endif
}

static inline vint permuted(const vint& a, const vint& b, const vint& numbers) {
    return reinterpret_cast<vint>(
        permuted(reinterpret_cast<vfloat>(a), reinterpret_cast<vfloat>(b), numbers));
}

/// The table's entries with these numbers.
static inline vfloat gathered(const float* table, const vint& numbers) {
#if defined(__AVX512F__)
    return _mm512_mask_i32gather_ps(vfloat{}, 0xffff, reinterpret_cast<__m512i>(numbers), table, 4);
#else
    // no faster in one instruction, where there is one
    vfloat entries{};
    for (int i = 0; i < lanes; ++i)
        entries[i] = table[numbers[i]];
    return entries;
#endif
}

/// Of each four lanes two of a, from number `first` on, each followed by its like of b.
template <int first, int... k>
static inline vfloat interleaved(const vfloat& a, const vfloat& b, Lanes<k...>) {
    return __builtin_shufflevector(a, b, (k / 4 * 4 + first + k % 4 / 2 + k % 2 * lanes)...);
}

/// The four numbers from `offset` on at each of `lanes` places: vector k of `columns` gets the k-th
/// ones. Four times fewer loads than number by number, turned in registers.
static inline void load_quads(const float* const* places, std::ptrdiff_t offset,
                              vfloat (&columns)[4]) {
    // Part p of row k is that of place 4 p + k, so that the columns come in order.
    const auto row = [places, offset](int k) {
        const auto from = [&](int place) { return places[place + k] + offset; };
#if defined(__AVX512F__)
        __m512 v = _mm512_zextps128_ps512(_mm_loadu_ps(from(0)));
        v = _mm512_insertf32x4(v, _mm_loadu_ps(from(4)), 1);
        v = _mm512_insertf32x4(v, _mm_loadu_ps(from(8)), 2);
        return vfloat(_mm512_insertf32x4(v, _mm_loadu_ps(from(12)), 3));
#elif defined(__AVX2__)
        return vfloat(_mm256_loadu2_m128(from(4), from(0)));
#else
        return load<vfloat>(from(0));
#endif
    };
    constexpr LanesUpTo<lanes>::type all{};
    const vfloat a = row(0);
    const vfloat b = row(1);
    const vfloat c = row(2);
    const vfloat d = row(3);
    const vfloat ac = interleaved<0>(a, c, all);
    const vfloat bd = interleaved<0>(b, d, all);
    const vfloat ac_last = interleaved<2>(a, c, all);
    const vfloat bd_last = interleaved<2>(b, d, all);
    columns[0] = interleaved<0>(ac, bd, all);
    columns[1] = interleaved<2>(ac, bd, all);
    columns[2] = interleaved<0>(ac_last, bd_last, all);
    columns[3] = interleaved<2>(ac_last, bd_last, all);
}

/// Bytes as 32-bit numbers, and back (0 to 255). The compiler would take them one by one.
static inline vint load_bytes(const std::uint8_t* from) {
#if defined(__AVX512F__)
    return reinterpret_cast<vint>(_mm512_maskz_cvtepu8_epi32(
        0xffff, _mm_loadu_si128(reinterpret_cast<const __m128i*>(from))));
#elif defined(__AVX2__)
    return reinterpret_cast<vint>(
        _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from))));
#elif defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    const __m128i bytes = _mm_cvtsi32_si128(load<std::int32_t>(from));
    return reinterpret_cast<vint>(_mm_unpacklo_epi16(_mm_unpacklo_epi8(bytes, zero), zero));
#else
    return __builtin_convertvector(load<vbyte>(from), vint);
#endif
}

static inline void store_bytes(std::uint8_t* to, const vint& numbers) {
#if defined(__AVX512F__)
    store(to, _mm512_maskz_cvtepi32_epi8(0xffff, reinterpret_cast<__m512i>(numbers)));
#elif defined(__AVX2__)
    const __m256i whole = reinterpret_cast<__m256i>(numbers);
    const __m128i words =
        _mm_packus_epi32(_mm256_castsi256_si128(whole), _mm256_extracti128_si256(whole, 1));
    store(to, _mm_cvtsi128_si64(_mm_packus_epi16(words, words)));
#elif defined(__SSE2__)
    const __m128i whole = reinterpret_cast<__m128i>(numbers);
    const __m128i words = _mm_packs_epi32(whole, whole);
    store(to, _mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
#else
    store(to, __builtin_convertvector(numbers, vbyte));
#endif
}

}  // namespace vyn::VYN_ISA
