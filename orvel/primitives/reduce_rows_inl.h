// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_REDUCE_ROWS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_REDUCE_ROWS_INL_H_
#undef ORVEL_PRIMITIVES_REDUCE_ROWS_INL_H_
#else
#define ORVEL_PRIMITIVES_REDUCE_ROWS_INL_H_
#endif

#include <algorithm>

#include <hwy/highway.h>

#include "orvel/primitives/packed_422_inl.h"

// Packed 4:2:2 to planar 4:2:0: two packed rows make two rows of luma and one of either chroma.

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

/// The two rows of a picture that share a chroma row.
struct RowPair {
    int first, second;
};

/// How the two lie in the picture.
enum class Pairing { neighbours, fieldRows };

/// The luma of a row alone.
template <PackedLayout layout>
HWY_INLINE void unpackLuma(const std::uint8_t* packed, std::uint8_t* y, int width) {
    forEachRun<std::uint8_t, movingBytes<Stores::cached>>(width / 2, [=](auto d, int pair) HWY_ATTR {
        storeLuma<Stores::cached>(d, loadSplit<layout>(d, packed + 4 * pair), y + 2 * pair);
    });
}

/// Makes chroma row k of the rows rowsOf(k), k in [0, count): mean(a, b) is the chroma between a of the first row and b
/// of the second one. Luma is copied.
///
/// In the cache, the first of two neighbouring rows gives its luma ahead: it is still in the nearest cache when its
/// chroma is taken, and fewer rows side by side run faster. Otherwise everything is made in one pass: past the cache
/// the next pair of rows is fetched meanwhile, and rows of fields are no sequence that a processor would foresee.
template <PackedLayout layout, Pairing pairing, class RowsOf, class Mean>
HWY_INLINE void reduceRows(int count, const RowsOf& rowsOf, const Mean& mean, const ConstViewU8& packed,
                           const ViewU8& y, const ViewU8& cb, const ViewU8& cr, Stores stores) {
    const auto rows = [&](auto how) HWY_ATTR {
        constexpr bool streaming = how() == Stores::streaming;
        constexpr bool lumaAhead = !streaming && pairing == Pairing::neighbours;
        for (int k = 0; k < count; ++k) {
            const RowPair pair = rowsOf(k), next = rowsOf(std::min(k + 1, count - 1));
            const std::uint8_t *in0 = packed.row(pair.first), *in1 = packed.row(pair.second);
            const std::uint8_t *next0 = packed.row(next.first), *next1 = packed.row(next.second);
            std::uint8_t *y0 = y.row(pair.first), *y1 = y.row(pair.second), *u = cb.row(k), *v = cr.row(k);
            if constexpr (lumaAhead) unpackLuma<layout>(in0, y0, y.width);
            constexpr std::size_t maxBytes = lumaAhead ? movingBytes<how()> : HWY_MAX_BYTES;
            forEachRun<std::uint8_t, maxBytes>(y.width / 2, [=](auto d, int x) HWY_ATTR {
                if constexpr (streaming) {
                    prefetchLines(next0 + 4 * x, 4 * hn::Lanes(d));
                    prefetchLines(next1 + 4 * x, 4 * hn::Lanes(d));
                }
                const auto a = loadSplit<layout>(d, in0 + 4 * x), b = loadSplit<layout>(d, in1 + 4 * x);
                if constexpr (!lumaAhead) storeLuma<how()>(d, a, y0 + 2 * x);
                storeLuma<how()>(d, b, y1 + 2 * x);
                storeChroma<how()>(d, mean(a.chroma0, b.chroma0), mean(a.chroma1, b.chroma1), u + x, v + x);
            });
            unpackOddPixel<layout>(in0, y0, y.width);
            unpackOddPixel<layout>(in1, y1, y.width);
        }
    };
    withStores(stores, rows, y, cb, cr);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
