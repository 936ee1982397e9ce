// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_BYTE_DIFFERENCES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_BYTE_DIFFERENCES_INL_H_
#undef ORVEL_PRIMITIVES_BYTE_DIFFERENCES_INL_H_
#else
#define ORVEL_PRIMITIVES_BYTE_DIFFERENCES_INL_H_
#endif

#include <hwy/highway.h>
#include "orvel/primitives/sample_math_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
/// In each 64-bit lane: the sum of |a - b| over its eight bytes. x86 has one instruction for it, which Highway only
/// offers against zero.
template <class V8>
HWY_INLINE auto sumsOf8Differences(V8 a, V8 b) {
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_SSSE3
    using V64 = decltype(hn::SumsOf8(a));
    if constexpr (sizeof(a.raw) == 16) return V64{_mm_sad_epu8(a.raw, b.raw)};
#if HWY_TARGET <= HWY_AVX2
    else if constexpr (sizeof(a.raw) == 32)
        return V64{_mm256_sad_epu8(a.raw, b.raw)};
#endif
#if HWY_TARGET <= HWY_AVX3
    else if constexpr (sizeof(a.raw) == 64)
        return V64{_mm512_sad_epu8(a.raw, b.raw)};
#endif
    else
        return hn::SumsOf8(absDifference(a, b));
#else
    return hn::SumsOf8(absDifference(a, b));
#endif
}
#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
