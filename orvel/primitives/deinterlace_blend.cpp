#include "orvel/primitives/deinterlace_blend.h"

#include <array>
#include <cmath>
#include <cstring>
#include <span>

#include "orvel/primitives/cavt_strength.h"
#include "orvel/primitives/checks.h"
#include "orvel/primitives/fill.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/deinterlace_blend.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/cavt_core_inl.h"
#include "orvel/primitives/row_loop_inl.h"
#include "orvel/primitives/sample_math_inl.h"

// The kept field is one instant; before is the last picture of the other parity before it, after the first one after
// it: prev and cur when the kept field is the earlier one of cur, else cur and next. For a row y of the other parity,
// with rows clamped inside their parity: a, b, c, d are cur at y-3, y-1, y+1, y+3; m0, m1, m2 are before and p0, p1, p2
// are after at y-2, y, y+2; pb, pc and nb, nc are prev and next at y-1, y+1. Every column by itself:
//
//   f0 = |m1 - p1|, f1 = |pb - b| + |pc - c|, f2 = |nb - b| + |nc - c|
//   T  = (m1 + p1 + 1) >> 1                                             the value over time
//   S  = the content-adaptive filter with u = m + p, threshold 1000     the value within the picture
//   delta = max(f0, f1, f2) >> 1
//   up = ((m0 + p0) >> 1) - b,  dn = ((m2 + p2) >> 1) - c,  tb = T - b,  tc = T - c
//   hi = max(tb, tc, min(up, dn)),  lo = min(tb, tc, max(up, dn))       both sides of what a comb sticks out by
//   bound = delta where max(f0, f1, f2) <= threshold 0, else max(delta, lo, -hi)
//   S clamped to T - bound .. T + bound
//   motion = (e(x-1) + 2 e(x) + e(x+1) + 2) >> 2 with e = max(f0, (f1 + 1) >> 1, (f2 + 1) >> 1), columns clamped
//   w = 256 where bound > delta, else weight 0 where motion <= threshold 0, else weight 1 where motion <= threshold 1,
//       else 256
//   result = (T (256 - w) + S w + 128) >> 8
//
// The comb check is left out below the first threshold, so that still pictures pass unchanged.

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

constexpr int rowsAtOnce = cavtRowsAtOnce<2>;

/// What the columns of a chunk of one generated row need, from the chunk's column from on.
struct MotionTerms {
    ColumnBuffer<std::uint8_t> temporal;  ///< T
    ColumnBuffer<std::uint8_t> bound;
    ColumnBuffer<std::uint8_t> smooth;  ///< all ones where bound is delta
    ColumnBuffer<std::uint8_t> motion;  ///< e
};

struct BlendTerms {
    CavtRowsTerms<2> cavt;
    MotionTerms motion[rowsAtOnce];
    ColumnBuffer<std::uint8_t> spatial;  ///< S of one row before it is clamped
};

/// The fields that generated rows are made of, each in one plane, and the destination's.
struct BlendFieldRows {
    FieldRows kept, keptPrev, keptNext, before, after;
    FieldRows made, copied;
};

/// All ones where a <= b.
template <class D, class V>
HWY_INLINE V notAbove(D d, V a, V b) {
    return hn::VecFromMask(d, hn::Eq(hn::Max(a, b), b));
}

template <class V>
HWY_INLINE V largest(V a, V b, V c) {
    return hn::Max(hn::Max(a, b), c);
}

/// The rows that rowsAtOnce generated rows look at besides, from a chunk's column from on.
struct MotionRows {
    std::array<const std::uint8_t*, 1 + rowsAtOnce> cur, prev, next;
    std::array<const std::uint8_t*, 2 + rowsAtOnce> before, after;
};

HWY_INLINE MotionRows motionRows(const BlendFieldRows& sources, int y, int from) {
    const auto fill = [from](auto& rows, const FieldRows& field, int first) HWY_ATTR {
        for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = field.row(first + 2 * int(i)) + from;
    };
    MotionRows rows;
    fill(rows.cur, sources.kept, y - 1);
    fill(rows.prev, sources.keptPrev, y - 1);
    fill(rows.next, sources.keptNext, y - 1);
    fill(rows.before, sources.before, y - 2);
    fill(rows.after, sources.after, y - 2);
    return rows;
}

/// max(0, lo, -hi), in differences that stop at zero.
template <class V>
HWY_INLINE V combOf(V t, V b, V c, V above, V below) {
    const auto over = [](V v, V w) HWY_ATTR { return hn::SaturatedSub(v, w); };
    const V lo = hn::Min(over(t, hn::Max(b, c)), hn::Max(over(above, b), over(below, c)));
    const V minusHi = hn::Min(over(hn::Min(b, c), t), hn::Max(over(b, above), over(c, below)));
    return hn::Max(lo, minusHi);
}

/// Finds places that are still: max(f0, f1, f2) <= threshold. f1 and f2 are no bytes but their halves are; rounded up
/// these tell an even threshold, rounded down an odd one.
class StillTest {
public:
    explicit StillTest(std::uint8_t threshold) : half_(threshold >> 1), even_(threshold % 2 == 0) {}

    template <class D, class V>
    HWY_INLINE V operator()(D d, V halfUp, V halfDown) const {
        return notAbove(d, even_ ? halfUp : halfDown, hn::Set(d, half_));
    }

private:
    std::uint8_t half_;
    bool even_;
};

/// Everything but S of rowsAtOnce rows, on a vector of columns. What one row has read and computed stays in registers
/// for the next.
template <class D>
HWY_INLINE void putMotion(D d, const MotionRows& rows, int x, StillTest isStill, MotionTerms* to) {
    const auto load = [=](const std::uint8_t* row) HWY_ATTR { return hn::LoadU(d, row + x); };
    const auto put = [=](auto v, ColumnBuffer<std::uint8_t>& buffer) HWY_ATTR { hn::StoreU(v, d, buffer.data() + x); };
    auto b = load(rows.cur[0]), m1 = load(rows.before[1]), p1 = load(rows.after[1]);
    auto prevB = absDifference(load(rows.prev[0]), b), nextB = absDifference(load(rows.next[0]), b);
    for (std::size_t row = 0; row < rowsAtOnce; ++row) {
        const auto c = load(rows.cur[row + 1]);
        const auto prevC = absDifference(load(rows.prev[row + 1]), c),
                   nextC = absDifference(load(rows.next[row + 1]), c);
        const auto f0 = absDifference(m1, p1), zero = hn::Zero(d);
        const auto mostKept = hn::Max(hn::AverageRound(prevB, prevC), hn::AverageRound(nextB, nextC));
        const auto delta = largest(floorMean(f0, zero), floorMean(prevB, prevC), floorMean(nextB, nextC));
        const auto still = isStill(d, hn::Max(hn::AverageRound(f0, zero), mostKept), delta);
        put(hn::Max(f0, mostKept), to[row].motion);

        const auto t = hn::AverageRound(m1, p1), m2 = load(rows.before[row + 2]), p2 = load(rows.after[row + 2]);
        const auto above = floorMean(load(rows.before[row]), load(rows.after[row])), below = floorMean(m2, p2);
        const auto bound = hn::Max(delta, hn::AndNot(still, combOf(t, b, c, above, below)));
        put(t, to[row].temporal);
        put(bound, to[row].bound);
        put(hn::VecFromMask(d, hn::Eq(bound, delta)), to[row].smooth);
        b = c, prevB = prevC, nextB = nextC, m1 = m2, p1 = p2;
    }
}

/// Everything but S, on columns [from, to) of the rows from y on. Asks for upcoming.
HWY_INLINE void makeMotionTerms(const BlendFieldRows& sources, Chunk chunk, int y, std::uint8_t threshold,
                                const Upcoming<3 * rowsAtOnce>& upcoming, MotionTerms (&terms)[rowsAtOnce]) {
    const MotionRows rows = motionRows(sources, y, chunk.from);
    const StillTest isStill(threshold);
    const int columns = chunk.to - chunk.from;
    MotionTerms* const to = terms;
    forEachRun<std::uint8_t>(columns, [=](auto d, int x) HWY_ATTR {
        upcoming.ask<hn::MaxLanes(d)>(x);
        putMotion(d, rows, x, isStill, to);
    });
    for (MotionTerms& ofRow : terms) {
        std::uint8_t* const motion = ofRow.motion.data();
        motion[-1] = motion[0];
        motion[columns] = motion[columns - 1];
    }
}

/// T + ((S - T) weight + 128 >> 8) on words, weight in 0 .. 255.
template <class V>
HWY_INLINE V weighted(V t, V s, V weight) {
    return hn::Add(t, hn::MulFixedPoint15(hn::Sub(s, t), hn::ShiftLeft<7>(weight)));
}

/// The same on bytes.
template <class D8, class V>
HWY_INLINE V weightedBytes(D8 d8, V t, V s, V weight) {
    if constexpr (hn::MaxLanes(d8) == 1) {
        const hn::Rebind<std::int16_t, D8> d16;
        return hn::DemoteTo(d8, weighted(hn::PromoteTo(d16, t), hn::PromoteTo(d16, s), hn::PromoteTo(d16, weight)));
    } else {
        const hn::RepartitionToWide<D8> du16;
        const hn::RebindToSigned<decltype(du16)> d16;
        const auto even = [=](auto v) HWY_ATTR { return hn::And(hn::BitCast(d16, v), hn::Set(d16, 255)); };
        const auto odd = [=](auto v) HWY_ATTR { return hn::BitCast(d16, hn::ShiftRight<8>(hn::BitCast(du16, v))); };
        const auto low = weighted(even(t), even(s), even(weight));
        const auto high = weighted(odd(t), odd(s), odd(weight));
        return hn::BitCast(d8, hn::Or(low, hn::ShiftLeft<8>(high)));
    }
}

/// Mixes T and S by the motion.
class MotionMixer {
public:
    explicit MotionMixer(const DeinterlaceBlendState& state)
        : threshold0_(state.threshold(0)),
          threshold1_(state.threshold(1)),
          weight0_(static_cast<std::uint8_t>(state.weight(0))),
          weight1_(static_cast<std::uint8_t>(state.weight(1))),
          mixes0_(state.weight(0) < 256 ? 255 : 0),
          mixes1_(state.weight(1) < 256 ? 255 : 0) {}

    /// smooth: all ones where bound is delta.
    template <class D, class V>
    HWY_INLINE V operator()(D d, V t, V s, V motion, V smooth) const {
        const auto still = hn::MaskFromVec(notAbove(d, motion, hn::Set(d, threshold0_)));
        const V slow = notAbove(d, motion, hn::Set(d, threshold1_));
        const V weight = hn::IfThenElse(still, hn::Set(d, weight0_), hn::Set(d, weight1_));
        const V mixes = hn::IfThenElse(still, hn::Set(d, mixes0_), hn::And(slow, hn::Set(d, mixes1_)));
        return hn::IfVecThenElse(hn::And(mixes, smooth), weightedBytes(d, t, s, weight), s);
    }

private:
    std::uint8_t threshold0_, threshold1_, weight0_, weight1_;
    std::uint8_t mixes0_, mixes1_;  // 0 for a weight of 256, which is no byte: S is then taken as it is
};

/// Clamps S and blends it with T. Asks for upcoming.
HWY_INLINE void blendChunk(const MotionTerms& terms, const ColumnBuffer<std::uint8_t>& adaptive, Chunk chunk,
                           const DeinterlaceBlendState& state, const Upcoming<2>& upcoming, std::uint8_t* out) {
    const int offset = chunk.begin - chunk.from;
    const std::uint8_t *temporal = terms.temporal.data() + offset, *bounds = terms.bound.data() + offset,
                       *smooth = terms.smooth.data() + offset, *motion = terms.motion.data() + offset,
                       *spatial = adaptive.data() + offset;
    const MotionMixer mixed(state);
    forEachRun<std::uint8_t>(chunk.end - chunk.begin, [=](auto d, int i) HWY_ATTR {
        const auto load = [=](const std::uint8_t* p) HWY_ATTR { return hn::LoadU(d, p + i); };
        upcoming.ask<hn::MaxLanes(d)>(i);
        const auto t = load(temporal), bound = load(bounds);
        const auto s = hn::Max(hn::Min(load(spatial), hn::SaturatedAdd(t, bound)), hn::SaturatedSub(t, bound));
        const auto smoothed = hn::AverageRound(floorMean(load(motion - 1), load(motion + 1)), load(motion));
        hn::StoreU(mixed(d, t, s, smoothed, load(smooth)), d, out + i);
    });
}

/// Generated rows from y on; out has their places in the destination, no more than rowsAtOnce.
HWY_INLINE void makeRows(const BlendFieldRows& sources, const DeinterlaceBlendState& state, int y,
                         std::span<std::uint8_t* const> out, int width, BlendTerms& terms) {
    constexpr std::uint16_t strength = scaledStrength<2>(cavtStrength(1000));
    constexpr int further = 2 * rowsAtOnce;
    const CavtRows<2> rows = cavtRows<2>(sources.kept, {sources.before, sources.after}, y);
    forEachChunk(width, [&](Chunk chunk) HWY_ATTR {
        const auto next = [&](const FieldRows& field, int offset, int i)
                              HWY_ATTR { return field.row(y + further + offset + 2 * i) + chunk.from; };
        Upcoming<2 * rowsAtOnce> forTerms;
        Upcoming<3 * rowsAtOnce> forMotion;
        for (int i = 0, n = 0, m = 0; i < rowsAtOnce; ++i) {
            for (const auto* row : {next(sources.kept, 3, i), next(sources.after, 2, i)})
                forTerms.rows[std::size_t(n++)] = row;
            for (const auto* row :
                 {next(sources.before, 2, i), next(sources.keptPrev, 1, i), next(sources.keptNext, 1, i)})
                forMotion.rows[std::size_t(m++)] = row;
        }
        makeTerms<2>(rows, chunk, forTerms, terms.cavt);
        makeMotionTerms(sources, chunk, y, state.threshold(0), forMotion, terms.motion);
        for (std::size_t i = 0; i < out.size(); ++i) {
            forEachAdapted(terms.cavt[i], chunk, strength, [&](std::ptrdiff_t pair, StepBytes columns) HWY_ATTR {
                storeStep(columns, terms.spatial.data() + 2 * pair);
            });
            const int later = y + further + 2 * int(i);
            const Upcoming<2> places{
                {sources.made.row(later) + chunk.begin, sources.copied.row(later ^ 1) + chunk.begin}};
            blendChunk(terms.motion[i], terms.spatial, chunk, state, places, out[i] + chunk.begin);
        }
    });
}

void blendRows(const DeinterlaceBlendState& state, ConstViewU8 prev, ConstViewU8 cur, ConstViewU8 next, ViewU8 dst,
               BlendFields fields, int first, int last) {
    const int made = fields.generateTop ? 0 : 1, kept = 1 - made;
    const bool keptIsEarlier = fields.topFirst != fields.generateTop;
    const BlendFieldRows sources{FieldRows(cur, kept),
                                 FieldRows(prev, kept),
                                 FieldRows(next, kept),
                                 FieldRows(keptIsEarlier ? prev : cur, made),
                                 FieldRows(keptIsEarlier ? cur : next, made),
                                 FieldRows(dst, made),
                                 FieldRows(dst, kept)};
    BlendTerms terms;
    for (int y = first; y < last; y += 2 * rowsAtOnce) {
        const int end = std::min(last - y, 2 * rowsAtOnce) + y;
        std::uint8_t* out[rowsAtOnce];
        std::size_t rows = 0;
        for (int row = y; row < end; ++row) {
            if (row % 2 == made)
                out[rows++] = dst.row(row);
            else if (fields.copyKept)
                std::memcpy(dst.row(row), cur.row(row), std::size_t(dst.width));
        }
        if (rows > 0) makeRows(sources, state, y % 2 == made ? y : y + 1, {out, rows}, dst.width, terms);
    }
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {
HWY_EXPORT(blendRows);

Status DeinterlaceBlendState::init(int maxWidth, int maxHeight, const std::int32_t (&thresholds)[2],
                                   const double (&weights)[2]) noexcept {
    if (maxWidth < 1 || maxHeight < 1) return Status::badSize;
    for (int i = 0; i < 2; ++i) {
        if (thresholds[i] < 0 || thresholds[i] > 255) return Status::badArgument;
        if (!(weights[i] >= 0 && weights[i] <= 1)) return Status::badArgument;  // a NaN is neither
    }
    maxWidth_ = maxWidth;
    maxHeight_ = maxHeight;
    for (int i = 0; i < 2; ++i) {
        thresholds_[i] = static_cast<std::uint8_t>(thresholds[i]);
        weights_[i] = static_cast<std::uint16_t>(std::floor(256 * weights[i] + 0.5));
    }
    return Status::ok;
}

Status deinterlaceBlendRows(const DeinterlaceBlendState& state, ConstViewU8 prev, ConstViewU8 cur, ConstViewU8 next,
                            ViewU8 dst, BlendFields fields, int first, int last) noexcept {
    if (const Status fault = checkSameSize(dst, prev, cur, next); fault != Status::ok) return fault;
    if (dst.width > state.maxWidth() || dst.height > state.maxHeight()) return Status::badSize;
    if (!holdsBand(dst.height, first, last)) return Status::badSize;
    if (dst.height == 1)  // one of the fields has no row: the row is kept, or there is nothing to make it of
        return fields.generateTop || fields.copyKept ? copy(cur, dst) : Status::ok;
    HWY_DYNAMIC_DISPATCH(blendRows)(state, prev, cur, next, dst, fields, first, last);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
