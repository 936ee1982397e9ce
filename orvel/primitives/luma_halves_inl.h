// H.264's half samples of two rows of 8 samples at once, where vectors are long enough: each half of a vector holds
// one. Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_LUMA_HALVES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_LUMA_HALVES_INL_H_
#undef ORVEL_PRIMITIVES_LUMA_HALVES_INL_H_
#else
#define ORVEL_PRIMITIVES_LUMA_HALVES_INL_H_
#endif

#include <hwy/highway.h>

#include "orvel/primitives/byte_products_inl.h"
#include "orvel/primitives/luma_filter_inl.h"

#if HWY_TARGET != HWY_SCALAR
HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

using D8 = hn::CappedTag<std::uint8_t, ORVEL_BYTE_PRODUCTS ? 32 : 16>;
using D8x16 = hn::Full128<std::uint8_t>;
using D8Signed = hn::Repartition<std::int8_t, D8>;
using D16 = hn::Repartition<std::int16_t, D8>;
using V8 = hn::Vec<D8>;
using V16 = hn::Vec<D16>;
constexpr bool pairAtOnce = hn::MaxLanes(D8()) == 32;

/// A vector of those halves; just the lower one where vectors are short.
template <class D>
HWY_INLINE hn::Vec<D> fromHalves(D d, hn::Vec<D8x16> lower, hn::Vec<D8x16> upper) {
    if constexpr (pairAtOnce)
        return hn::Combine(d, upper, lower);
    else
        return lower;
}

/// Either half, 128 bits; the whole vector where vectors are short.
template <class V, class D = hn::Full128<hn::TFromV<V>>>
HWY_INLINE hn::Vec<D> lowerHalf(V v) {
    if constexpr (pairAtOnce)
        return hn::LowerHalf(D(), v);
    else
        return v;
}
template <class V, class D = hn::Full128<hn::TFromV<V>>>
HWY_INLINE hn::Vec<D> upperHalf(V v) {
    if constexpr (pairAtOnce)
        return hn::UpperHalf(D(), v);
    else
        return v;
}

/// 16 samples of each row: from `at` on, and from `at + apart` on.
HWY_INLINE V8 loadSamples(const std::uint8_t* at, std::ptrdiff_t apart) {
    return fromHalves(D8(), hn::LoadU(D8x16(), at), hn::LoadU(D8x16(), at + apart));
}

/// The filter's sums; the arguments hold samples 0 and 1, 2 and 3, 4 and 5 of the six side by side.
HWY_INLINE V16 sixTapSumOfPairs(V8 first, V8 middle, V8 last) {
    const hn::Repartition<std::uint16_t, D8> d;
    const auto weights = [d](int low, int high) HWY_ATTR {
        return hn::BitCast(D8Signed(), hn::Set(d, static_cast<std::uint16_t>((high & 255) << 8 | (low & 255))));
    };
    const V16 ends = hn::Add(sumPairProducts(first, weights(1, -5)), sumPairProducts(last, weights(-5, 1)));
    return hn::Add(ends, sumPairProducts(middle, weights(20, 20)));
}

/// The filter along a row: the first sum is over the first six samples, and so on.
HWY_INLINE V16 sumsAlongRow(V8 samples) {
    HWY_ALIGN static constexpr std::uint8_t neighbours[32] = {0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8,
                                                              0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8};
    const V8 pairs = hn::Load(D8(), neighbours);
    const auto from = [&](int i) HWY_ATTR {
        return hn::TableLookupBytes(samples, hn::Add(pairs, hn::Set(D8(), static_cast<std::uint8_t>(i))));
    };
    return sixTapSumOfPairs(from(0), from(2), from(4));
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // HWY_TARGET != HWY_SCALAR
#endif  // per-target include guard
