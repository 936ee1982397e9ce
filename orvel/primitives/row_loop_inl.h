// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_ROW_LOOP_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_ROW_LOOP_INL_H_
#undef ORVEL_PRIMITIVES_ROW_LOOP_INL_H_
#else
#define ORVEL_PRIMITIVES_ROW_LOOP_INL_H_
#endif

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// Calls body(d, x) for x = 0.. with whole vectors of at most maxBytes, then 8 lanes, then single samples.
template <class T, std::size_t maxBytes = HWY_MAX_BYTES, class Body>
HWY_INLINE void forEachRun(int width, const Body& body) {
    const hn::CappedTag<T, maxBytes / sizeof(T)> full;
    const hn::CappedTag<T, 8> eight;
    const hn::CappedTag<T, 1> one;
    const int nFull = static_cast<int>(hn::Lanes(full)), nEight = static_cast<int>(hn::Lanes(eight));
    int x = 0;
    for (; x + nFull <= width; x += nFull) body(full, x);
    for (; x + nEight <= width; x += nEight) body(eight, x);
    for (; x < width; ++x) body(one, x);
}

/// Vectors that fill one cache line, the unit in which memory moves; 1 where there are no vectors.
template <class D>
inline constexpr int vectorsPerLine = [] {
    constexpr std::size_t bytes = hn::MaxLanes(D()) * sizeof(hn::TFromD<D>);
    return bytes >= 16 && bytes < 64 ? static_cast<int>(64 / bytes) : 1;
}();

/// Like forEachRun, but whole cache lines first: body(d, x, count) is called for `count` vectors from x on, count being
/// a std::integral_constant. Loads of a line before its stores, and stores that fill a line at once, run faster out of
/// the outer caches and memory.
template <class T, std::size_t maxBytes = HWY_MAX_BYTES, class Body>
HWY_INLINE void forEachLine(int width, const Body& body) {
    const hn::CappedTag<T, maxBytes / sizeof(T)> full;
    constexpr int count = vectorsPerLine<decltype(full)>;
    const int step = static_cast<int>(hn::Lanes(full)) * count;
    int x = 0;
    for (; x + step <= width; x += step) body(full, x, std::integral_constant<int, count>());
    forEachRun<T, maxBytes>(width - x,
                            [=](auto d, int rest) HWY_ATTR { body(d, x + rest, std::integral_constant<int, 1>()); });
}

/// Asks the cache for the lines of `bytes` bytes from p on, which needn't be there at all.
HWY_INLINE void prefetchLines(const std::uint8_t* p, std::size_t bytes) {
    for (std::size_t at = 0; at < bytes; at += 64)
        hwy::Prefetch(reinterpret_cast<const std::uint8_t*>(reinterpret_cast<std::uintptr_t>(p) + at));
}

/// The same for the bytes that a loop over rows in memory reads some turns after those at p: the processor's own
/// prefetching starts anew in each page, this bridges the gap.
HWY_INLINE void prefetchAhead(const std::uint8_t* p, std::size_t bytes) {
    constexpr std::uintptr_t distance = 2048;
    prefetchLines(reinterpret_cast<const std::uint8_t*>(reinterpret_cast<std::uintptr_t>(p) + distance), bytes);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
