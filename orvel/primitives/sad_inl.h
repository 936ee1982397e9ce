// Differences of 8x8 blocks: the current block is read once and compared with one other or with four.
// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_SAD_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_SAD_INL_H_
#undef ORVEL_PRIMITIVES_SAD_INL_H_
#else
#define ORVEL_PRIMITIVES_SAD_INL_H_
#endif

#include <hwy/highway.h>

#include "orvel/primitives/byte_differences_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR

/// A block where it stands.
struct SadBlock {
    SadBlock(const std::uint8_t* p, std::ptrdiff_t rowStep) : base(p), step(rowStep) {}
    const std::uint8_t* base;
    std::ptrdiff_t step;
};

inline std::int32_t sadOf(const SadBlock& cur, const std::uint8_t* ref, std::ptrdiff_t step) {
    int sum = 0;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            const int difference = cur.base[y * cur.step + x] - ref[y * step + x];
            sum += difference < 0 ? -difference : difference;
        }
    return sum;
}

inline void fourSads(const SadBlock& cur, const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* c,
                     const std::uint8_t* d, std::ptrdiff_t step, std::int32_t* sads) {
    for (const std::uint8_t* ref : {a, b, c, d}) *sads++ = sadOf(cur, ref, step);
}

#else

// Two rows of a block in a vector. Twice as long ones save no time: rows are read one by one in any case, and joining
// four of them costs what the longer vector saves.

/// A block held in registers.
struct SadBlock {
    HWY_INLINE SadBlock(const std::uint8_t* p, std::ptrdiff_t step) {
        const hn::Full128<std::uint8_t> two;
        const hn::Full64<std::uint8_t> row;
        for (int i = 0; i < 4; ++i)
            rows[i] = hn::Combine(two, hn::LoadU(row, p + (2 * i + 1) * step), hn::LoadU(row, p + 2 * i * step));
    }
    hn::Vec<hn::Full128<std::uint8_t> > rows[4];
};

/// Two numbers whose sum is the block's difference from the one at ref.
HWY_INLINE hn::Vec<hn::Full128<std::uint64_t> > halfSads(const SadBlock& cur, const std::uint8_t* ref,
                                                         std::ptrdiff_t step) {
    const SadBlock other(ref, step);
    const auto rows = [&](int i) HWY_ATTR { return sumsOf8Differences(cur.rows[i], other.rows[i]); };
    return hn::Add(hn::Add(rows(0), rows(1)), hn::Add(rows(2), rows(3)));
}

HWY_INLINE std::int32_t sadOf(const SadBlock& cur, const std::uint8_t* ref, std::ptrdiff_t step) {
    const auto halves = halfSads(cur, ref, step);
    const auto sum = hn::Add(halves, hn::InterleaveUpper(hn::Full128<std::uint64_t>(), halves, halves));
    return static_cast<std::int32_t>(hn::GetLane(sum));
}

/// sads = the differences from four blocks.
HWY_INLINE void fourSads(const SadBlock& cur, const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* c,
                         const std::uint8_t* d, std::ptrdiff_t step, std::int32_t* sads) {
    const hn::Full128<std::uint64_t> d64;
    const hn::Full128<std::int32_t> d32;
    // Two blocks' numbers share 64-bit lanes, so that the same additions serve all four.
    const auto pair = [&](const std::uint8_t* low, const std::uint8_t* high) HWY_ATTR {
        return hn::Or(halfSads(cur, low, step), hn::ShiftLeft<32>(halfSads(cur, high, step)));
    };
    const auto ab = pair(a, b), cd = pair(c, d);
    const auto all = hn::Add(hn::InterleaveLower(d64, ab, cd), hn::InterleaveUpper(d64, ab, cd));
    hn::StoreU(hn::BitCast(d32, all), d32, sads);
}

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
