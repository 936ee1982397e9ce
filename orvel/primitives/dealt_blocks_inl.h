// Per-target include guard: foreach_target.h includes this file once for every CPU target.
#if defined(ORVEL_PRIMITIVES_DEALT_BLOCKS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVEL_PRIMITIVES_DEALT_BLOCKS_INL_H_
#undef ORVEL_PRIMITIVES_DEALT_BLOCKS_INL_H_
#else
#define ORVEL_PRIMITIVES_DEALT_BLOCKS_INL_H_
#endif

#include <array>

#include <hwy/highway.h>

#include "orvel/primitives/packed_422_inl.h"

// Interleaving two vectors stays within blocks of 16 bytes. Where its results are wanted in order, one instruction
// ahead of it does what takes two behind it: the groups of bytes that become blocks are dealt out to the blocks like
// cards.

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
/// Which group a place gets when the first goes to the first block, the second to the second one and so on.
template <class T, std::size_t blocks, std::size_t groupsPerBlock>
inline constexpr auto dealtGroups = [] {
    std::array<T, blocks * groupsPerBlock> order{};
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = static_cast<T>(i / groupsPerBlock + i % groupsPerBlock * blocks);
    return order;
}();

/// v with its groups of four bytes dealt out: interleaved twice, from bytes to words to 32 bits, they are in order.
template <class D>
HWY_INLINE hn::Vec<D> dealtFours(D d, hn::Vec<D> v) {
    constexpr std::size_t blocks = hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) / 16;
    if constexpr (blocks > 1) {
        const hn::Repartition<std::uint32_t, D> d32;
        const auto order = hn::SetTableIndices(d32, dealtGroups<std::int32_t, blocks, 4>.data());
        return hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(d32, v), order));
    }
    return v;
}

/// The vector at p with its groups of eight bytes dealt out: the lower and the upper results of interleaving it with
/// another are each in order.
template <class D>
HWY_INLINE hn::Vec<D> loadDealtEights(D d, const std::uint8_t* p) {
    constexpr std::size_t blocks = hn::MaxLanes(D()) / 16;
#if HWY_TARGET == HWY_AVX2
    if constexpr (blocks == 2) {  // loads that repeat a block cost nothing, shuffles across blocks do
        const auto first = hn::LoadDup128(d, p), second = hn::LoadDup128(d, p + 16);
        return {_mm256_castpd_si256(
            _mm256_shuffle_pd(_mm256_castsi256_pd(first.raw), _mm256_castsi256_pd(second.raw), 0b1100))};
    }
#endif
    if constexpr (blocks > 1) {
        const hn::Repartition<std::uint64_t, D> d64;
        const auto order = hn::SetTableIndices(d64, dealtGroups<std::int64_t, blocks, 2>.data());
        return hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(d64, hn::LoadU(d, p)), order));
    }
    return hn::LoadU(d, p);
}

#if HWY_TARGET == HWY_AVX2
/// Moves 16 bytes to the even or the odd places of two blocks, in groups of two dealt out, and clears the other places.
template <std::size_t odd>
inline constexpr auto spreadTwos = [] {
    std::array<std::uint8_t, 32> order{};
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = static_cast<std::uint8_t>(i % 2 == odd ? 2 * dealtGroups<int, 2, 4>[i / 4] + i / 2 % 2 : 0x80);
    return order;
}();
#endif

/// a0 b0 a1 b1 .. of the half vectors at a and b, with groups of four bytes dealt out.
template <class D>
HWY_INLINE hn::Vec<D> interleaveDealtFours(D d, const std::uint8_t* a, const std::uint8_t* b) {
#if HWY_TARGET == HWY_AVX2
    if constexpr (hn::MaxLanes(D()) == 32)  // nothing here crosses blocks
        return hn::Or(hn::TableLookupBytesOr0(hn::LoadDup128(d, a), hn::LoadU(d, spreadTwos<0>.data())),
                      hn::TableLookupBytesOr0(hn::LoadDup128(d, b), hn::LoadU(d, spreadTwos<1>.data())));
#endif
    const hn::Half<D> half;
    const auto pairs = interleaved(half, hn::LoadU(half, a), hn::LoadU(half, b));
    return dealtFours(d, hn::Combine(d, pairs.hi, pairs.lo));
}
#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
#endif  // per-target include guard
