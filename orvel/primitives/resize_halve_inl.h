// 8-bit planes to half the size both ways by area averaging or linear interpolation: the two taps are 8192 each, and
// the two roundings of the general passes come to (a + b + c + d + 2) >> 2, for the intermediate 32 * (a + c) is exact.
// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_RESIZE_HALVE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_RESIZE_HALVE_INL_H_
#undef ORVEL_PRIMITIVES_RESIZE_HALVE_INL_H_
#else
#define ORVEL_PRIMITIVES_RESIZE_HALVE_INL_H_
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// width destination samples out of 2 * width samples of each of two rows.
HWY_INLINE void halveRow(const std::uint8_t* upper, const std::uint8_t* lower, int width, std::uint8_t* out) {
    int x = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::CappedTag<std::uint8_t, 32> d8;
    const hn::Repartition<std::uint16_t, decltype(d8)> du16;
    const hn::Repartition<std::int16_t, decltype(d8)> d16;
    const hn::Rebind<std::uint8_t, decltype(d16)> dOut;
    const auto low = hn::Set(du16, std::uint16_t{255}), two = hn::Set(du16, std::uint16_t{2});
    const auto neighbours = [&](const std::uint8_t* row) HWY_ATTR {
        const auto v = hn::BitCast(du16, hn::LoadU(d8, row));
        return hn::Add(hn::And(v, low), hn::ShiftRight<8>(v));
    };
    const int n = int(hn::Lanes(d16));
    for (; x + n <= width; x += n) {
        const auto sum = hn::Add(hn::Add(neighbours(upper + 2 * x), neighbours(lower + 2 * x)), two);
        hn::StoreU(hn::DemoteTo(dOut, hn::BitCast(d16, hn::ShiftRight<2>(sum))), dOut, out + x);
    }
#endif
    for (; x < width; ++x)
        out[x] =
            static_cast<std::uint8_t>((upper[2 * x] + upper[2 * x + 1] + lower[2 * x] + lower[2 * x + 1] + 2) >> 2);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
