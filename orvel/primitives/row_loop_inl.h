// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_ROW_LOOP_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_ROW_LOOP_INL_H_
#undef ORVEL_PRIMITIVES_ROW_LOOP_INL_H_
#else
#define ORVEL_PRIMITIVES_ROW_LOOP_INL_H_
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// Calls body(d, x) for x = 0.. with whole vectors, then 8 lanes, then single samples.
template <class T, class Body>
HWY_INLINE void forEachRun(int width, const Body& body) {
    const hn::ScalableTag<T> full;
    const hn::CappedTag<T, 8> eight;
    const hn::CappedTag<T, 1> one;
    const int nFull = static_cast<int>(hn::Lanes(full)), nEight = static_cast<int>(hn::Lanes(eight));
    int x = 0;
    for (; x + nFull <= width; x += nFull) body(full, x);
    for (; x + nEight <= width; x += nEight) body(eight, x);
    for (; x < width; ++x) body(one, x);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
