#include "orvel/primitives/deinterlace_triangle.h"

#include <cstring>

#include "orvel/primitives/checks.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/deinterlace_triangle.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/row_loop_inl.h"
#include "orvel/primitives/sample_math_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

constexpr int upperEdge = 1, lowerEdge = 16;

/// Calls makeRow(above, centre, below, out, isEdge) for rows [first, last). To an edge row its neighbour stands on both
/// sides, so that both shares of the rest fall to it.
template <class T, class MakeRow>
HWY_INLINE void forEachTriple(PlaneView<const T> src, PlaneView<T> dst, int layout, int first, int last,
                              const MakeRow& makeRow) {
    for (int y = first; y < last; ++y) {
        const bool upper = y == 0 && (layout & upperEdge) != 0;
        const bool lower = y == dst.height - 1 && (layout & lowerEdge) != 0;
        makeRow(src.row(upper ? 1 : y - 1), src.row(y), src.row(lower ? y - 1 : y + 1), dst.row(y), upper || lower);
    }
}

/// Weights 1/4, 1/2, 1/4: truncating twice is truncating once.
template <class T>
HWY_INLINE void meanRows(PlaneView<const T> src, PlaneView<T> dst, int layout, int first, int last) {
    forEachTriple(src, dst, layout, first, last, [&](const T* above, const T* centre, const T* below, T* out, bool) {
        forEachRun<T>(dst.width, [=](auto d, int x) HWY_ATTR {
            const auto mean =
                triangleFloorMean(hn::LoadU(d, centre + x), hn::LoadU(d, above + x), hn::LoadU(d, below + x));
            hn::StoreU(mean, d, out + x);
        });
    });
}

/// s + ((256 - weight)(a + b - 2 s) >> 9) on words; rest is 2 (256 - weight). The shift is the high half of a product.
template <class V>
HWY_INLINE V towardsNeighbours(V above, V centre, V below, V rest) {
    const V distance = hn::Sub(hn::Sub(above, centre), hn::Sub(centre, below));
    return hn::Add(centre, hn::MulHigh(hn::ShiftLeft<6>(distance), rest));
}

void triangle8Rows(ConstViewU8 src, ViewU8 dst, std::uint32_t weight, int layout, int first, int last) {
    if (weight == 128) return meanRows(src, dst, layout, first, last);
    const auto rest = static_cast<std::int16_t>(2 * (256 - weight));
    using Row = const std::uint8_t*;
    forEachTriple(src, dst, layout, first, last, [&](Row above, Row centre, Row below, std::uint8_t* out, bool) {
        forEachRun<std::uint8_t>(dst.width, [=](auto d, int x) HWY_ATTR {
            const auto a = hn::LoadU(d, above + x), s = hn::LoadU(d, centre + x), b = hn::LoadU(d, below + x);
            if constexpr (hn::MaxLanes(d) == 1) {
                const hn::Rebind<std::int16_t, decltype(d)> d16;
                const auto word = [=](auto v) HWY_ATTR { return hn::PromoteTo(d16, v); };
                hn::StoreU(hn::DemoteTo(d, towardsNeighbours(word(a), word(s), word(b), hn::Set(d16, rest))), d,
                           out + x);
            } else {
                // Even and odd samples apart: no sample changes its place.
                const hn::RepartitionToWide<decltype(d)> du;
                const hn::RebindToSigned<decltype(du)> d16;
                const auto r = hn::Set(d16, rest);
                const auto even = [=](auto v) HWY_ATTR { return hn::And(hn::BitCast(d16, v), hn::Set(d16, 255)); };
                const auto odd = [=](auto v)
                                     HWY_ATTR { return hn::BitCast(d16, hn::ShiftRight<8>(hn::BitCast(du, v))); };
                const auto low = towardsNeighbours(even(a), even(s), even(b), r);
                const auto high = towardsNeighbours(odd(a), odd(s), odd(b), r);
                hn::StoreU(hn::BitCast(d, hn::Or(low, hn::ShiftLeft<8>(high))), d, out + x);
            }
        });
    });
}

void triangle16Rows(ConstViewU16 src, ViewU16 dst, std::uint32_t weight, int layout, int first, int last) {
    if (weight == 32768) return meanRows(src, dst, layout, first, last);
    using Row = const std::uint16_t*;
    const std::uint32_t rest = 65536 - weight, half = rest >> 1;
    forEachTriple(src, dst, layout, first, last, [&](Row above, Row centre, Row below, std::uint16_t* out, bool edge) {
        if (rest == 0) {  // the one centre weight that does not fit 16 bits
            std::memcpy(out, centre, std::size_t(dst.width) * sizeof *out);
            return;
        }
        const auto tapAbove = static_cast<std::uint16_t>(edge ? rest - half : half);
        const auto tapCentre = static_cast<std::uint16_t>(weight), tapBelow = static_cast<std::uint16_t>(half);
        forEachRun<std::uint16_t>(dst.width, [=](auto d, int x) HWY_ATTR {
            const auto a = hn::LoadU(d, above + x), s = hn::LoadU(d, centre + x), b = hn::LoadU(d, below + x);
            const auto ta = hn::Set(d, tapAbove), ts = hn::Set(d, tapCentre), tb = hn::Set(d, tapBelow);
            // High halves of the products, and what their low halves carry.
            const auto high = hn::Add(hn::Add(hn::MulHigh(a, ta), hn::MulHigh(b, tb)), hn::MulHigh(s, ts));
            const auto low1 = hn::Mul(a, ta), low2 = hn::Add(low1, hn::Mul(b, tb));
            const auto low3 = hn::Add(low2, hn::Mul(s, ts));
            const auto carries =
                hn::Add(hn::VecFromMask(d, hn::Lt(low2, low1)), hn::VecFromMask(d, hn::Lt(low3, low2)));
            hn::StoreU(hn::Sub(high, carries), d, out + x);
        });
    });
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {
HWY_EXPORT(triangle8Rows);
HWY_EXPORT(triangle16Rows);

namespace {

constexpr int minimumHeight = 3, layoutBits = 1 | 4 | 16;

template <class T>
Status check(const PlaneView<const T>& src, const PlaneView<T>& dst, std::uint32_t weight, int layout, int first,
             int last) {
    constexpr std::uint32_t one = sizeof(T) == 1 ? 256 : 65536;
    if (const Status fault = checkSameSize(dst, src); fault != Status::ok) return fault;
    if (dst.height < minimumHeight || !holdsBand(dst.height, first, last)) return Status::badSize;
    return weight <= one && (layout & layoutBits) != 0 ? Status::ok : Status::badArgument;
}

}  // namespace

Status deinterlaceTriangleRows(ConstViewU8 src, ViewU8 dst, std::uint32_t weight, int layout, int first,
                               int last) noexcept {
    if (const Status fault = check(src, dst, weight, layout, first, last); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(triangle8Rows)(src, dst, weight, layout, first, last);
    return Status::ok;
}

Status deinterlaceTriangleRows(ConstViewU16 src, ViewU16 dst, std::uint32_t weight, int layout, int first,
                               int last) noexcept {
    constexpr std::ptrdiff_t minimumStep = 3;
    if (const Status fault = check(src, dst, weight, layout, first, last); fault != Status::ok) return fault;
    if (src.step < minimumStep || dst.step < minimumStep) return Status::badArgument;
    HWY_DYNAMIC_DISPATCH(triangle16Rows)(src, dst, weight, layout, first, last);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
