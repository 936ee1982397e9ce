#include "orvel/primitives/deinterlace_blend.h"

#include <cmath>
#include <cstring>

#include "orvel/primitives/cavt_strength.h"
#include "orvel/primitives/checks.h"

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

struct BlendRows {
    CavtRows<2> spatial;  ///< a, b, c, d, m0, m1, m2, p0, p1, p2
    const std::uint8_t *pb, *pc, *nb, *nc;
};

/// What the columns of a chunk need, from the chunk's column from on.
struct BlendTerms {
    CavtTerms cavt;
    ColumnBuffer<std::uint8_t> temporal;  ///< T
    ColumnBuffer<std::uint8_t> bound;
    ColumnBuffer<std::uint8_t> combed;   ///< all ones where bound > delta
    ColumnBuffer<std::uint8_t> motion;   ///< e
    ColumnBuffer<std::uint8_t> spatial;  ///< S before it is clamped
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

/// max(0, by how much the smallest of T - b, T - c and the larger one of up and down is above zero). The mirrored
/// question, how far -hi is above zero, is the same one with all differences the other way round.
template <class V>
HWY_INLINE V sticksOut(V fromB, V fromC, V up, V down) {
    return hn::Min(hn::Min(fromB, fromC), hn::Max(up, down));
}

/// Everything but S, on columns [from, to) of a row.
HWY_INLINE void makeMotionTerms(const BlendRows& rows, const Chunk& chunk, std::uint8_t threshold, BlendTerms& terms) {
    const auto& s = rows.spatial;
    const std::uint8_t *rowB = s[1], *rowC = s[2], *rowM0 = s[4], *rowM1 = s[5], *rowM2 = s[6], *rowP0 = s[7],
                       *rowP1 = s[8], *rowP2 = s[9], *rowPB = rows.pb, *rowPC = rows.pc, *rowNB = rows.nb,
                       *rowNC = rows.nc;
    std::uint8_t *temporal = terms.temporal.data(), *bounds = terms.bound.data(), *combed = terms.combed.data(),
                 *motion = terms.motion.data();
    forEachRun<std::uint8_t>(chunk.to - chunk.from, [=](auto tag, int i) HWY_ATTR {
        const int x = chunk.from + i;
        const auto load = [=](const std::uint8_t* row) HWY_ATTR { return hn::LoadU(tag, row + x); };
        const auto b = load(rowB), c = load(rowC), m1 = load(rowM1), p1 = load(rowP1);
        const auto beforeB = absDifference(load(rowPB), b), beforeC = absDifference(load(rowPC), c);
        const auto afterB = absDifference(load(rowNB), b), afterC = absDifference(load(rowNC), c);
        const auto f0 = absDifference(m1, p1);
        const auto halfOfF0 = floorMean(f0, hn::Zero(tag));
        const auto delta = largest(halfOfF0, floorMean(beforeB, beforeC), floorMean(afterB, afterC));
        hn::StoreU(largest(f0, hn::AverageRound(beforeB, beforeC), hn::AverageRound(afterB, afterC)), tag, motion + i);

        // f1 and f2 stop at 255 here; where they are more, delta is above half of any threshold.
        const auto most = largest(f0, hn::SaturatedAdd(beforeB, beforeC), hn::SaturatedAdd(afterB, afterC));
        const auto still = hn::And(notAbove(tag, most, hn::Set(tag, threshold)),
                                   notAbove(tag, delta, hn::Set(tag, std::uint8_t(threshold >> 1))));

        // The comb check in differences that stop at zero, because the bound is never less than delta.
        const auto over = [](auto v, auto w) HWY_ATTR { return hn::SaturatedSub(v, w); };
        const auto t = hn::AverageRound(m1, p1), above = floorMean(load(rowM0), load(rowP0)),
                   below = floorMean(load(rowM2), load(rowP2));
        const auto lo = sticksOut(over(t, b), over(t, c), over(above, b), over(below, c));
        const auto minusHi = sticksOut(over(b, t), over(c, t), over(b, above), over(c, below));
        const auto bound = hn::Max(delta, hn::AndNot(still, hn::Max(lo, minusHi)));
        hn::StoreU(t, tag, temporal + i);
        hn::StoreU(bound, tag, bounds + i);
        hn::StoreU(hn::Not(hn::VecFromMask(tag, hn::Eq(bound, delta))), tag, combed + i);
    });
    motion[-1] = motion[0];
    motion[chunk.to - chunk.from] = motion[chunk.to - chunk.from - 1];
}

/// T + ((S - T) weight + 128 >> 8) on words, weight in 0 .. 256.
template <class D, class V>
HWY_INLINE V weighted(D, V t, V s, V weight) {
    return hn::Add(t, hn::MulFixedPoint15(hn::ShiftLeft<1>(hn::Sub(s, t)), hn::ShiftLeft<6>(weight)));
}

/// The same on bytes, weight in 0 .. 255.
template <class D8, class V>
HWY_INLINE V weightedBytes(D8 d8, V t, V s, V weight) {
    if constexpr (hn::MaxLanes(d8) == 1) {
        const hn::Rebind<std::int16_t, D8> d16;
        return hn::DemoteTo(d8,
                            weighted(d16, hn::PromoteTo(d16, t), hn::PromoteTo(d16, s), hn::PromoteTo(d16, weight)));
    } else {
        const hn::RepartitionToWide<D8> du16;
        const hn::RebindToSigned<decltype(du16)> d16;
        const auto even = [=](auto v) HWY_ATTR { return hn::And(hn::BitCast(d16, v), hn::Set(d16, 255)); };
        const auto odd = [=](auto v) HWY_ATTR { return hn::BitCast(d16, hn::ShiftRight<8>(hn::BitCast(du16, v))); };
        const auto low = weighted(d16, even(t), even(s), even(weight));
        const auto high = weighted(d16, odd(t), odd(s), odd(weight));
        return hn::BitCast(d8, hn::Or(low, hn::ShiftLeft<8>(high)));
    }
}

/// Clamps S and blends it with T.
HWY_INLINE void blendChunk(const BlendTerms& terms, const Chunk& chunk, const DeinterlaceBlendState& state,
                           std::uint8_t* out) {
    const int offset = chunk.begin - chunk.from;
    const std::uint8_t *temporal = terms.temporal.data() + offset, *bounds = terms.bound.data() + offset,
                       *combed = terms.combed.data() + offset, *motion = terms.motion.data() + offset,
                       *spatial = terms.spatial.data() + offset;
    const std::uint8_t t0 = state.threshold(0), t1 = state.threshold(1);
    // A weight of 256 is no byte: S is taken as it is.
    const auto weight0 = static_cast<std::uint8_t>(state.weight(0)),
               weight1 = static_cast<std::uint8_t>(state.weight(1));
    const std::uint8_t whole0 = state.weight(0) == 256 ? 255 : 0, whole1 = state.weight(1) == 256 ? 255 : 0;
    forEachRun<std::uint8_t>(chunk.end - chunk.begin, [=](auto d, int i) HWY_ATTR {
        const auto t = hn::LoadU(d, temporal + i), bound = hn::LoadU(d, bounds + i);
        const auto s =
            hn::Max(hn::Min(hn::LoadU(d, spatial + i), hn::SaturatedAdd(t, bound)), hn::SaturatedSub(t, bound));
        const auto sides = floorMean(hn::LoadU(d, motion + i - 1), hn::LoadU(d, motion + i + 1));
        const auto mu = hn::AverageRound(sides, hn::LoadU(d, motion + i));
        const auto still = hn::Eq(hn::Max(mu, hn::Set(d, t0)), hn::Set(d, t0));
        const auto moving = hn::Not(notAbove(d, mu, hn::Set(d, t1)));
        const auto weight = hn::IfThenElse(still, hn::Set(d, weight0), hn::Set(d, weight1));
        const auto whole = hn::IfThenElse(still, hn::Set(d, whole0), hn::Or(moving, hn::Set(d, whole1)));
        const auto take = hn::Or(whole, hn::LoadU(d, combed + i));
        hn::StoreU(hn::IfVecThenElse(take, s, weightedBytes(d, t, s, weight)), d, out + i);
    });
}

HWY_INLINE void blendRow(const BlendRows& rows, const DeinterlaceBlendState& state, BlendTerms& terms, int width,
                         std::uint8_t* out) {
    constexpr std::uint16_t strength = cavtStrength(1000);
    forEachChunk(width, [&](const Chunk& chunk) HWY_ATTR {
        makeTerms<2>(rows.spatial, chunk, terms.cavt);
        for (int x = chunk.begin; x < chunk.end; x += 2 * pairsPerStep())
            storeColumns(adapted(terms.cavt, (x - chunk.from) / 2, strength), terms.spatial.data() + (x - chunk.from));
        makeMotionTerms(rows, chunk, state.threshold(0), terms);
        blendChunk(terms, chunk, state, out + chunk.begin);
    });
}

void blendRows(const DeinterlaceBlendState& state, ConstViewU8 prev, ConstViewU8 cur, ConstViewU8 next, ViewU8 dst,
               BlendFields fields, int first, int last) {
    const int made = fields.generateTop ? 0 : 1;
    const bool keptIsEarlier = fields.topFirst != fields.generateTop, canMake = dst.height > 1;
    BlendTerms terms;
    for (int y = first; y < last; ++y) {
        if (y % 2 != made || !canMake) {
            if (y % 2 == made || fields.copyKept) std::memcpy(dst.row(y), cur.row(y), std::size_t(dst.width));
            continue;
        }
        const FieldRows kept(cur, 1 - made), keptBefore(prev, 1 - made), keptAfter(next, 1 - made);
        const FieldRows before(keptIsEarlier ? prev : cur, made), after(keptIsEarlier ? cur : next, made);
        const BlendRows rows{cavtRows<2>(kept, {before, after}, y), keptBefore.row(y - 1), keptBefore.row(y + 1),
                             keptAfter.row(y - 1), keptAfter.row(y + 1)};
        blendRow(rows, state, terms, dst.width, dst.row(y));
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
    HWY_DYNAMIC_DISPATCH(blendRows)(state, prev, cur, next, dst, fields, first, last);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
