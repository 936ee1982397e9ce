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

#include "orvel/primitives/byte_products_inl.h"
#include "orvel/primitives/column_steps_inl.h"
#include "orvel/primitives/field_rows.h"
#include "orvel/primitives/sample_math_inl.h"

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
    PairBuffer<std::int16_t> detail;      ///< 8 more, which makes the 40 of D
    PairBuffer<std::int16_t> mismatch;    ///< mismatchScale times the mismatch
    PairBuffer<std::int16_t> candidates;  ///< S and V, see candidatesOf()
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

/// The samples nearest to sixteenths, as bytes: in each block of the vector the spatial ones, then the detailed ones.
/// Without blocks they share a word.
HWY_INLINE Word candidatesOf(Word spatial, Word detailed) {
    const WordTag d;
    const auto sixteenth = [=](Word v) HWY_ATTR { return hn::MulFixedPoint15(v, hn::Set(d, 1 << 11)); };
#if HWY_TARGET == HWY_SCALAR
    const auto byte = [=](Word v) HWY_ATTR { return hn::Clamp(sixteenth(v), hn::Zero(d), hn::Set(d, 255)); };
    return hn::Or(byte(spatial), hn::ShiftLeft<8>(byte(detailed)));
#else
    return hn::BitCast(d, packBlocks(sixteenth(spatial), sixteenth(detailed)));
#endif
}

/// a - b, which fits. The compiler would regroup differences of plain differences and lose what rows have in common.
HWY_INLINE Word difference(Word a, Word b) {
    return hn::SaturatedSub(a, b);
}

/// How a row goes on from its neighbours: the differences a to b, b to c, c to d of the kept rows and those of the
/// other fields' u0 to u1 to u2. All that the filter asks of a and d and of u0 and u2 is in them.
struct Slopes {
    Word ab, bc, cd, u01, u12;
};

/// The terms of the even or of the odd columns of a step of one row; bends is |2 b - a - c| + |2 c - b - d|. Stores as
/// soon as it can: a record of vectors would go through memory.
template <int kFields>
HWY_INLINE void putTerms(Word inner, Word u1, const Slopes& slopes, Word bends, std::size_t odd, std::ptrdiff_t pair,
                         CavtTerms& to) {
    const WordTag d;
    const UnsignedWordTag du;
    const auto put = [=](Word v, PairBuffer<std::int16_t>& buffer)
                         HWY_ATTR { hn::StoreU(v, d, buffer.at(odd) + pair); };
    const Word edge = difference(slopes.u01, slopes.u12);
    const Word half = hn::BitCast(d, hn::AverageRound(hn::BitCast(du, hn::Abs(edge)), hn::Set(du, 15)));  // and 8
    put(hn::Add(bends, half), to.detail);

    const Word gap = hn::Abs(hn::Sub(hn::ShiftLeft<2>(hn::Sub(u1, inner)), edge));
    put(kFields == 1 ? hn::ShiftLeft<2>(gap) : hn::And(gap, hn::Set(d, ~1)), to.mismatch);

    const Word eight = hn::ShiftLeft<3>(inner), bow = difference(slopes.cd, slopes.ab);
    const Word detailed = hn::Add(hn::Add(eight, bow), hn::Add(edge, edge));
    put(candidatesOf(hn::Sub(eight, bow), detailed), to.candidates);
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
            return hn::Add(first, kFields == 1 ? first : kept(keptRows<kFields> + otherRows<kFields> + i));
        };
        const auto bend = [](Word upper, Word lower) HWY_ATTR { return hn::Abs(hn::Sub(upper, lower)); };
        Word b = kept(1), c = kept(2), ab = difference(b, kept(0)), bc = difference(c, b), bendB = bend(ab, bc);
        Word u1 = other(1), u01 = difference(u1, other(0));
        for (std::size_t row = 0; row < cavtRowsAtOnce<kFields>; ++row) {
            const Word d = kept(3 + row), cd = difference(d, c), bendC = bend(bc, cd);
            const Word u2 = other(2 + row), u12 = difference(u2, u1);
            putTerms<kFields>(hn::Add(b, c), u1, {ab, bc, cd, u01, u12}, hn::Add(bendB, bendC), odd, pair, terms[row]);
            b = c, c = d, ab = bc, bc = cd, bendB = bendC, u1 = u2, u01 = u12;
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

/// The terms of the chunk's columns [from, to). Asks for upcoming, whose rows begin at column from.
template <int kFields, std::size_t count>
HWY_INLINE void makeTerms(const CavtRows<kFields>& rows, Chunk chunk, const Upcoming<count>& upcoming,
                          CavtRowsTerms<kFields>& terms) {
    CavtRows<kFields> at = rows;  // own copies, which the stores below cannot change
    for (auto& row : at) row += chunk.from;
    const std::ptrdiff_t step = pairsPerStep(), columns = chunk.to - chunk.from;
    std::ptrdiff_t pair = 0;
    for (; 2 * (pair + step) <= columns; pair += step) {
        upcoming.template ask<2 * maxPairs>(2 * pair);
        putStep<kFields>(at, pair, pair, terms);
    }
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
/// does, so that it need not be above D and all keeps within 16 bits: D + C is 7690 at most, which with q = D leaves
/// below 2^15 of the dividend after 4 D.
struct Share {
    Word dividend;  ///< with its top bit flipped, so that a signed comparison sees its order
    Word divisor;
};
struct SharesOfStep {
    Share even, odd;
};

HWY_INLINE Share shareOf(Word detail, Word mismatch, Word strength) {
    const WordTag d;
    const UnsignedWordTag du;
    const auto divisor = hn::BitCast(du, detail);
    const auto q = hn::Min(hn::MulHigh(hn::BitCast(du, mismatch), hn::BitCast(du, strength)), divisor);
    const auto half = hn::AverageRound(divisor, hn::Set(du, 65534));  // and 32768
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
    const Word detail = common(terms.detail), mismatch = common(terms.mismatch);
    const Word factor = hn::BitCast(d, hn::Set(UnsignedWordTag(), strength));
    return {shareOf(hn::Add(detail, before(terms.detail)), hn::Add(mismatch, before(terms.mismatch)), factor),
            shareOf(hn::Add(detail, after(terms.detail)), hn::Add(mismatch, after(terms.mismatch)), factor)};
}

/// The digits of a share's quotient, found as on paper; being 8 at most, it has the digits 4, 2, 1 and 1. Negative
/// words where the digit counts.
struct Digits {
    Word four, two, one, last;
};

HWY_INLINE Digits digitsOf(Share share) {
    Word rest = share.dividend;
    const auto take = [&](Word multiple) HWY_ATTR {
        const Word less = hn::Sub(rest, multiple);  // not negative, and more than rest, where the multiple does not fit
        rest = hn::Min(rest, less);
        return less;
    };
    const Word twice = hn::Add(share.divisor, share.divisor);
    const Word four = take(hn::Add(twice, twice)), two = take(twice);
    return {four, two, hn::Sub(rest, share.divisor), hn::Sub(rest, twice)};
}

/// The candidates of the step that begins with the given pair of the chunk; in each block first the even columns.
struct Candidates {
    StepBytes spatial, detailed;
};

HWY_INLINE Candidates candidatesAt(const CavtTerms& terms, std::ptrdiff_t pair) {
    const std::int16_t *even = terms.candidates.even() + pair, *odd = terms.candidates.odd() + pair;
#if HWY_TARGET == HWY_SCALAR
    const auto byte = [](int v) { return static_cast<std::uint8_t>(v & 255); };
    return {{byte(*even), byte(*odd)}, {byte(*even >> 8), byte(*odd >> 8)}};
#else
    const hn::Repartition<std::uint8_t, WordTag> d8;
    const hn::Repartition<std::uint64_t, WordTag> d64;
    const auto e = hn::BitCast(d64, hn::LoadU(WordTag(), even)), o = hn::BitCast(d64, hn::LoadU(WordTag(), odd));
    return {hn::BitCast(d8, hn::InterleaveLower(d64, e, o)), hn::BitCast(d8, hn::InterleaveUpper(d64, e, o))};
#endif
}

/// S + (((V - S) g + 4) >> 3), which is the mean of S and V where each digit that counts stands for S. In the order of
/// the candidates.
HWY_INLINE StepBytes mixed(const SharesOfStep& shares, const Candidates& of) {
    const Digits even = digitsOf(shares.even), odd = digitsOf(shares.odd);
#if HWY_TARGET == HWY_SCALAR
    const auto column = [](const Digits& digits, int s, int v) {
        const auto value = [=](Word digit) { return hn::GetLane(digit) < 0 ? s : v; };
        const int eighths = 4 * value(digits.four) + 2 * value(digits.two) + value(digits.one) + value(digits.last);
        return static_cast<std::uint8_t>((eighths + 4) >> 3);
    };
    return {column(even, of.spatial.even, of.detailed.even), column(odd, of.spatial.odd, of.detailed.odd)};
#else
    const auto choose = [](Word digitEven, Word digitOdd, StepBytes s, StepBytes v)
                            HWY_ATTR { return ifNegative(packSignedBlocks(digitEven, digitOdd), s, v); };
    const StepBytes s = of.spatial, v = of.detailed, notS = hn::Not(s), notV = hn::Not(v);
    // Means of complements are rounded down, as all but the last one must be.
    const auto ones = hn::AverageRound(choose(even.one, odd.one, notS, notV), choose(even.last, odd.last, notS, notV));
    const auto small = hn::Not(hn::AverageRound(choose(even.two, odd.two, notS, notV), ones));
    return hn::AverageRound(choose(even.four, odd.four, s, v), small);
#endif
}

/// Calls put(pair, bytes) with the results of each step of the chunk's columns [begin, end). While a step is divided,
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
        put(pair, inColumnOrder(mixed(shares, candidatesAt(terms, pair))));
        if (!more) return;
        shares = nextShares;
        pair = next;
    }
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
