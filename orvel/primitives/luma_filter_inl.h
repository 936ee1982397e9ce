// The six-tap half-sample filter of H.264 luma interpolation (taps 1 -5 20 20 -5 1) in 16-bit lanes.
// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_LUMA_FILTER_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_LUMA_FILTER_INL_H_
#undef ORVEL_PRIMITIVES_LUMA_FILTER_INL_H_
#else
#define ORVEL_PRIMITIVES_LUMA_FILTER_INL_H_
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// The filter's sum over six samples, -2550 .. 10710; outer, middle and inner are the sums of the pairs of samples that
/// share a tap.
template <class V16>
HWY_INLINE V16 sixTapSum(V16 outer, V16 middle, V16 inner) {
    const V16 five = hn::Sub(hn::ShiftLeft<2>(inner), middle);
    return hn::Add(hn::Add(outer, five), hn::ShiftLeft<2>(five));
}

/// The filter's sum over samples at p, p + step, .. p + 5 * step, a lane each.
template <class D16>
HWY_INLINE hn::Vec<D16> sixTapSum(D16 d16, const std::uint8_t* p, std::ptrdiff_t step) {
    const hn::Rebind<std::uint8_t, D16> d8;
    const auto sample = [&](int i) HWY_ATTR { return hn::PromoteTo(d16, hn::LoadU(d8, p + i * step)); };
    return sixTapSum(hn::Add(sample(0), sample(5)), hn::Add(sample(1), sample(4)), hn::Add(sample(2), sample(3)));
}

/// (sum + 16) >> 5, the half sample of one filter where 0 .. 255 holds it.
template <class V16>
HWY_INLINE V16 halfSampleUnclipped(V16 sum) {
    const hn::DFromV<V16> d16;
    return hn::ShiftRight<5>(hn::Add(sum, hn::Set(d16, std::int16_t{16})));
}

template <class D16, class V16 = hn::Vec<D16>>
HWY_INLINE hn::Vec<hn::Rebind<std::uint8_t, D16>> halfSample(D16, V16 sum) {
    return hn::DemoteTo(hn::Rebind<std::uint8_t, D16>(), halfSampleUnclipped(sum));
}

/// The half sample between four others: (sum + 512) >> 10 of the six-tap sum over unrounded sums, given as pairs like
/// in sixTapSum(), where 0 .. 255 holds it; outside, a value on the same side. The sum is outer - 5 * middle + 20 *
/// inner; its sixteenth comes of nested floors, which lose nothing. Only the addition that saturates can leave 16 bits,
/// and the sample is then outside in any case.
template <class V16>
HWY_INLINE V16 centreSampleUnclipped(V16 outer, V16 middle, V16 inner) {
    const hn::DFromV<V16> d16;
    const V16 quarter = hn::ShiftRight<2>(hn::Sub(outer, middle));
    const V16 sixteenth = hn::ShiftRight<2>(hn::SaturatedAdd(hn::Sub(quarter, middle), inner));
    return hn::ShiftRight<6>(hn::Add(hn::Add(sixteenth, inner), hn::Set(d16, std::int16_t{32})));
}

template <class D16, class V16 = hn::Vec<D16>>
HWY_INLINE hn::Vec<hn::Rebind<std::uint8_t, D16>> centreSample(D16, V16 outer, V16 middle, V16 inner) {
    return hn::DemoteTo(hn::Rebind<std::uint8_t, D16>(), centreSampleUnclipped(outer, middle, inner));
}

/// The same from six rows of sums, step values apart, the first at p.
template <class D16>
HWY_INLINE hn::Vec<hn::Rebind<std::uint8_t, D16>> centreSample(D16 d16, const std::int16_t* p, std::ptrdiff_t step) {
    const auto sum = [&](int i) HWY_ATTR { return hn::LoadU(d16, p + i * step); };
    return centreSample(d16, hn::Add(sum(0), sum(5)), hn::Add(sum(1), sum(4)), hn::Add(sum(2), sum(3)));
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
