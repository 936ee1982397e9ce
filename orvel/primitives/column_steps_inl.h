// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_COLUMN_STEPS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_COLUMN_STEPS_INL_H_
#undef ORVEL_PRIMITIVES_COLUMN_STEPS_INL_H_
#else
#define ORVEL_PRIMITIVES_COLUMN_STEPS_INL_H_
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

// Rows taken in steps of whole vectors of words, even and odd columns apart: bytes become words and words bytes without
// leaving their place.

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using WordTag = hn::ScalableTag<std::int16_t>;
using UnsignedWordTag = hn::RebindToUnsigned<WordTag>;
using Word = hn::Vec<WordTag>;

inline constexpr int maxPairs = int(hn::MaxLanes(WordTag()));
HWY_INLINE int pairsPerStep() {
    return int(hn::Lanes(WordTag()));
}

/// Columns 0, 2, 4 .. of a step.
HWY_INLINE Word loadEven(const std::uint8_t* p) {
    const WordTag d;
#if HWY_TARGET == HWY_SCALAR
    return hn::Set(d, p[0]);
#else
    return hn::And(hn::BitCast(d, hn::LoadU(hn::Repartition<std::uint8_t, WordTag>(), p)), hn::Set(d, 255));
#endif
}

/// Columns 1, 3, 5 .. of a step.
HWY_INLINE Word loadOdd(const std::uint8_t* p) {
    const WordTag d;
#if HWY_TARGET == HWY_SCALAR
    return hn::Set(d, p[1]);
#else
    const auto bytes = hn::LoadU(hn::Repartition<std::uint8_t, WordTag>(), p);
    return hn::BitCast(d, hn::ShiftRight<8>(hn::BitCast(UnsignedWordTag(), bytes)));
#endif
}

/// The columns of a step as bytes.
#if HWY_TARGET == HWY_SCALAR
struct StepBytes {
    std::uint8_t even, odd;
};
#else
using StepBytes = hn::Vec<hn::Repartition<std::uint8_t, WordTag> >;
#endif

HWY_INLINE void storeStep(StepBytes columns, std::uint8_t* p) {
#if HWY_TARGET == HWY_SCALAR
    p[0] = columns.even;
    p[1] = columns.odd;
#else
    hn::StoreU(columns, hn::Repartition<std::uint8_t, WordTag>(), p);
#endif
}

/// Columns that stand apart in each block, first the even, then the odd ones.
HWY_INLINE StepBytes inColumnOrder(StepBytes columns) {
#if HWY_TARGET == HWY_SCALAR
    return columns;
#else
    alignas(16) static constexpr std::uint8_t order[16] = {0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15};
    return hn::TableLookupBytes(columns, hn::LoadDup128(hn::Repartition<std::uint8_t, WordTag>(), order));
#endif
}

/// Part of a row that is worked on at once, so that what is known about its columns stays in a near cache:
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

/// Rows that are needed soon: the processor sees too many rows at a time to foresee them. They are asked for while
/// others are worked on, a line or two at a time; a whole chunk asked for at once would have to be waited for.
template <std::size_t count>
struct Upcoming {
    static_assert(count % 2 == 0, "halves of the rows take turns");
    std::array<const std::uint8_t*, count> rows;

    /// For a loop over all columns in steps of the given number: here it is at column x. Steps that are no vectors have
    /// no haste.
    template <std::size_t step>
    HWY_INLINE void ask(std::ptrdiff_t x) const {
        constexpr std::ptrdiff_t halfLine = 32;
        if constexpr (step < 16) return;
        for (std::ptrdiff_t at = x; at < x + std::ptrdiff_t{step}; at += halfLine) {
            const auto* const turn = rows.data() + (at & halfLine ? count / 2 : 0);
            for (std::size_t i = 0; i < count / 2; ++i)
                hwy::Prefetch(reinterpret_cast<const std::uint8_t*>(reinterpret_cast<std::uintptr_t>(turn[i]) +
                                                                    std::uintptr_t(at)));
        }
    }
};

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
    T* at(std::size_t parity) { return values[parity] + margin; }
};

/// A column before the first pair and one after the last one repeat the row's border columns.
HWY_INLINE void repeatBorders(PairBuffer<std::int16_t>& terms, std::ptrdiff_t pairs) {
    terms.even()[-1] = terms.odd()[-1] = terms.even()[0];
    terms.even()[pairs] = terms.odd()[pairs] = terms.odd()[pairs - 1];
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
