// The vertical pass of the resizers: one destination row out of a few source rows, column by column.
// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_RESIZE_VERTICAL_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_RESIZE_VERTICAL_INL_H_
#undef ORVEL_PRIMITIVES_RESIZE_VERTICAL_INL_H_
#else
#define ORVEL_PRIMITIVES_RESIZE_VERTICAL_INL_H_
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// The source rows of one destination row and their taps.
template <class Sample>
struct RowTaps {
    PlaneView<const Sample> src;
    int first, length;
    const std::int16_t* taps;  // length of them, then zeros up to an even count

    int pairs() const { return (length + 1) / 2; }
    /// Row k of the list; the odd last pair reads the last row twice, with a zero tap.
    const Sample* row(int k) const { return src.row(first + std::min(k, length - 1)); }
    /// Taps 2p and 2p + 1 as the two halves of a 32-bit lane.
    std::int32_t tapPair(int p) const {
        std::int32_t both;
        std::memcpy(&both, taps + 2 * p, sizeof both);
        return both;
    }
};

/// 16-bit samples are worked on as signed ones.
inline constexpr int signedBias = 32768;

/// Sum over the column x, plain: for narrow planes and for targets without vectors.
template <class Sample>
HWY_INLINE std::int32_t columnSum(const RowTaps<Sample>& rows, int x) {
    constexpr int bias = sizeof(Sample) == 1 ? 0 : signedBias;
    std::int32_t sum = 0;
    for (int k = 0; k < rows.length; ++k) sum += rows.taps[k] * (rows.row(k)[x] - bias);
    return sum;
}

template <int kShift>
HWY_INLINE std::int32_t roundShift(std::int32_t v) {
    return (v + (1 << (kShift - 1))) >> kShift;
}

// ---- where the results go: put() takes a vector of 16-bit results for the columns from x on, putOne() a single one

/// The intermediate row of both passes, whose first entry is column begin.
struct ToScratch {
    std::int16_t* row;
    int begin;
#if HWY_TARGET != HWY_SCALAR
    template <class D, class V>
    HWY_INLINE void put(D d, int x, V v) const {
        hn::StoreU(v, d, row + (x - begin));
    }
#endif
    void putOne(int x, std::int32_t v) const {
        row[x - begin] = static_cast<std::int16_t>(v);
    }
};

/// 8-bit samples out of results with 6 fractional bits: the horizontal pass is the identity.
struct ToSamples8 {
    std::uint8_t* row;
#if HWY_TARGET != HWY_SCALAR
    template <class D, class V>
    HWY_INLINE void put(D d, int x, V v) const {
        const hn::Rebind<std::uint8_t, D> d8;
        hn::StoreU(hn::DemoteTo(d8, hn::ShiftRight<6>(hn::Add(v, hn::Set(d, 32)))), d8, row + x);
    }
#endif
    void putOne(int x, std::int32_t v) const {
        row[x] = static_cast<std::uint8_t>(std::clamp(roundShift<6>(v), 0, 255));
    }
};

/// 16-bit samples out of saturated signed results.
struct ToSamples16 {
    std::uint16_t* row;
#if HWY_TARGET != HWY_SCALAR
    template <class D, class V>
    HWY_INLINE void put(D, int x, V v) const {
        const hn::RebindToUnsigned<D> du;
        hn::StoreU(hn::Xor(hn::BitCast(du, v), hn::Set(du, std::uint16_t{signedBias})), du, row + x);
    }
#endif
    void putOne(int x, std::int32_t v) const {
        row[x] = static_cast<std::uint16_t>(std::clamp(v, -signedBias, signedBias - 1) + signedBias);
    }
};

#if HWY_TARGET != HWY_SCALAR

/// s0 + s1, brought together by RearrangeToOddPlusEven, gain the sums of the products of each pair of lanes.
template <class D32, class V16, class V32>
HWY_INLINE void addPairs(D32 d32, V16 a, V16 b, V32& s0, V32& s1) {
    s0 = hn::ReorderWidenMulAccumulate(d32, a, b, s0, s1);
}

/// Calls body(x) for whole vectors of n columns that cover [begin, end); the last one overlaps its neighbour.
template <class Body>
HWY_INLINE void forEachVector(int n, int begin, int end, const Body& body) {
    // One call alone, so that it is compiled into the loop with all that it holds in registers.
    for (int x = begin; x < end; x += n) body(std::min(x, end - n));
}

/// Rounded and packed sums of the word pairs in lower and upper.
template <int kShift, class D32, class V32>
HWY_INLINE auto packSums(D32 d32, V32 lower, V32 upper) {
    const hn::Repartition<std::int16_t, D32> d16;
    const auto half = hn::Set(d32, 1 << (kShift - 1));
    return hn::ReorderDemote2To(d16, hn::ShiftRight<kShift>(hn::Add(lower, half)),
                                hn::ShiftRight<kShift>(hn::Add(upper, half)));
}

/// As many samples as d16 has lanes, for the arithmetic.
template <class D16>
HWY_INLINE auto signedSamples(D16 d16, const std::uint8_t* samples) {
    return hn::PromoteTo(d16, hn::LoadU(hn::Rebind<std::uint8_t, D16>(), samples));
}
template <class D16>
HWY_INLINE auto signedSamples(D16 d16, const std::uint16_t* samples) {
    const hn::RebindToUnsigned<D16> du16;
    return hn::BitCast(d16, hn::Xor(hn::LoadU(du16, samples), hn::Set(du16, std::uint16_t{signedBias})));
}

/// Two vectors whose 16-byte blocks alternate go out in column order.
template <class D, class V, class Sink>
HWY_INLINE void putBlocks(D d16, int x, V even, V odd, const Sink& sink) {
    constexpr int lanes = int(hn::MaxLanes(D()));
    if constexpr (lanes == 16) {
        sink.put(d16, x, hn::ConcatLowerLower(d16, odd, even));
        sink.put(d16, x + lanes, hn::ConcatUpperUpper(d16, odd, even));
    } else {
        sink.put(d16, x, even);
        sink.put(d16, x + lanes, odd);
    }
}

/// Rows and taps of a list of kPairs pairs, at hand for the whole row.
template <int kPairs, class Sample>
struct PairRows {
    const Sample* row[kPairs * 2];
    std::int32_t tapPair[kPairs];
    explicit PairRows(const RowTaps<Sample>& rows) {
        for (int k = 0; k < kPairs * 2; ++k) row[k] = rows.row(k);
        for (int p = 0; p < kPairs; ++p) tapPair[p] = rows.tapPair(p);
    }
    int pairs() const { return kPairs; }
    const Sample* first(int p) const { return row[2 * p]; }
    const Sample* second(int p) const { return row[2 * p + 1]; }
    std::int32_t taps(int p) const { return tapPair[p]; }
};
inline constexpr int upTo32Pairs = 0, anyPairs = -1;
template <class Sample>
struct PairRows<upTo32Pairs, Sample> {
    const Sample* row[64];
    const RowTaps<Sample> rows;
    explicit PairRows(const RowTaps<Sample>& r) : rows(r) {
        for (int k = 0; k < 2 * rows.pairs(); ++k) row[k] = rows.row(k);
    }
    int pairs() const { return rows.pairs(); }
    const Sample* first(int p) const { return row[2 * p]; }
    const Sample* second(int p) const { return row[2 * p + 1]; }
    std::int32_t taps(int p) const { return rows.tapPair(p); }
};
template <class Sample>
struct PairRows<anyPairs, Sample> {
    const RowTaps<Sample> rows;
    explicit PairRows(const RowTaps<Sample>& r) : rows(r) {}
    int pairs() const { return rows.pairs(); }
    const Sample* first(int p) const { return rows.row(2 * p); }
    const Sample* second(int p) const { return rows.row(2 * p + 1); }
    std::int32_t taps(int p) const { return rows.tapPair(p); }
};

/// Two 8-bit rows: 64a + round(v1 * (b - a) / 256) is the rounded sum, because the taps sum to 16384, and a rounding
/// high multiply by 128 * (b - a), which fits 16 bits, is that rounded term.
template <class Sink>
void blendRows8(const RowTaps<std::uint8_t>& rows, int begin, int end, const Sink& sink) {
    const hn::CappedTag<std::uint8_t, 32> d8;
    const hn::Repartition<std::int16_t, decltype(d8)> d16;
    const std::uint8_t *a = rows.row(0), *b = rows.row(1);
    const auto tap = hn::Set(d16, rows.taps[1]);
    const auto zero = hn::Zero(d8);
    const auto blend = [&](auto va, auto vb) HWY_ATTR {
        const auto difference = hn::ShiftLeft<7>(hn::Sub(vb, va));
        return hn::Add(hn::ShiftLeft<6>(va), hn::MulFixedPoint15(tap, difference));
    };
    forEachVector(int(hn::Lanes(d8)), begin, end, [&](int x) HWY_ATTR {
        const auto va = hn::LoadU(d8, a + x), vb = hn::LoadU(d8, b + x);
        const auto word = [&](auto v) HWY_ATTR { return hn::BitCast(d16, v); };
        putBlocks(d16, x, blend(word(hn::InterleaveLower(d8, va, zero)), word(hn::InterleaveLower(d8, vb, zero))),
                  blend(word(hn::InterleaveUpper(d8, va, zero)), word(hn::InterleaveUpper(d8, vb, zero))), sink);
    });
}

template <int kPairs, class Sink>
void sumRows8(const RowTaps<std::uint8_t>& rows, int begin, int end, const Sink& sink) {
    const hn::CappedTag<std::uint8_t, 32> d8;
    const hn::Repartition<std::int16_t, decltype(d8)> d16;
    const hn::Repartition<std::int32_t, decltype(d8)> d32;
    const PairRows<kPairs, std::uint8_t> list(rows);
    const auto zero8 = hn::Zero(d8);
    const auto widened = [&](auto v) HWY_ATTR { return hn::BitCast(d16, v); };
    forEachVector(int(hn::Lanes(d8)), begin, end, [&](int x) HWY_ATTR {
        auto s0 = hn::Zero(d32), s1 = s0, s2 = s0, s3 = s0, r0 = s0, r1 = s0, r2 = s0, r3 = s0;
        for (int p = 0; p < list.pairs(); ++p) {
            const auto taps = hn::BitCast(d16, hn::Set(d32, list.taps(p)));
            const auto a = hn::LoadU(d8, list.first(p) + x), b = hn::LoadU(d8, list.second(p) + x);
            const auto lower = hn::InterleaveLower(d8, a, b), upper = hn::InterleaveUpper(d8, a, b);
            addPairs(d32, widened(hn::InterleaveLower(d8, lower, zero8)), taps, s0, r0);
            addPairs(d32, widened(hn::InterleaveUpper(d8, lower, zero8)), taps, s1, r1);
            addPairs(d32, widened(hn::InterleaveLower(d8, upper, zero8)), taps, s2, r2);
            addPairs(d32, widened(hn::InterleaveUpper(d8, upper, zero8)), taps, s3, r3);
        }
        const auto whole = [&](auto s, auto r) HWY_ATTR { return hn::RearrangeToOddPlusEven(s, r); };
        putBlocks(d16, x, packSums<8>(d32, whole(s0, r0), whole(s1, r1)),
                  packSums<8>(d32, whole(s2, r2), whole(s3, r3)), sink);
    });
}

template <int kShift, int kPairs, class Sink>
void sumRows16(const RowTaps<std::uint16_t>& rows, int begin, int end, const Sink& sink) {
    const hn::CappedTag<std::int16_t, 16> d16;
    const hn::Repartition<std::int32_t, decltype(d16)> d32;
    const PairRows<kPairs, std::uint16_t> list(rows);
    forEachVector(int(hn::Lanes(d16)), begin, end, [&](int x) HWY_ATTR {
        auto s0 = hn::Zero(d32), s1 = s0, r0 = s0, r1 = s0;
        for (int p = 0; p < list.pairs(); ++p) {
            const auto taps = hn::BitCast(d16, hn::Set(d32, list.taps(p)));
            const auto a = signedSamples(d16, list.first(p) + x), b = signedSamples(d16, list.second(p) + x);
            addPairs(d32, hn::InterleaveLower(d16, a, b), taps, s0, r0);
            addPairs(d32, hn::InterleaveUpper(d16, a, b), taps, s1, r1);
        }
        sink.put(d16, x, packSums<kShift>(d32, hn::RearrangeToOddPlusEven(s0, r0), hn::RearrangeToOddPlusEven(s1, r1)));
    });
}

#endif  // HWY_TARGET != HWY_SCALAR

/// Columns [begin, end) of the vertical pass on 8-bit samples: results with 6 fractional bits.
template <class Sink>
HWY_INLINE void verticalPass(const RowTaps<std::uint8_t>& rows, int begin, int end, const Sink& sink) {
#if HWY_TARGET != HWY_SCALAR
    if (end - begin >= int(hn::Lanes(hn::CappedTag<std::uint8_t, 32>()))) {
        switch (rows.pairs()) {
            case 1:
                return blendRows8(rows, begin, end, sink);
            case 2:
                return sumRows8<2>(rows, begin, end, sink);
            case 3:
                return sumRows8<3>(rows, begin, end, sink);
            default:
                return rows.pairs() <= 32 ? sumRows8<upTo32Pairs>(rows, begin, end, sink)
                                          : sumRows8<anyPairs>(rows, begin, end, sink);
        }
    }
#endif
    for (int x = begin; x < end; ++x) sink.putOne(x, roundShift<8>(columnSum(rows, x)));
}

/// The same on 16-bit samples; kShift 15 leaves half samples for a second pass, 14 whole ones.
template <int kShift, class Sink>
HWY_INLINE void verticalPass16(const RowTaps<std::uint16_t>& rows, int begin, int end, const Sink& sink) {
#if HWY_TARGET != HWY_SCALAR
    if (end - begin >= int(hn::Lanes(hn::CappedTag<std::uint16_t, 16>()))) {
        switch (rows.pairs()) {
            case 1:
                return sumRows16<kShift, 1>(rows, begin, end, sink);
            case 2:
                return sumRows16<kShift, 2>(rows, begin, end, sink);
            case 3:
                return sumRows16<kShift, 3>(rows, begin, end, sink);
            default:
                return rows.pairs() <= 32 ? sumRows16<kShift, upTo32Pairs>(rows, begin, end, sink)
                                          : sumRows16<kShift, anyPairs>(rows, begin, end, sink);
        }
    }
#endif
    for (int x = begin; x < end; ++x) sink.putOne(x, roundShift<kShift>(columnSum(rows, x)));
}

/// A row as the horizontal pass wants it when the vertical one is the identity.
HWY_INLINE void widenRow(const std::uint8_t* src, int begin, int end, std::int16_t* out) {
    for (int x = begin; x < end; ++x) *out++ = static_cast<std::int16_t>(src[x] << 6);
}
HWY_INLINE void widenRow(const std::uint16_t* src, int begin, int end, std::int16_t* out) {
    for (int x = begin; x < end; ++x) *out++ = static_cast<std::int16_t>(src[x] - signedBias);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
