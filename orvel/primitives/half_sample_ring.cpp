#include "orvel/primitives/half_sample_ring.h"

#include "orvel/primitives/clamped_window.h"
#include "orvel/primitives/interpolate_luma.h"
#include "orvel/primitives/sad.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/half_sample_ring.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/luma_filter_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

void ringSads(const std::uint8_t* cur, std::ptrdiff_t curStep, ConstViewU8 ref, int x, int y, std::int32_t* sads) {
    for (int i = 0; i < halfRingSize; ++i) {
        const int place = i < 4 ? i : i + 1;  // in a square of nine, the middle one left out
        std::uint8_t block[64];
        static_cast<void>(interpolateLuma(ref, x, y, 2 * (place % 3 - 1), 2 * (place / 3 - 1), {block, 8, 8, 8}));
        static_cast<void>(sad8x8(cur, curStep, block, 8, sads[i]));
    }
}

#else

// Half samples right of, below and right below the samples of a block make up the whole ring: the neighbours to the
// left are those one column before, the neighbours above those one row before. So 9 columns and 9 rows of each are
// made once, row by row, and compared on the way.

using D8x16 = hn::Full128<std::uint8_t>;
using D8x8 = hn::Full64<std::uint8_t>;
using D64x2 = hn::Full128<std::uint64_t>;
using D16x8 = hn::Full128<std::int16_t>;
using V8x16 = hn::Vec<D8x16>;
using V16x8 = hn::Vec<D16x8>;
using V64x2 = hn::Vec<D64x2>;

// Columns -1 .. 7 in one vector, or columns -1 .. 6 and 0 .. 7 one after the other.
using D16 = hn::CappedTag<std::int16_t, 16>;
using V16 = hn::Vec<D16>;
constexpr bool allColumnsAtOnce = hn::MaxLanes(D16()) == 16;

/// The last six rows that passed by.
template <class V>
struct LastSix {
    HWY_INLINE void push(V v) {
        for (int i = 0; i < 5; ++i) rows[i] = rows[i + 1];
        rows[5] = v;
    }
    HWY_INLINE V outer() const { return hn::Add(rows[0], rows[5]); }
    HWY_INLINE V middle() const { return hn::Add(rows[1], rows[4]); }
    HWY_INLINE V inner() const { return hn::Add(rows[2], rows[3]); }

    V rows[6];
};

/// The samples of two blocks side by side: those from column 0 of v on and those from column 1 on (where v has no more
/// than 8, the same block twice).
template <class V8>
HWY_INLINE V8x16 twoBlocks(V8 v) {
    const D64x2 d64;
    if constexpr (hn::MaxLanes(hn::DFromV<V8>()) == 16)
        return hn::BitCast(D8x16(), hn::InterleaveLower(d64, hn::BitCast(d64, v),
                                                        hn::BitCast(d64, hn::ShiftRightBytes<1>(D8x16(), v))));
    else
        return hn::Combine(D8x16(), v, v);
}

/// sums + |a - b|, summed over either half of the 16 samples.
HWY_INLINE V64x2 addDifferences(V64x2 sums, V8x16 a, V8x16 b) {
    return hn::Add(sums, hn::SumsOf8(hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a))));
}

/// The block that is compared, its rows one behind the other and each of them twice.
struct CurrentBlock {
    CurrentBlock(const std::uint8_t* p, std::ptrdiff_t step) {
        for (int y = 0; y < 8; ++y) {
            const auto row = hn::LoadU(D8x8(), p + y * step);
            hn::StoreU(row, D8x8(), rows + 8 * y);
            hn::StoreU(hn::Combine(D8x16(), row, row), D8x16(), pairs + 16 * y);
        }
    }
    HWY_INLINE hn::Vec<D8x8> row(int y) const { return hn::LoadU(D8x8(), rows + 8 * y); }
    HWY_INLINE V8x16 rowTwice(int y) const { return hn::LoadU(D8x16(), pairs + 16 * y); }
    HWY_INLINE V8x16 rowAndNext(int y) const { return hn::LoadU(D8x16(), rows + 8 * y); }

    std::uint8_t rows[64], pairs[128];
};

/// Differences from the neighbours beside and at the corners; of two blocks each, the second a column further right.
struct SideSads {
    V64x2 above, beside, below;
};

/// at: the sample of which the first block's half samples are right.
HWY_INLINE SideSads sideSads(const CurrentBlock& cur, const std::uint8_t* at, std::ptrdiff_t step) {
    const D16 d16;
    SideSads sads{hn::Zero(D64x2()), hn::Zero(D64x2()), hn::Zero(D64x2())};
    LastSix<V16> sums;
    for (int y = -3; y < 2; ++y) sums.push(sixTapSum(d16, at + y * step - 2, 1));
    HWY_UNROLL(9)
    for (int y = -1; y < 8; ++y) {
        sums.push(sixTapSum(d16, at + (y + 3) * step - 2, 1));
        const V8x16 centre = twoBlocks(centreSample(d16, sums.outer(), sums.middle(), sums.inner()));
        if (y < 7) sads.above = addDifferences(sads.above, centre, cur.rowTwice(y + 1));
        if (y < 0) continue;
        sads.beside = addDifferences(sads.beside, twoBlocks(halfSample(d16, sums.rows[2])), cur.rowTwice(y));
        sads.below = addDifferences(sads.below, centre, cur.rowTwice(y));
    }
    return sads;
}

/// Differences from the neighbours below (first) and above.
HWY_INLINE V64x2 straightSads(const CurrentBlock& cur, const std::uint8_t* at, std::ptrdiff_t step) {
    const D16x8 d16;
    LastSix<V16x8> samples;
    const auto read = [&](int y) HWY_ATTR { samples.push(hn::PromoteTo(d16, hn::LoadU(D8x8(), at + y * step))); };
    for (int y = -3; y < 2; ++y) read(y);
    auto sads = hn::Zero(D64x2());
    HWY_UNROLL(9)
    for (int y = -1; y < 8; ++y) {
        read(y + 3);
        const auto half = halfSample(d16, sixTapSum(samples.outer(), samples.middle(), samples.inner()));
        // The first row lies below no row of the block and the last one above none: there it is compared with itself.
        const V8x16 rows = y < 0   ? hn::Combine(D8x16(), cur.row(0), half)
                           : y < 7 ? cur.rowAndNext(y)
                                   : hn::Combine(D8x16(), half, cur.row(7));
        sads = addDifferences(sads, hn::Combine(D8x16(), half, half), rows);
    }
    return sads;
}

void ringSads(const std::uint8_t* cur, std::ptrdiff_t curStep, ConstViewU8 ref, int x, int y, std::int32_t* sads) {
    // Three rows before and behind the block; as many columns as vectors at both ends of the filter touch.
    constexpr int columns = 3 + 3 + (allColumnsAtOnce ? 15 : 8);
    const ClampedWindow<columns, 14> window(ref, std::int64_t{x} - 3, std::int64_t{y} - 3, columns, 14);
    const std::ptrdiff_t step = window.view().step;
    const std::uint8_t* at = window.view().row(3) + 3;

    const CurrentBlock block(cur, curStep);
    SideSads sides = sideSads(block, at - 1, step);
    if constexpr (!allColumnsAtOnce) {
        const D64x2 d64;
        const SideSads right = sideSads(block, at, step);
        sides = {hn::InterleaveLower(d64, sides.above, right.above),
                 hn::InterleaveLower(d64, sides.beside, right.beside),
                 hn::InterleaveLower(d64, sides.below, right.below)};
    }
    const V64x2 straight = straightSads(block, at, step);
    const auto store = [sads](V64x2 v, int first, int second) HWY_ATTR {
        std::uint64_t sums[2];
        hn::StoreU(v, D64x2(), sums);
        sads[first] = static_cast<std::int32_t>(sums[0]);
        sads[second] = static_cast<std::int32_t>(sums[1]);
    };
    store(sides.above, 0, 2);
    store(sides.beside, 3, 4);
    store(sides.below, 5, 7);
    store(straight, 6, 1);
}

#endif  // HWY_TARGET == HWY_SCALAR

HalfRingSads ringSadsOfThisTarget() {
    return &ringSads;
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {

HWY_EXPORT(ringSadsOfThisTarget);

HalfRingSads halfRingSads() noexcept {
    return HWY_DYNAMIC_DISPATCH(ringSadsOfThisTarget)();
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
