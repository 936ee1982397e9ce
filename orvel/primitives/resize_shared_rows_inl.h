// The vertical pass of the resizers for many taps: neighbouring destination rows share most of their source rows, so
// these are widened and paired up once for a whole strip of destination rows.
// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_RESIZE_SHARED_ROWS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_RESIZE_SHARED_ROWS_INL_H_
#undef ORVEL_PRIMITIVES_RESIZE_SHARED_ROWS_INL_H_
#else
#define ORVEL_PRIMITIVES_RESIZE_SHARED_ROWS_INL_H_
#endif

#include <hwy/highway.h>

#include <algorithm>

#include "orvel/primitives/resize_vertical_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

/// Some columns of the source rows that a strip of destination rows is made of.
template <class Sample>
class SharedRows {
public:
    /// Takes columns [begin, end), at most Strip::columns, of what destination rows [first, last) need.
    void take(const PairTable& table, PlaneView<const Sample> src, int first, int last, int begin, int end) {
        firstPair_ = table.first(first);
        for (int p = firstPair_; p < table.end(last - 1); ++p)
            takePair(src.row(2 * p) + begin, src.row(std::min(2 * p + 1, src.height - 1)) + begin, end - begin,
                     pairs_[p - firstPair_]);
    }

    /// Makes the first `count` intermediate samples of destination row y, and some up to Strip::columns.
    template <int kShift>
    void sum(const PairTable& table, int y, int count, std::int16_t* t) const {
        const Accumulator d32;
        const std::int32_t* taps = table.taps(y);
        const std::int16_t* rows = pairs_[table.first(y) - firstPair_];
        const int pairs = table.pairs(y);
        for (int x = 0; x < count; x += 4 * lanes) {
            auto s0 = hn::Zero(d32), s1 = s0, s2 = s0, s3 = s0, s4 = s0, s5 = s0, s6 = s0, s7 = s0;
            auto r0 = s0, r1 = s0, r2 = s0, r3 = s0, r4 = s0, r5 = s0, r6 = s0, r7 = s0;
            const std::int16_t* from = rows + 2 * x;
#pragma GCC unroll 4  // each turn costs a copy of all sums
            for (int p = 0; p < pairs; ++p, from += 2 * Strip::columns) {
                const auto tapPair = hn::BitCast(Words(), hn::Set(d32, taps[p]));
                const auto add = [&](int i, auto& s, auto& r)
                                     HWY_ATTR { addPairs(d32, hn::Load(Words(), from + i * lanes), tapPair, s, r); };
                add(0, s0, r0), add(1, s1, r1), add(2, s2, r2), add(3, s3, r3);
                add(4, s4, r4), add(5, s5, r5), add(6, s6, r6), add(7, s7, r7);
            }
            const auto put = [&](int i, auto lower, auto lowerRest, auto upper, auto upperRest) HWY_ATTR {
                hn::Store(packSums<kShift>(d32, hn::RearrangeToOddPlusEven(lower, lowerRest),
                                           hn::RearrangeToOddPlusEven(upper, upperRest)),
                          Words(), t + x + i * lanes);
            };
            put(0, s0, r0, s1, r1), put(1, s2, r2, s3, r3), put(2, s4, r4, s5, r5), put(3, s6, r6, s7, r7);
        }
    }

private:
    using Words = hn::CappedTag<std::int16_t, 16>;
    using Accumulator = hn::Repartition<std::int32_t, Words>;
    static constexpr int lanes = int(hn::MaxLanes(Words()));
    static_assert(Strip::columns % (4 * lanes) == 0);

    static void takePair(const Sample* a, const Sample* b, int count, std::int16_t* out) {
        const Words d16;
        std::int16_t* const end = out + 2 * Strip::columns;
        const auto put = [&](const Sample* upper, const Sample* lower) HWY_ATTR {
            const auto u = signedSamples(d16, upper), l = signedSamples(d16, lower);
            hn::Store(hn::InterleaveLower(d16, u, l), d16, out);
            hn::Store(hn::InterleaveUpper(d16, u, l), d16, out + lanes);
            out += 2 * lanes;
        };
        int x = 0;
        for (; x + lanes <= count; x += lanes) put(a + x, b + x);
        if (count == Strip::columns) return;
        Sample rest[2][lanes] = {};
        std::copy_n(a + x, count - x, rest[0]);
        std::copy_n(b + x, count - x, rest[1]);
        put(rest[0], rest[1]);
        std::fill(out, end, std::int16_t{0});
    }

    alignas(64) std::int16_t pairs_[Strip::sourcePairs][2 * Strip::columns];
    int firstPair_ = 0;
};

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
