#include "orvel/primitives/half_sample_ring.h"

#include "orvel/primitives/clamped_window.h"
#include "orvel/primitives/interpolate_luma.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/half_sample_ring.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/byte_differences_inl.h"
#include "orvel/primitives/luma_halves_inl.h"
#include "orvel/primitives/sad_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

void ringSads(const std::uint8_t* cur, std::ptrdiff_t curStep, ConstViewU8 ref, int x, int y, std::int32_t* sads) {
    const SadBlock current(cur, curStep);
    for (int i = 0; i < halfRingSize; ++i) {
        const int place = i < 4 ? i : i + 1;  // in a square of nine, the middle one left out
        std::uint8_t block[64];
        static_cast<void>(interpolateLuma(ref, x, y, 2 * (place % 3 - 1), 2 * (place / 3 - 1), {block, 8, 8, 8}));
        sads[i] = sadOf(current, block, 8);
    }
}

#else

// The neighbours come in pairs of blocks whose half samples are made alike: those to the left and to the right, a
// column apart; those above and below, a row apart; and two pairs of corners, above and below. A vector of 256 bits
// holds a row of both blocks of a pair, one in each half, or two rows when they have become bytes again. Shorter
// vectors hold one block, and the other one is made in a second turn.

using D64 = hn::Repartition<std::uint64_t, D8>;
using D64x2 = hn::Full128<std::uint64_t>;
using V64 = hn::Vec<D64>;
using V64x2 = hn::Vec<D64x2>;

/// The block that is compared, two rows in each half of a vector.
struct CurrentBlock {
    CurrentBlock(const std::uint8_t* p, std::ptrdiff_t step) {
        for (int i = 0; i < 4; ++i) {
            const hn::Half<D8x16> row;
            const auto two =
                hn::Combine(D8x16(), hn::LoadU(row, p + (2 * i + 1) * step), hn::LoadU(row, p + 2 * i * step));
            rows[i] = fromHalves(D8(), two, two);
        }
    }
    V8 rows[4];
};

/// Sums of the differences from a pair of blocks, whose rows sample(0) .. sample(7) gives, not yet clipped.
template <class Sample>
HWY_INLINE V64 pairSads(const CurrentBlock& cur, const Sample& sample) {
    V64 sums = hn::Zero(D64());
    HWY_UNROLL(4)
    for (int i = 0; i < 4; ++i)
        sums = hn::Add(sums, sumsOf8Differences(packBlocks(sample(2 * i), sample(2 * i + 1)), cur.rows[i]));
    return sums;
}

/// Sums of differences from all neighbours. Each 128 bits belong to one block of the pair; their two sums are to be
/// added.
struct RingSums {
    V64 above, beside, below;  ///< left and right
    V64 straight;              ///< above and below
};

/// Half samples between four others, of nine rows, and those right of the samples, of the eight rows in between.
struct SideSamples {
    SideSamples(const std::uint8_t* at, std::ptrdiff_t step) {
        for (int i = 0; i < 14; ++i) along[i] = sumsAlongRow(loadSamples(at + (i - 2) * step - 2, 1));
        for (int i = 0; i < 9; ++i) {
            const V16* s = along + i;
            centres[i] = centreSampleUnclipped(hn::Add(s[0], s[5]), hn::Add(s[1], s[4]), hn::Add(s[2], s[3]));
        }
    }
    HWY_INLINE V16 right(int y) const { return halfSampleUnclipped(along[y + 3]); }

    V16 along[14];  ///< the filter's sums, from three rows above the block on
    V16 centres[9];
};

/// Half samples below the samples, of eight rows.
struct StraightSamples {
    StraightSamples(const std::uint8_t* at, std::ptrdiff_t step) {
        V8 samples = loadSamples(at - 2 * step, step);
        for (int i = 0; i < 12; ++i) {
            const V8 next = loadSamples(at + (i - 1) * step, step);
            down[i] = hn::InterleaveLower(D8(), samples, next);
            samples = next;
        }
    }
    HWY_INLINE V16 below(int y) const {
        return halfSampleUnclipped(sixTapSumOfPairs(down[y], down[y + 2], down[y + 4]));
    }

    V8 down[12];  ///< samples beside the ones below them, from two rows above on
};

/// side and above: the samples from which the first half samples of those pairs lie right and below.
HWY_INLINE RingSums ringSums(const CurrentBlock& cur, const std::uint8_t* side, const std::uint8_t* above,
                             std::ptrdiff_t step) {
    const SideSamples sides(side, step);
    const StraightSamples straight(above, step);
    return {pairSads(cur, [&](int y) HWY_ATTR { return sides.centres[y]; }),
            pairSads(cur, [&](int y) HWY_ATTR { return sides.right(y); }),
            pairSads(cur, [&](int y) HWY_ATTR { return sides.centres[y + 1]; }),
            pairSads(cur, [&](int y) HWY_ATTR { return straight.below(y); })};
}

using D32x4 = hn::Full128<std::int32_t>;

/// The sums of four blocks, in the order of the arguments.
HWY_INLINE hn::Vec<D32x4> fourSums(V64x2 a, V64x2 b, V64x2 c, V64x2 d) {
    const D64x2 d64;
    // Two blocks' sums share 64-bit lanes, so that the same additions serve both.
    const auto ab = hn::Or(a, hn::ShiftLeft<32>(b)), cd = hn::Or(c, hn::ShiftLeft<32>(d));
    return hn::BitCast(D32x4(), hn::Add(hn::InterleaveLower(d64, ab, cd), hn::InterleaveUpper(d64, ab, cd)));
}

/// first and second: where to find the blocks of that rank, in the lower half and in the upper one.
HWY_INLINE void storeRing(const RingSums& first, const RingSums& second, std::int32_t* sads) {
    // In the ring's order even and odd places take turns between the corners and the others, but for the middle.
    const auto corners = fourSums(lowerHalf(first.above), lowerHalf(first.below), upperHalf(second.above),
                                  upperHalf(second.below));  // places 0, 5, 2, 7
    const auto others = fourSums(upperHalf(second.beside), lowerHalf(first.straight), upperHalf(second.straight),
                                 lowerHalf(first.beside));  // places 4, 1, 6, 3
    hn::StoreU(hn::OddEven(others, corners), D32x4(), sads);
    hn::StoreU(hn::OddEven(corners, others), D32x4(), sads + 4);
}

void ringSads(const std::uint8_t* cur, std::ptrdiff_t curStep, ConstViewU8 ref, int x, int y, std::int32_t* sads) {
    // Three samples before the block and three behind it; vectors reach a little further right.
    constexpr int columns = 3 + 16, rows = 3 + 8 + 3;
    const ClampedWindow<columns, rows> window(ref, std::int64_t{x} - 3, std::int64_t{y} - 3, columns, rows);
    const std::ptrdiff_t step = window.view().step;
    const std::uint8_t* at = window.view().row(3) + 3;

    const CurrentBlock block(cur, curStep);
    const auto first = ringSums(block, at - step - 1, at - step, step);
    storeRing(first, pairAtOnce ? first : ringSums(block, at - step, at, step), sads);
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
