// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_BYTE_PRODUCTS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_BYTE_PRODUCTS_INL_H_
#undef ORVEL_PRIMITIVES_BYTE_PRODUCTS_INL_H_
#else
#define ORVEL_PRIMITIVES_BYTE_PRODUCTS_INL_H_
#endif

#include <hwy/highway.h>

// Instructions of x86 that Highway does not offer, for vectors of 128 bits and more. Where ORVEL_BYTE_PRODUCTS is 0
// they take several each, and a kernel may have a better way to the same bytes.
#undef ORVEL_BYTE_PRODUCTS
#define ORVEL_BYTE_PRODUCTS \
    (HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_SSE4 || HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3)

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
using FullU8 = hn::Vec<hn::ScalableTag<std::uint8_t>>;

template <class V8>
using Words = hn::Vec<hn::Repartition<std::int16_t, hn::DFromV<V8>>>;
template <class V16>
using Bytes = hn::Vec<hn::Repartition<std::uint8_t, hn::DFromV<V16>>>;
template <class V16>
using SignedBytes = hn::Vec<hn::Repartition<std::int8_t, hn::DFromV<V16>>>;

/// In 16-bit lane i: a[2i] * b[2i] + a[2i + 1] * b[2i + 1], which must fit.
template <class V8, class V8Signed>
HWY_INLINE Words<V8> sumPairProducts(V8 a, V8Signed b) {
#if ORVEL_BYTE_PRODUCTS
    if constexpr (sizeof a == 16) return Words<V8>{_mm_maddubs_epi16(a.raw, b.raw)};
#if HWY_TARGET <= HWY_AVX2
    if constexpr (sizeof a == 32) return Words<V8>{_mm256_maddubs_epi16(a.raw, b.raw)};
#endif
#if HWY_TARGET <= HWY_AVX3
    if constexpr (sizeof a == 64) return Words<V8>{_mm512_maddubs_epi16(a.raw, b.raw)};
#endif
#else
    const hn::DFromV<Words<V8>> d16;
    const hn::RebindToUnsigned<decltype(d16)> u16;
    const auto samples = hn::BitCast(u16, a);
    const auto weights = hn::BitCast(d16, b);
    const auto even = hn::BitCast(d16, hn::And(samples, hn::Set(u16, 255)));
    const auto odd = hn::BitCast(d16, hn::ShiftRight<8>(samples));
    const auto evenWeights = hn::ShiftRight<8>(hn::ShiftLeft<8>(weights)), oddWeights = hn::ShiftRight<8>(weights);
    return hn::Add(hn::Mul(even, evenWeights), hn::Mul(odd, oddWeights));
#endif
}

/// The lanes of both vectors as bytes, saturated to 0 .. 255: in each 128-bit block those of lower, then those of
/// upper. Undoes InterleaveLower() and InterleaveUpper() with zero.
template <class V16>
HWY_INLINE Bytes<V16> packBlocks(V16 lower, V16 upper) {
#if ORVEL_BYTE_PRODUCTS
    if constexpr (sizeof lower == 16) return Bytes<V16>{_mm_packus_epi16(lower.raw, upper.raw)};
#if HWY_TARGET <= HWY_AVX2
    if constexpr (sizeof lower == 32) return Bytes<V16>{_mm256_packus_epi16(lower.raw, upper.raw)};
#endif
#if HWY_TARGET <= HWY_AVX3
    if constexpr (sizeof lower == 64) return Bytes<V16>{_mm512_packus_epi16(lower.raw, upper.raw)};
#endif
#else
    static_assert(sizeof lower == 16, "longer vectors would need their blocks put in order");
    const hn::Full64<std::uint8_t> half;
    return hn::Combine(hn::Full128<std::uint8_t>(), hn::DemoteTo(half, upper), hn::DemoteTo(half, lower));
#endif
}

/// The same saturated to -128 .. 127.
template <class V16>
HWY_INLINE SignedBytes<V16> packSignedBlocks(V16 lower, V16 upper) {
#if ORVEL_BYTE_PRODUCTS
    if constexpr (sizeof lower == 16) return SignedBytes<V16>{_mm_packs_epi16(lower.raw, upper.raw)};
#if HWY_TARGET <= HWY_AVX2
    if constexpr (sizeof lower == 32) return SignedBytes<V16>{_mm256_packs_epi16(lower.raw, upper.raw)};
#endif
#if HWY_TARGET <= HWY_AVX3
    if constexpr (sizeof lower == 64) return SignedBytes<V16>{_mm512_packs_epi16(lower.raw, upper.raw)};
#endif
#else
    static_assert(sizeof lower == 16, "longer vectors would need their blocks put in order");
    const hn::Full64<std::int8_t> half;
    return hn::Combine(hn::Full128<std::int8_t>(), hn::DemoteTo(half, upper), hn::DemoteTo(half, lower));
#endif
}
#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
