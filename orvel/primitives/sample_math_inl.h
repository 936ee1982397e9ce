// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_SAMPLE_MATH_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_SAMPLE_MATH_INL_H_
#undef ORVEL_PRIMITIVES_SAMPLE_MATH_INL_H_
#else
#define ORVEL_PRIMITIVES_SAMPLE_MATH_INL_H_
#endif

#include <hwy/highway.h>

#include <cstdint>

// Arithmetic on vectors of unsigned samples that never leaves their width.

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// (a + b) >> 1. The instruction at hand rounds up; on complements that is down.
template <class V>
HWY_INLINE V floorMean(V a, V b) {
    return hn::Not(hn::AverageRound(hn::Not(a), hn::Not(b)));
}

/// (2 centre + a + b) >> 2, which is floorMean(centre, floorMean(a, b)) without turning complements back on the way.
template <class V>
HWY_INLINE V triangleFloorMean(V centre, V a, V b) {
    return hn::Not(hn::AverageRound(hn::Not(centre), hn::AverageRound(hn::Not(a), hn::Not(b))));
}

/// |a - b|: one of the two saturating differences is zero, the other is the answer.
template <class V>
HWY_INLINE V absDifference(V a, V b) {
    return hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a));
}

/// yes where test is negative, else no; on bytes. Highway's own takes a test of all ones or none on some targets.
template <class VI, class V>
HWY_INLINE V ifNegative(VI test, V yes, V no) {
    const hn::DFromV<VI> di;
    const hn::DFromV<V> d;
#if HWY_TARGET == HWY_SSSE3
    test = hn::BroadcastSignBit(test);
#endif
    return hn::BitCast(d, hn::IfNegativeThenElse(test, hn::BitCast(di, yes), hn::BitCast(di, no)));
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
