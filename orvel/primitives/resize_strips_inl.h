// The horizontal pass of the resizers for many taps, a strip of rows at a time. The intermediate samples of the strip
// are turned, so that a vector holds one pair of columns in many rows. The rows share the taps, and the sums need no
// shuffles. What is made of them is turned back.
// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_RESIZE_STRIPS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_RESIZE_STRIPS_INL_H_
#undef ORVEL_PRIMITIVES_RESIZE_STRIPS_INL_H_
#else
#define ORVEL_PRIMITIVES_RESIZE_STRIPS_INL_H_
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

#include "orvel/primitives/resize_vertical_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

using DStrip = hn::CappedTag<std::int16_t, Strip::rows>;
using DStripPairs = hn::Repartition<std::int32_t, DStrip>;
using StripPairs = hn::Vec<DStripPairs>;
inline constexpr int stripLanes = int(hn::MaxLanes(DStrip())), stripBlocks = stripLanes / 8;

/// In each block of 16 bytes, the four lanes of the four vectors change places as rows and columns of a square do.
HWY_INLINE void turnBlocks(StripPairs& a, StripPairs& b, StripPairs& c, StripPairs& d) {
    const DStripPairs d32;
    const hn::Repartition<std::int64_t, DStripPairs> d64;
    const auto lower = [&](auto x, auto y) HWY_ATTR { return hn::BitCast(d64, hn::InterleaveLower(d32, x, y)); };
    const auto upper = [&](auto x, auto y) HWY_ATTR { return hn::BitCast(d64, hn::InterleaveUpper(d32, x, y)); };
    const auto ab = lower(a, b), cd = lower(c, d), abUpper = upper(a, b), cdUpper = upper(c, d);
    a = hn::BitCast(d32, hn::InterleaveLower(d64, ab, cd));
    b = hn::BitCast(d32, hn::InterleaveUpper(d64, ab, cd));
    c = hn::BitCast(d32, hn::InterleaveLower(d64, abUpper, cdUpper));
    d = hn::BitCast(d32, hn::InterleaveUpper(d64, abUpper, cdUpper));
}

/// Intermediate samples of a strip's rows, as they come from the vertical pass.
struct StripRows {
    alignas(64) std::int16_t row[Strip::rows][Strip::columns];
};

/// The same turned: pairs of columns, each of all rows together.
class TurnedStrip {
public:
    /// Goes back to the first column.
    void restart() { base_ = end_ = 0; }
    int end() const { return end_; }
    const std::int16_t* pair(int p) const { return pairs_[p - base_]; }

    /// Takes the next Strip::columns columns. Pairs before `needed` are given up.
    void append(const StripRows& t, int needed) {
        const int kept = std::min(needed, end_);
        std::memmove(pairs_, pair(kept), static_cast<std::size_t>(end_ - kept) * sizeof pairs_[0]);
        base_ = kept;
        for (int x = 0; x < Strip::columns; x += stripLanes)
            for (int row = 0; row < Strip::rows; row += 4 * stripBlocks)
                turn(t, row, x, pairs_[end_ - base_ + x / 2] + 2 * row);
        end_ += Strip::columns / 2;
    }

private:
    static HWY_INLINE void turn(const StripRows& t, int row, int x, std::int16_t* out) {
        const DStrip d16;
        const DStripPairs d32;
        const auto load = [&](int r) HWY_ATTR { return hn::BitCast(d32, hn::Load(d16, t.row[row + r] + x)); };
        const auto put = [&](int pair, auto v)
                             HWY_ATTR { hn::Store(hn::BitCast(d16, v), d16, out + pair * 2 * Strip::rows); };
        auto a = load(0), b = load(1), c = load(2), d = load(3);
        turnBlocks(a, b, c, d);
        if constexpr (stripBlocks == 2) {
            auto e = load(4), f = load(5), g = load(6), h = load(7);
            turnBlocks(e, f, g, h);
            const auto putBoth = [&](int pair, auto upperRows, auto lowerRows) HWY_ATTR {
                put(pair, hn::ConcatLowerLower(d32, lowerRows, upperRows));
                put(pair + 4, hn::ConcatUpperUpper(d32, lowerRows, upperRows));
            };
            putBoth(0, a, e), putBoth(1, b, f), putBoth(2, c, g), putBoth(3, d, h);
        } else {
            put(0, a), put(1, b), put(2, c), put(3, d);
        }
    }

    alignas(64) std::int16_t pairs_[Strip::pairs][2 * Strip::rows];
    int base_ = 0, end_ = 0;  // pairs [base_, end_) are held
};

/// A group of destination columns, still turned.
struct TurnedGroup {
    alignas(64) std::int16_t column[PairTable::group][Strip::rows];
};

/// The sums of the destination columns from x on, two at a time because these have their source columns in common.
template <int kShift>
HWY_INLINE void sumColumns(const PairTable& table, int x, const TurnedStrip& strip, TurnedGroup& made) {
    static_assert(Strip::listsTogether == 2);
    const DStrip d16;
    const DStripPairs d32;
    for (int i = 0; i < PairTable::group; i += 2) {
        const std::int32_t *taps = table.taps(x + i), *otherTaps = table.taps(x + i + 1);
        const int pairs = table.pairs(x + i);
        for (int row = 0; row < Strip::rows; row += stripLanes) {
            auto s0 = hn::Zero(d32), s1 = s0, s2 = s0, s3 = s0;
            auto r0 = s0, r1 = s0, r2 = s0, r3 = s0;
            const std::int16_t* from = strip.pair(table.first(x + i)) + 2 * row;
#pragma GCC unroll 2  // each turn costs a copy of all sums
            for (int p = 0; p < pairs; ++p, from += 2 * Strip::rows) {
                const auto upper = hn::Load(d16, from), lower = hn::Load(d16, from + stripLanes);
                const auto tapPair = hn::BitCast(d16, hn::Set(d32, taps[p])),
                           otherPair = hn::BitCast(d16, hn::Set(d32, otherTaps[p]));
                addPairs(d32, upper, tapPair, s0, r0);
                addPairs(d32, lower, tapPair, s1, r1);
                addPairs(d32, upper, otherPair, s2, r2);
                addPairs(d32, lower, otherPair, s3, r3);
            }
            const auto put = [&](int column, auto s, auto r, auto t, auto q) HWY_ATTR {
                hn::Store(packSums<kShift>(d32, hn::RearrangeToOddPlusEven(s, r), hn::RearrangeToOddPlusEven(t, q)),
                          d16, made.column[column] + row);
            };
            put(i, s0, r0, s1, r1), put(i + 1, s2, r2, s3, r3);
        }
    }
}

/// A group of destination columns as rows of finished samples.
template <class Sample>
struct FinishedGroup {
    Sample row[Strip::rows][PairTable::group];
};

/// From the row on, a lane for each: two neighbouring 8-bit samples, or one of 16 bits.
template <class Sample>
HWY_INLINE auto finishedLanes(const TurnedGroup& made, int i, int row) {
    const DStrip d16;
    if constexpr (sizeof(Sample) == 1) {
        const auto zero = hn::Zero(d16), most = hn::Set(d16, 255);
        const auto column = [&](int x)
                                HWY_ATTR { return hn::Min(hn::Max(hn::Load(d16, made.column[x] + row), zero), most); };
        return hn::Or(column(2 * i), hn::ShiftLeft<8>(column(2 * i + 1)));
    } else {
        return hn::Xor(hn::Load(d16, made.column[i] + row), hn::Set(d16, std::int16_t{-signedBias}));
    }
}

template <class Sample>
HWY_INLINE void turnBack(const TurnedGroup& made, FinishedGroup<Sample>& rows) {
    const DStrip d16;
    const DStripPairs d32;
    constexpr int samplesPerBlock = 16 / int{sizeof(Sample)}, lanesPerBlock = 8;
    for (int block = 0; block < PairTable::group / samplesPerBlock; ++block) {
        const auto put = [&](int r, auto v) HWY_ATTR {
            const hn::CappedTag<std::uint8_t, 16> bytes;
            const hn::Repartition<std::uint8_t, DStrip> d8;
            const auto store = [&](int at, auto v8) HWY_ATTR {
                hn::StoreU(v8, bytes, reinterpret_cast<std::uint8_t*>(rows.row[at] + block * samplesPerBlock));
            };
            if constexpr (stripBlocks == 2) {
                store(r, hn::LowerHalf(bytes, hn::BitCast(d8, v)));
                store(r + 4, hn::UpperHalf(bytes, hn::BitCast(d8, v)));
            } else {
                store(r, hn::BitCast(d8, v));
            }
        };
        const auto putFour = [&](int r, auto a, auto b, auto c, auto d) HWY_ATTR {
            turnBlocks(a, b, c, d);
            put(r, a), put(r + 1, b), put(r + 2, c), put(r + 3, d);
        };
        for (int row = 0; row < Strip::rows; row += stripLanes) {
            const auto lanes = [&](int i)
                                   HWY_ATTR { return finishedLanes<Sample>(made, block * lanesPerBlock + i, row); };
            const auto v0 = lanes(0), v1 = lanes(1), v2 = lanes(2), v3 = lanes(3), v4 = lanes(4), v5 = lanes(5),
                       v6 = lanes(6), v7 = lanes(7);
            const auto lower = [&](auto a, auto b)
                                   HWY_ATTR { return hn::BitCast(d32, hn::InterleaveLower(d16, a, b)); };
            const auto upper = [&](auto a, auto b)
                                   HWY_ATTR { return hn::BitCast(d32, hn::InterleaveUpper(d16, a, b)); };
            putFour(row, lower(v0, v1), lower(v2, v3), lower(v4, v5), lower(v6, v7));
            putFour(row + 4 * stripBlocks, upper(v0, v1), upper(v2, v3), upper(v4, v5), upper(v6, v7));
        }
    }
}

/// Both passes by strips. makeRows(y, n, begin, end, t) gives the intermediate samples of columns [begin, end) of the
/// n destination rows from y on.
template <int kShift, class Sample, class MakeRows>
void rowsByStrips(const PairTable& columns, int srcWidth, PlaneView<Sample> dst, int first, int last,
                  const MakeRows& makeRows) {
    StripRows t = {};  // rows and columns that are not there are worked on like the others
    TurnedStrip strip;
    TurnedGroup made;
    FinishedGroup<Sample> finished;
    constexpr int groupColumns = PairTable::group;
    for (int y = first; y < last; y += Strip::rows) {
        const int n = std::min(Strip::rows, last - y);
        strip.restart();
        int x = 0;
        for (int begin = 0; begin < srcWidth; begin += Strip::columns) {
            makeRows(y, n, begin, std::min(begin + Strip::columns, srcWidth), t);
            strip.append(t, columns.first(x));
            for (; x < dst.width && columns.end(x + groupColumns - 1) <= strip.end(); x += groupColumns) {
                sumColumns<kShift>(columns, x, strip, made);
                turnBack(made, finished);
                for (int i = 0; i < n; ++i)
                    if (x + groupColumns <= dst.width)
                        std::memcpy(dst.row(y + i) + x, finished.row[i], sizeof finished.row[i]);
                    else
                        std::copy_n(finished.row[i], dst.width - x, dst.row(y + i) + x);
            }
        }
    }
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
