// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_BYTE_PRODUCTS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_BYTE_PRODUCTS_INL_H_
#undef ORVEL_PRIMITIVES_BYTE_PRODUCTS_INL_H_
#else
#define ORVEL_PRIMITIVES_BYTE_PRODUCTS_INL_H_
#endif

#include <hwy/highway.h>

// Two instructions of x86 that Highway does not offer, for vectors of the full width. Where ORVEL_BYTE_PRODUCTS is 0 a
// kernel takes another way to the same bytes.
#undef ORVEL_BYTE_PRODUCTS
#define ORVEL_BYTE_PRODUCTS \
    (HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_SSE4 || HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3)

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if ORVEL_BYTE_PRODUCTS
using FullU8 = hn::Vec<hn::ScalableTag<std::uint8_t>>;
using FullI8 = hn::Vec<hn::ScalableTag<std::int8_t>>;
using FullI16 = hn::Vec<hn::ScalableTag<std::int16_t>>;

/// In 16-bit lane i: a[2i] * b[2i] + a[2i + 1] * b[2i + 1], saturated.
HWY_INLINE FullI16 sumPairProducts(FullU8 a, FullI8 b) {
#if HWY_TARGET == HWY_AVX3
    return FullI16{_mm512_maddubs_epi16(a.raw, b.raw)};
#elif HWY_TARGET == HWY_AVX2
    return FullI16{_mm256_maddubs_epi16(a.raw, b.raw)};
#else
    return FullI16{_mm_maddubs_epi16(a.raw, b.raw)};
#endif
}

/// The lanes of both vectors as bytes, saturated to 0 .. 255: in each 128-bit block those of lower, then those of
/// upper. Undoes InterleaveLower() and InterleaveUpper() with zero.
HWY_INLINE FullU8 packBlocks(FullI16 lower, FullI16 upper) {
#if HWY_TARGET == HWY_AVX3
    return FullU8{_mm512_packus_epi16(lower.raw, upper.raw)};
#elif HWY_TARGET == HWY_AVX2
    return FullU8{_mm256_packus_epi16(lower.raw, upper.raw)};
#else
    return FullU8{_mm_packus_epi16(lower.raw, upper.raw)};
#endif
}
#endif  // ORVEL_BYTE_PRODUCTS

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
