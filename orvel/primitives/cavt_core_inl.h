// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_CAVT_CORE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_CAVT_CORE_INL_H_
#undef ORVEL_PRIMITIVES_CAVT_CORE_INL_H_
#else
#define ORVEL_PRIMITIVES_CAVT_CORE_INL_H_
#endif

#include <hwy/highway.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <tuple>

#include "orvel/primitives/column_steps_inl.h"
#include "orvel/primitives/field_rows.h"

// The content-adaptive vertical-temporal filter: one row between rows of a kept field, out of that field and what the
// other field has near it. For the row y: a, b, c, d are the kept rows y-3, y-1, y+1, y+3; u0, u1, u2 are the sums of
// the two other fields' rows y-2, y, y+2, or twice those of the only one. Every column x by itself:
//
//   S = clip((9 (b + c) - a - d + 8) >> 4)                                    within the kept field
//   V = clip((2 (a + 7 b + 7 c + d) + 8 u1 - 4 u0 - 4 u2 + 16) >> 5)          with the other field's detail
//   detail   = (|2 u1 - u0 - u2| >> 1) + |2 b - a - c| + |2 c - b - d|        inside the fields
//   mismatch = |2 u1 + u0 + u2 - 4 (b + c)| >> 1                              between the fields
//
// With D = 40 + the sum of detail and C = the sum of mismatch over the columns x-2 .. x+2, columns clamped to the row:
//
//   q = (8 C strength) >> 16,   g = how many j in 1 .. 8 have q <= (D (17 - 2 j)) >> 4
//   result = S + (((V - S) g + 4) >> 3)
//
// Everything fits 16-bit lanes. Even and odd columns are held apart, as the two five-column sums of a pair of columns
// have four of their terms in common.

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// Generated rows that are made at once, because neighbours look at the same rows. More rows share more but hold more
/// terms in the cache; what is faster has been measured.
template <int kFields>
inline constexpr int cavtRowsAtOnce = kFields == 1 ? 2 : 4;

/// What the filter knows about the columns of a chunk of one generated row before it looks at their neighbours.
struct CavtTerms {
    PairBuffer<std::int16_t> detail;
    PairBuffer<std::int16_t> mismatch;   ///< mismatchScale times the mismatch
    PairBuffer<std::int16_t> spatial;    ///< S
    PairBuffer<std::int16_t> deviation;  ///< S - V
};

/// Eight times the mismatch is at hand at once when u is twice a sample; else twice the mismatch is cheaper.
template <int kFields>
inline constexpr int mismatchScale = kFields == 1 ? 8 : 2;

/// The factor for sums of scaled mismatches whose products' high halves are the q of the strength.
template <int kFields>
constexpr std::uint16_t scaledStrength(int strength) {
    return static_cast<std::uint16_t>(strength * (8 / mismatchScale<kFields>));
}

/// The rows that generated rows look at: those of the kept field, then those of each other field.
template <int kFields>
inline constexpr std::size_t keptRows = 3 + cavtRowsAtOnce<kFields>;
template <int kFields>
inline constexpr std::size_t otherRows = 2 + cavtRowsAtOnce<kFields>;
template <int kFields>
using CavtRows = std::array<const std::uint8_t*, keptRows<kFields> + kFields * otherRows<kFields>>;
template <int kFields>
using CavtRowsTerms = CavtTerms[cavtRowsAtOnce<kFields>];

/// The rows for the generated rows from y on.
template <int kFields>
HWY_INLINE CavtRows<kFields> cavtRows(const FieldRows& kept, const std::array<FieldRows, kFields>& others, int y) {
    CavtRows<kFields> rows;
    std::size_t n = 0;
    for (std::size_t i = 0; i < keptRows<kFields>; ++i) rows[n++] = kept.row(y - 3 + 2 * int(i));
    for (const FieldRows& other : others)
        for (std::size_t i = 0; i < otherRows<kFields>; ++i) rows[n++] = other.row(y - 2 + 2 * int(i));
    return rows;
}

/// min(255, (v + 8) >> 4).
HWY_INLINE Word sixteenth(Word v) {
    const WordTag d;
    return hn::Min(hn::MulFixedPoint15(v, hn::Set(d, 1 << 11)), hn::Set(d, 255));
}

/// max(0, a - b) of values that are not negative.
HWY_INLINE Word excess(Word a, Word b) {
    const UnsignedWordTag du;
    return hn::BitCast(WordTag(), hn::SaturatedSub(hn::BitCast(du, a), hn::BitCast(du, b)));
}

/// |2 middle - upper - lower|.
HWY_INLINE Word bendOf(Word upper, Word middle, Word lower) {
    return hn::Abs(hn::Sub(hn::Sub(middle, upper), hn::Sub(lower, middle)));
}

/// The terms of the even or of the odd columns of a step of one row; bends is |2 b - a - c| + |2 c - b - d|. With one
/// other field the u given are its samples, half of the u of the formulas. Stores as soon as it can: a record of
/// vectors would go through memory.
template <int kFields>
HWY_INLINE void putTerms(Word a, Word b, Word c, Word d, Word bends, Word u0, Word u1, Word u2, std::size_t odd,
                         std::ptrdiff_t pair, CavtTerms& to) {
    const WordTag tag;
    constexpr int half = 2 - kFields;
    const Word inner = hn::Add(b, c), outer = hn::Add(a, d);
    const Word centre = hn::ShiftLeft<1>(u1), sides = hn::Add(u0, u2);
    const Word edge = hn::Sub(centre, sides), size = hn::Abs(edge);
    hn::StoreU(hn::Add(bends, half ? size : hn::ShiftRight<1>(size)), tag, to.detail.at(odd) + pair);

    const Word gap = hn::Abs(hn::Sub(hn::Add(centre, sides), hn::ShiftLeft<2 - half>(inner)));
    hn::StoreU(half ? hn::ShiftLeft<3>(gap) : hn::And(gap, hn::Set(tag, ~1)), tag, to.mismatch.at(odd) + pair);

    const Word eight = hn::ShiftLeft<3>(inner);
    const Word spatial = sixteenth(excess(hn::Add(eight, inner), outer));
    const Word detailed = hn::Add(hn::Add(hn::Sub(eight, inner), outer), hn::ShiftLeft<1 + half>(edge));
    hn::StoreU(spatial, tag, to.spatial.at(odd) + pair);
    hn::StoreU(hn::Sub(spatial, hn::Max(sixteenth(detailed), hn::Zero(tag))), tag, to.deviation.at(odd) + pair);
}

/// The terms of the step that begins with the given pair of columns, counted from the rows' pointers. What one row has
/// read and computed stays in registers for the next.
template <int kFields>
HWY_INLINE void putStep(const CavtRows<kFields>& rows, std::ptrdiff_t from, std::ptrdiff_t pair,
                        CavtRowsTerms<kFields>& terms) {
    const auto put = [&](std::size_t odd, auto load) HWY_ATTR {
        const auto kept = [&](std::size_t i) HWY_ATTR { return load(rows[i] + 2 * from); };
        const auto other = [&](std::size_t i) HWY_ATTR {
            const Word first = kept(keptRows<kFields> + i);
            if constexpr (kFields == 1)
                return first;
            else
                return hn::Add(first, kept(keptRows<kFields> + otherRows<kFields> + i));
        };
        Word a = kept(0), b = kept(1), c = kept(2), u0 = other(0), u1 = other(1), bend = bendOf(a, b, c);
        for (std::size_t row = 0; row < cavtRowsAtOnce<kFields>; ++row) {
            const Word d = kept(3 + row), u2 = other(2 + row), nextBend = bendOf(b, c, d);
            putTerms<kFields>(a, b, c, d, hn::Add(bend, nextBend), u0, u1, u2, odd, pair, terms[row]);
            a = b, b = c, c = d, u0 = u1, u1 = u2, bend = nextBend;
        }
    };
    put(0, [](const std::uint8_t* p) HWY_ATTR { return loadEven(p); });
    put(1, [](const std::uint8_t* p) HWY_ATTR { return loadOdd(p); });
}

/// The ends of rows, no whole step, continued with each row's last column to one.
template <int kFields>
struct RowEnds {
    CavtRows<kFields> rows;
    alignas(64) std::uint8_t bytes[std::tuple_size_v<CavtRows<kFields>>][2 * maxPairs];
};

template <int kFields>
HWY_INLINE void copyEnds(const CavtRows<kFields>& rows, std::ptrdiff_t from, std::ptrdiff_t to,
                         RowEnds<kFields>& ends) {
    const auto rest = static_cast<std::size_t>(to - from);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        std::uint8_t* const end = ends.bytes[i];
        std::memcpy(end, rows[i] + from, rest);
        std::memset(end + rest, end[rest - 1], sizeof ends.bytes[i] - rest);
        ends.rows[i] = end;
    }
}

/// The terms of the chunk's columns [from, to).
template <int kFields>
HWY_INLINE void makeTerms(const CavtRows<kFields>& rows, Chunk chunk, CavtRowsTerms<kFields>& terms) {
    CavtRows<kFields> at = rows;  // own copies, which the stores below cannot change
    for (auto& row : at) row += chunk.from;
    const std::ptrdiff_t step = pairsPerStep(), columns = chunk.to - chunk.from;
    std::ptrdiff_t pair = 0;
    for (; 2 * (pair + step) <= columns; pair += step) putStep<kFields>(at, pair, pair, terms);
    if (2 * pair < columns) {
        RowEnds<kFields> ends;
        copyEnds<kFields>(at, 2 * pair, columns, ends);
        putStep<kFields>(ends.rows, 0, pair, terms);
        pair += step;
    }
    for (CavtTerms& ofRow : terms) {
        repeatBorders(ofRow.detail, pair);
        repeatBorders(ofRow.mismatch, pair);
    }
}

/// 8 - g of a column is the quotient of these two: 8 q + ((D - 1) >> 1) and D. A q above D gives g = 0 as D itself
/// does, so that it need not be above D and all keeps within 16 bits.
struct Share {
    Word dividend, divisor;
};
struct SharesOfStep {
    Share even, odd;
};

HWY_INLINE Share shareOf(Word detail, Word mismatch, Word strength) {
    const WordTag d;
    const UnsignedWordTag du;
    const auto divisor = hn::BitCast(du, detail);
    const auto q = hn::Min(hn::MulHigh(hn::BitCast(du, mismatch), hn::BitCast(du, strength)), divisor);
    const auto half = hn::ShiftRight<1>(hn::Sub(divisor, hn::Set(du, 1)));
    return {hn::BitCast(d, hn::Add(hn::ShiftLeft<3>(q), half)), detail};
}

/// The shares of the step that begins with the given pair of the chunk. The sums over five columns of its even and
/// those of its odd columns have four columns in common.
HWY_INLINE SharesOfStep sharesOf(const CavtTerms& terms, std::ptrdiff_t pair, std::uint16_t strength) {
    const WordTag d;
    const auto common = [&](const PairBuffer<std::int16_t>& of) HWY_ATTR {
        const std::int16_t *even = of.even() + pair, *odd = of.odd() + pair;
        return hn::Add(hn::Add(hn::LoadU(d, even), hn::LoadU(d, odd)),
                       hn::Add(hn::LoadU(d, odd - 1), hn::LoadU(d, even + 1)));
    };
    const auto before = [&](const PairBuffer<std::int16_t>& of) HWY_ATTR { return hn::LoadU(d, of.even() + pair - 1); };
    const auto after = [&](const PairBuffer<std::int16_t>& of) HWY_ATTR { return hn::LoadU(d, of.odd() + pair + 1); };
    const Word detail = hn::Add(common(terms.detail), hn::Set(d, 40)), mismatch = common(terms.mismatch);
    const Word factor = hn::BitCast(d, hn::Set(UnsignedWordTag(), strength));
    return {shareOf(hn::Add(detail, before(terms.detail)), hn::Add(mismatch, before(terms.mismatch)), factor),
            shareOf(hn::Add(detail, after(terms.detail)), hn::Add(mismatch, after(terms.mismatch)), factor)};
}

/// S + (((V - S) g + 4) >> 3). The quotient is found as on paper, binary digit by digit; being 8 at most, it has the
/// digits 4, 2, 1 and 1.
HWY_INLINE Word adaptedWord(Share share, const std::int16_t* spatial, const std::int16_t* deviation) {
    const WordTag d;
    const UnsignedWordTag du;
    auto rest = hn::BitCast(du, share.dividend);
    // All ones where the multiple of the divisor does not fit; the difference then wraps to more than rest.
    const auto misses = [&](Word multiple) HWY_ATTR {
        const auto before = rest;
        rest = hn::Min(before, hn::Sub(before, hn::BitCast(du, multiple)));
        return hn::BitCast(d, hn::VecFromMask(du, hn::Eq(rest, before)));
    };
    const Word twice = hn::ShiftLeft<1>(share.divisor);
    const Word fours = misses(hn::ShiftLeft<2>(share.divisor)), twos = misses(twice);
    // What is left is below 2.5 D and compares as a signed number.
    const Word left = hn::BitCast(d, rest);
    const Word ones = hn::Add(hn::VecFromMask(d, hn::Gt(share.divisor, left)), hn::VecFromMask(d, hn::Gt(twice, left)));
    const Word upper = hn::Add(hn::Add(fours, fours), twos);
    const Word minusG = hn::Add(hn::Add(upper, upper), ones);
    return hn::Add(hn::LoadU(d, spatial), hn::MulFixedPoint15(hn::LoadU(d, deviation), hn::ShiftLeft<12>(minusG)));
}

/// Calls put(pair, columns) with the results of each step of the chunk's columns [begin, end). While a step is divided,
/// the next one's sums are made already: one after the other they would be a chain too long to overlap.
template <class Put>
HWY_INLINE void forEachAdapted(const CavtTerms& terms, Chunk chunk, std::uint16_t strength, const Put& put) {
    const std::ptrdiff_t step = pairsPerStep(), last = chunk.end - chunk.from;
    std::ptrdiff_t pair = (chunk.begin - chunk.from) / 2;
    SharesOfStep shares = sharesOf(terms, pair, strength);
    while (true) {
        const std::ptrdiff_t next = pair + step;
        const bool more = 2 * next < last;
        const SharesOfStep nextShares = sharesOf(terms, more ? next : pair, strength);
        put(pair, Columns{adaptedWord(shares.even, terms.spatial.even() + pair, terms.deviation.even() + pair),
                          adaptedWord(shares.odd, terms.spatial.odd() + pair, terms.deviation.odd() + pair)});
        if (!more) return;
        shares = nextShares;
        pair = next;
    }
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
