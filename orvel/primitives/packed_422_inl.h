// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_PACKED_422_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_PACKED_422_INL_H_
#undef ORVEL_PRIMITIVES_PACKED_422_INL_H_
#else
#define ORVEL_PRIMITIVES_PACKED_422_INL_H_
#endif

#include <array>

#include <hwy/highway.h>

#include "orvel/primitives/packed_422.h"
#include "orvel/primitives/row_loop_inl.h"
#include "orvel/primitives/stores_inl.h"

// Taking packed 4:2:2 rows apart and putting them together in registers. Everything counts in pixel pairs: a vector d
// of N byte lanes serves N pairs, that is 4N packed bytes, 2N luma and N + N chroma samples. The functions hold for N =
// 1 as well, so that forEachRun over the pairs of a row finishes it without code of its own.

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

/// Lanes 0, 2, 4 .. of lo, then those of hi.
template <class D>
HWY_INLINE hn::Vec<D> evenLanes(D d, hn::Vec<D> hi, hn::Vec<D> lo) {
#if HWY_TARGET != HWY_SCALAR
    if constexpr (hn::MaxLanes(D()) > 1) return hn::ConcatEven(d, hi, lo);
#endif
    (void)d, (void)hi;
    return lo;
}

/// Lanes 1, 3, 5 .. of lo, then those of hi.
template <class D>
HWY_INLINE hn::Vec<D> oddLanes(D d, hn::Vec<D> hi, hn::Vec<D> lo) {
#if HWY_TARGET != HWY_SCALAR
    if constexpr (hn::MaxLanes(D()) > 1) return hn::ConcatOdd(d, hi, lo);
#endif
    (void)d, (void)lo;
    return hi;
}

template <class D>
struct VectorPair {
    hn::Vec<D> lo, hi;
};

/// a0 b0 a1 b1 .. over two vectors.
template <class D>
HWY_INLINE VectorPair<D> interleaved(D d, hn::Vec<D> a, hn::Vec<D> b) {
#if HWY_TARGET != HWY_SCALAR
    if constexpr (hn::MaxLanes(D()) > 32) {  // four blocks: each half by itself
        const hn::Half<D> half;
        const auto lower = interleaved(half, hn::LowerHalf(half, a), hn::LowerHalf(half, b));
        const auto upper = interleaved(half, hn::UpperHalf(half, a), hn::UpperHalf(half, b));
        return {hn::Combine(d, lower.hi, lower.lo), hn::Combine(d, upper.hi, upper.lo)};
    } else if constexpr (hn::MaxLanes(D()) > 1) {
        const auto lo = hn::InterleaveLower(d, a, b), hi = hn::InterleaveUpper(d, a, b);
        if constexpr (hn::MaxLanes(D()) <= 16) {
            return {lo, hi};
        } else {  // interleaving stays within blocks of 16 bytes
            return {hn::ConcatLowerLower(d, hi, lo), hn::ConcatUpperUpper(d, hi, lo)};
        }
    }
#endif
    (void)d;
    return {a, b};
}

/// Lane numbers that bring lane i of every block of four together: 0 4 8 .. 1 5 9 ..
template <std::size_t blocks>
inline constexpr auto acrossBlocks = [] {
    std::array<std::int32_t, 4 * blocks> order{};
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = static_cast<std::int32_t>(i % blocks * 4 + i / blocks);
    return order;
}();

/// N pixel pairs taken apart: 2N luma samples in order, and their chroma in an order that storeChroma knows.
template <class D>
struct SplitPairs {
    hn::Vec<D> luma0, luma1, chroma0, chroma1;
};

/// Takes the 4N bytes at p apart.
template <PackedLayout layout, class D>
HWY_INLINE SplitPairs<D> loadSplit(D d, const std::uint8_t* p) {
    const std::size_t n = hn::Lanes(d);
    const auto v0 = hn::LoadU(d, p), v1 = hn::LoadU(d, p + n), v2 = hn::LoadU(d, p + 2 * n),
               v3 = hn::LoadU(d, p + 3 * n);
    constexpr bool lumaIsOdd = layout == PackedLayout::uyvy;
#if HWY_TARGET != HWY_SCALAR
    if constexpr (hn::MaxLanes(D()) >= 16) {
        // Eight luma, four Cb and four Cr samples in each block of 16 bytes.
        alignas(16) static constexpr std::uint8_t order[2][16] = {
            {1, 3, 5, 7, 9, 11, 13, 15, 0, 4, 8, 12, 2, 6, 10, 14},
            {0, 2, 4, 6, 8, 10, 12, 14, 1, 5, 9, 13, 3, 7, 11, 15}};
        const auto table = hn::LoadDup128(d, order[lumaIsOdd ? 0 : 1]);
        const hn::Repartition<std::uint32_t, D> d32;
        const hn::Repartition<std::uint64_t, D> d64;
        const auto g0 = hn::TableLookupBytes(v0, table), g1 = hn::TableLookupBytes(v1, table);
        const auto g2 = hn::TableLookupBytes(v2, table), g3 = hn::TableLookupBytes(v3, table);
        return {hn::BitCast(d, hn::ConcatEven(d64, hn::BitCast(d64, g1), hn::BitCast(d64, g0))),
                hn::BitCast(d, hn::ConcatEven(d64, hn::BitCast(d64, g3), hn::BitCast(d64, g2))),
                hn::BitCast(d, hn::InterleaveUpper(d32, hn::BitCast(d32, g0), hn::BitCast(d32, g1))),
                hn::BitCast(d, hn::InterleaveUpper(d32, hn::BitCast(d32, g2), hn::BitCast(d32, g3)))};
    }
#endif
    if constexpr (lumaIsOdd)
        return {oddLanes(d, v1, v0), oddLanes(d, v3, v2), evenLanes(d, v1, v0), evenLanes(d, v3, v2)};
    else
        return {evenLanes(d, v1, v0), evenLanes(d, v3, v2), oddLanes(d, v1, v0), oddLanes(d, v3, v2)};
}

/// Stores the 2N luma samples of the pairs.
template <Stores stores, class D>
HWY_INLINE void storeLuma(D d, const SplitPairs<D>& pairs, std::uint8_t* y) {
    put<stores>(pairs.luma0, d, y);
    put<stores>(pairs.luma1, d, y + hn::Lanes(d));
}

/// Stores N Cb and N Cr samples; chroma0 and chroma1 are those of loadSplit, or made of several such lane by lane.
template <Stores stores, class D>
HWY_INLINE void storeChroma(D d, hn::Vec<D> chroma0, hn::Vec<D> chroma1, std::uint8_t* cb, std::uint8_t* cr) {
#if HWY_TARGET != HWY_SCALAR
    if constexpr (hn::MaxLanes(D()) >= 16) {
        const hn::Repartition<std::uint32_t, D> d32;
        const hn::Repartition<std::uint64_t, D> d64;
        const auto lo = hn::BitCast(d64, chroma0), hi = hn::BitCast(d64, chroma1);
        const auto blue = hn::BitCast(d32, hn::InterleaveLower(d64, lo, hi));
        const auto red = hn::BitCast(d32, hn::InterleaveUpper(d64, lo, hi));
        if constexpr (hn::MaxLanes(D()) == 16) {
            put<stores>(hn::BitCast(d, blue), d, cb);
            put<stores>(hn::BitCast(d, red), d, cr);
        } else {
            const auto order = hn::SetTableIndices(d32, acrossBlocks<hn::MaxLanes(D()) / 16>.data());
            put<stores>(hn::BitCast(d, hn::TableLookupLanes(blue, order)), d, cb);
            put<stores>(hn::BitCast(d, hn::TableLookupLanes(red, order)), d, cr);
        }
        return;
    }
#endif
    hn::StoreU(evenLanes(d, chroma1, chroma0), d, cb);
    hn::StoreU(oddLanes(d, chroma1, chroma0), d, cr);
}

/// Packs 2N luma samples at y, Cb and Cr to 4N bytes at out.
template <PackedLayout layout, Stores stores, class D>
HWY_INLINE void storePacked(D d, const std::uint8_t* y, hn::Vec<D> cb, hn::Vec<D> cr, std::uint8_t* out) {
    const std::size_t n = hn::Lanes(d);
    const auto chroma = interleaved(d, cb, cr);
    const auto store = [=](auto luma, auto color, std::uint8_t* to) HWY_ATTR {
        const auto bytes = layout == PackedLayout::uyvy ? interleaved(d, color, luma) : interleaved(d, luma, color);
        put<stores>(bytes.lo, d, to);
        put<stores>(bytes.hi, d, to + n);
    };
    store(hn::LoadU(d, y), chroma.lo, out);
    store(hn::LoadU(d, y + n), chroma.hi, out + 2 * n);
}

/// The last pixel of a row of odd width, which is no pair: its luma is kept, its chroma byte dropped.
template <PackedLayout layout>
HWY_INLINE void unpackOddPixel(const std::uint8_t* packed, std::uint8_t* y, int width) {
    if (width % 2 != 0) y[width - 1] = packed[2 * (width - 1) + (layout == PackedLayout::uyvy ? 1 : 0)];
}

/// The reverse: the pixel has one chroma byte, the place of Cb; it repeats the row's last Cb.
template <PackedLayout layout>
HWY_INLINE void packOddPixel(const std::uint8_t* y, std::uint8_t* packed, int width) {
    if (width % 2 == 0) return;
    constexpr int luma = layout == PackedLayout::uyvy ? 1 : 0;
    std::uint8_t* pixel = packed + 2 * (width - 1);
    pixel[1 - luma] = pixel[-3 - luma];
    pixel[luma] = y[width - 1];
}

/// Puts a whole row of width luma and width / 2 + width / 2 chroma samples together.
template <PackedLayout layout, Stores stores>
HWY_INLINE void packRow(const std::uint8_t* y, const std::uint8_t* cb, const std::uint8_t* cr, std::uint8_t* packed,
                        int width) {
    forEachRun<std::uint8_t, movingBytes<stores>>(width / 2, [=](auto d, int pair) HWY_ATTR {
        if constexpr (stores == Stores::streaming) {
            prefetchAhead(y + 2 * pair, 2 * hn::Lanes(d));
            prefetchAhead(cb + pair, hn::Lanes(d));
            prefetchAhead(cr + pair, hn::Lanes(d));
        }
        storePacked<layout, stores>(d, y + 2 * pair, hn::LoadU(d, cb + pair), hn::LoadU(d, cr + pair),
                                    packed + 4 * pair);
    });
    packOddPixel<layout>(y, packed, width);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
