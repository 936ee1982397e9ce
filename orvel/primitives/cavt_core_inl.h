// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_CAVT_CORE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_CAVT_CORE_INL_H_
#undef ORVEL_PRIMITIVES_CAVT_CORE_INL_H_
#else
#define ORVEL_PRIMITIVES_CAVT_CORE_INL_H_
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

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
// Everything fits 16-bit lanes. Even and odd columns are held apart: bytes become words and words bytes without leaving
// their place, and the two five-column sums of a pair of columns have four of their terms in common.

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using WordTag = hn::ScalableTag<std::int16_t>;
using UnsignedWordTag = hn::RebindToUnsigned<WordTag>;
using Word = hn::Vec<WordTag>;

/// A step: a vector of even columns and a vector of the odd ones between them.
struct Columns {
    Word even, odd;
};
inline constexpr int maxPairs = int(hn::MaxLanes(WordTag()));
HWY_INLINE int pairsPerStep() {
    return int(hn::Lanes(WordTag()));
}

HWY_INLINE Columns loadColumns(const std::uint8_t* p) {
    const WordTag d;
#if HWY_TARGET == HWY_SCALAR
    return {hn::Set(d, p[0]), hn::Set(d, p[1])};
#else
    const auto pairs = hn::BitCast(UnsignedWordTag(), hn::LoadU(hn::Repartition<std::uint8_t, WordTag>(), p));
    return {hn::And(hn::BitCast(d, pairs), hn::Set(d, 255)), hn::BitCast(d, hn::ShiftRight<8>(pairs))};
#endif
}

/// The values are in 0 .. 255.
HWY_INLINE void storeColumns(const Columns& columns, std::uint8_t* p) {
#if HWY_TARGET == HWY_SCALAR
    p[0] = static_cast<std::uint8_t>(hn::GetLane(columns.even));
    p[1] = static_cast<std::uint8_t>(hn::GetLane(columns.odd));
#else
    const hn::Repartition<std::uint8_t, WordTag> d8;
    hn::StoreU(hn::BitCast(d8, hn::Or(columns.even, hn::ShiftLeft<8>(columns.odd))), d8, p);
#endif
}

/// Part of a row that is worked on at once, so that what is known about its columns stays in the nearest cache:
/// columns [begin, end), for which terms of [from, to) are needed. Sides that are not the row's are whole steps apart.
struct Chunk {
    int begin, end, from, to;
};
inline constexpr int chunkColumns = 1024;

template <class Body>
HWY_INLINE void forEachChunk(int width, const Body& body) {
    const int step = 2 * pairsPerStep();
    for (int begin = 0, end; begin < width; begin = end) {
        end = begin + std::min(width - begin, chunkColumns);
        body(Chunk{begin, end, std::max(0, begin - step), end + std::min(width - end, step)});
    }
}

/// Room for something that each column of a chunk has, from column from on, with a margin before and after.
template <class T>
struct ColumnBuffer {
    static constexpr int margin = 64;
    alignas(64) T values[margin + chunkColumns + 3 * 2 * maxPairs + margin];
    T* data() { return values + margin; }
    const T* data() const { return values + margin; }
};

/// The same with even and odd columns apart.
template <class T>
struct PairBuffer {
    static constexpr int margin = 64 / int(sizeof(T));
    alignas(64) T values[2][margin + chunkColumns / 2 + 3 * maxPairs + margin];
    T* even() { return values[0] + margin; }
    T* odd() { return values[1] + margin; }
    const T* even() const { return values[0] + margin; }
    const T* odd() const { return values[1] + margin; }
    HWY_INLINE void put(const Columns& columns, int pair) {
        hn::StoreU(columns.even, WordTag(), even() + pair);
        hn::StoreU(columns.odd, WordTag(), odd() + pair);
    }
};

/// What the filter knows about the columns of a chunk before it looks at their neighbours.
struct CavtTerms {
    PairBuffer<std::int16_t> detail;      ///< plus 8, so that five columns bring the 40
    PairBuffer<std::int16_t> mismatch8;   ///< eight times the mismatch
    PairBuffer<std::int16_t> value;       ///< V
    PairBuffer<std::int16_t> correction;  ///< V - S
};

/// The rows a, b, c, d, then u0, u1, u2 of the only other field or of the first one, then those of the second.
template <int kFields>
using CavtRows = std::array<const std::uint8_t*, 4 + 3 * kFields>;

template <int kFields>
HWY_INLINE CavtRows<kFields> cavtRows(const FieldRows& kept, const std::array<FieldRows, kFields>& others, int y) {
    CavtRows<kFields> rows = {kept.row(y - 3), kept.row(y - 1), kept.row(y + 1), kept.row(y + 3)};
    for (std::size_t k = 0; k < kFields; ++k)
        for (int i = 0; i < 3; ++i) rows[4 + 3 * k + std::size_t(i)] = others[k].row(y - 2 + 2 * i);
    return rows;
}

/// (v + 8) >> 4.
HWY_INLINE Word sixteenth(Word v) {
    return hn::MulFixedPoint15(v, hn::Set(WordTag(), 1 << 11));
}

/// max(0, (v - minus + 8) >> 4) capped at 255; v and minus are not negative.
HWY_INLINE Word sixteenthSample(Word v, Word minus) {
    const WordTag d;
    const UnsignedWordTag du;
    const auto difference = hn::SaturatedSub(hn::BitCast(du, v), hn::BitCast(du, minus));
    return hn::Min(sixteenth(hn::BitCast(d, difference)), hn::Set(d, 255));
}

struct TermsOfWord {
    Word detail, mismatch8, value, correction;
};

/// With one other field the u given are its samples, half of the u of the formulas.
template <int kFields>
HWY_INLINE TermsOfWord termsOf(Word a, Word b, Word c, Word d, Word u0, Word u1, Word u2) {
    const WordTag tag;
    constexpr int half = 2 - kFields;
    const Word inner = hn::Add(b, c), outer = hn::Add(a, d);
    const Word centre = hn::ShiftLeft<1>(u1), sides = hn::Add(u0, u2);

    const Word slope = hn::Sub(c, b);
    const Word bends = hn::Add(hn::Abs(hn::Sub(hn::Sub(b, a), slope)), hn::Abs(hn::Sub(slope, hn::Sub(d, c))));
    const Word edge = hn::Abs(hn::Sub(centre, sides));
    const Word detail = hn::Add(hn::Add(bends, half ? edge : hn::ShiftRight<1>(edge)), hn::Set(tag, 8));

    const Word gap = hn::Abs(hn::Sub(hn::Add(centre, sides), hn::ShiftLeft<2 - half>(inner)));
    const Word mismatch8 = half ? hn::ShiftLeft<3>(gap) : hn::And(hn::ShiftLeft<2>(gap), hn::Set(tag, ~7));

    const Word spatial = sixteenthSample(hn::Mul(inner, hn::Set(tag, 9)), outer);
    const Word smooth = hn::Add(hn::Mul(inner, hn::Set(tag, 7)), outer);
    const Word value =
        sixteenthSample(hn::Add(smooth, hn::ShiftLeft<1 + half>(centre)), hn::ShiftLeft<1 + half>(sides));
    return {detail, mismatch8, value, hn::Sub(value, spatial)};
}

template <int kFields>
HWY_INLINE void makeTermsOfStep(const CavtRows<kFields>& rows, int x, int pair, CavtTerms& to) {
    const Columns a = loadColumns(rows[0] + x), b = loadColumns(rows[1] + x), c = loadColumns(rows[2] + x),
                  d = loadColumns(rows[3] + x);
    Columns u[3];
    for (std::size_t i = 0; i < 3; ++i) {
        u[i] = loadColumns(rows[4 + i] + x);
        if constexpr (kFields == 2) {
            const Columns second = loadColumns(rows[7 + i] + x);
            u[i] = {hn::Add(u[i].even, second.even), hn::Add(u[i].odd, second.odd)};
        }
    }
    const TermsOfWord even = termsOf<kFields>(a.even, b.even, c.even, d.even, u[0].even, u[1].even, u[2].even);
    const TermsOfWord odd = termsOf<kFields>(a.odd, b.odd, c.odd, d.odd, u[0].odd, u[1].odd, u[2].odd);
    to.detail.put({even.detail, odd.detail}, pair);
    to.mismatch8.put({even.mismatch8, odd.mismatch8}, pair);
    to.value.put({even.value, odd.value}, pair);
    to.correction.put({even.correction, odd.correction}, pair);
}

/// A column before the first pair and one after the last one repeat the row's border columns.
HWY_INLINE void repeatBorders(PairBuffer<std::int16_t>& terms, int pairs) {
    terms.even()[-1] = terms.odd()[-1] = terms.even()[0];
    terms.even()[pairs] = terms.odd()[pairs] = terms.odd()[pairs - 1];
}

/// The terms of the chunk's columns [from, to).
template <int kFields>
HWY_INLINE void makeTerms(const CavtRows<kFields>& rows, const Chunk& chunk, CavtTerms& terms) {
    const int step = 2 * pairsPerStep(), whole = chunk.to - (chunk.to - chunk.from) % step;
    for (int x = chunk.from; x < whole; x += step) makeTermsOfStep<kFields>(rows, x, (x - chunk.from) / 2, terms);
    int pairs = (whole - chunk.from) / 2;
    if (whole < chunk.to) {
        // The end of the row is no whole step: work on a copy, continued with the row's last column.
        alignas(64) std::uint8_t copies[std::tuple_size_v<CavtRows<kFields>>][2 * maxPairs];
        CavtRows<kFields> copied;
        const auto rest = std::size_t(chunk.to - whole);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            std::memcpy(copies[i], rows[i] + whole, rest);
            std::memset(copies[i] + rest, copies[i][rest - 1], std::size_t(step) - rest);
            copied[i] = copies[i];
        }
        makeTermsOfStep<kFields>(copied, 0, pairs, terms);
        pairs += pairsPerStep();
    }
    repeatBorders(terms.detail, pairs);
    repeatBorders(terms.mismatch8, pairs);
}

/// Sums over five columns around each column of a step.
HWY_INLINE Columns sumsOfFive(const PairBuffer<std::int16_t>& terms, int pair) {
    const WordTag d;
    const std::int16_t *even = terms.even() + pair, *odd = terms.odd() + pair;
    const Word common =
        hn::Add(hn::Add(hn::LoadU(d, even), hn::LoadU(d, odd)), hn::Add(hn::LoadU(d, odd - 1), hn::LoadU(d, even + 1)));
    return {hn::Add(common, hn::LoadU(d, even - 1)), hn::Add(common, hn::LoadU(d, odd + 1))};
}

/// V - ((V - S) (8 - g) + 4 >> 3), which is the result. 8 - g is the quotient of 8 q + ((D - 1) >> 1) and D: it is
/// divided as on paper, binary digit by digit. A q above D gives g = 0 as D itself does, and keeps within 16 bits.
HWY_INLINE Word adaptedWord(Word detail, Word mismatch8, Word value, Word correction, std::uint16_t strength) {
    const WordTag d;
    const UnsignedWordTag du;
    const auto divisor = hn::BitCast(du, detail);
    const auto q = hn::Min(hn::MulHigh(hn::BitCast(du, mismatch8), hn::Set(du, strength)), divisor);
    auto rest = hn::Add(hn::ShiftLeft<3>(q), hn::ShiftRight<1>(hn::Sub(divisor, hn::Set(du, 1))));
    // A digit is all ones where the multiple of the divisor fits; the difference wraps to more than rest elsewhere.
    const auto digit = [&](auto multiple) HWY_ATTR {
        const auto difference = hn::Sub(rest, multiple);
        rest = hn::Min(rest, difference);
        return hn::BitCast(d, hn::VecFromMask(du, hn::Eq(rest, difference)));
    };
    const Word fours = digit(hn::ShiftLeft<2>(divisor)), twos = digit(hn::ShiftLeft<1>(divisor));
    const Word ones = digit(divisor), last = digit(divisor);
    const Word upper = hn::Add(hn::Add(fours, fours), twos);
    const Word minusQuotient = hn::Add(hn::Add(upper, upper), hn::Add(ones, last));
    return hn::Add(value, hn::MulFixedPoint15(correction, hn::ShiftLeft<12>(minusQuotient)));
}

/// The results of the step that begins with the given pair of the chunk.
HWY_INLINE Columns adapted(const CavtTerms& terms, int pair, std::uint16_t strength) {
    const WordTag d;
    const Columns detail = sumsOfFive(terms.detail, pair), mismatch8 = sumsOfFive(terms.mismatch8, pair);
    const auto word = [&](const Word& sum, const Word& gap, const std::int16_t* v, const std::int16_t* c) HWY_ATTR {
        return adaptedWord(sum, gap, hn::LoadU(d, v + pair), hn::LoadU(d, c + pair), strength);
    };
    return {word(detail.even, mismatch8.even, terms.value.even(), terms.correction.even()),
            word(detail.odd, mismatch8.odd, terms.value.odd(), terms.correction.odd())};
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
