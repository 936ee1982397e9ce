#include "orvel/primitives/sad.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/sad.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR

void sadList(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* const* refs, std::ptrdiff_t refStep,
             int n, std::int32_t* sads) {
    for (int i = 0; i < n; ++i) {
        int sum = 0;
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x) {
                const int difference = cur[y * curStep + x] - refs[i][y * refStep + x];
                sum += difference < 0 ? -difference : difference;
            }
        sads[i] = sum;
    }
}

#else

using D8 = hn::CappedTag<std::uint8_t, 32>;  // four rows of a block, or two where vectors are short
using D64 = hn::Repartition<std::uint64_t, D8>;
using D32x4 = hn::Full128<std::int32_t>;
using V32x4 = hn::Vec<D32x4>;
constexpr int rowsInVector = static_cast<int>(hn::MaxLanes(D8())) / 8, vectorsInBlock = 8 / rowsInVector;

/// Rows of 8 samples side by side, as many as the vector holds.
template <class D>
HWY_INLINE hn::Vec<D> loadRows(D d, const std::uint8_t* p, std::ptrdiff_t step) {
    if constexpr (hn::MaxLanes(D()) == 8) {
        return hn::LoadU(d, p);
    } else {
        const hn::Half<D> half;
        constexpr int rowsInHalf = static_cast<int>(hn::MaxLanes(D())) / 16;
        return hn::Combine(d, loadRows(half, p + rowsInHalf * step, step), loadRows(half, p, step));
    }
}

/// A block held in registers.
struct Block {
    Block(const std::uint8_t* p, std::ptrdiff_t step) {
        for (int i = 0; i < vectorsInBlock; ++i) rows[i] = loadRows(D8(), p + i * rowsInVector * step, step);
    }
    hn::Vec<D8> rows[vectorsInBlock];
};

/// v, or the sum of its two halves where it is longer.
template <class V, class D = hn::Full128<hn::TFromV<V> > >
HWY_INLINE hn::Vec<D> foldTo128(V v) {
    if constexpr (rowsInVector == 4)
        return hn::Add(hn::LowerHalf(D(), v), hn::UpperHalf(D(), v));
    else
        return v;
}

/// Numbers below 2^16 whose sum is the block's difference from the one at ref.
HWY_INLINE hn::Vec<D64> partSads(const Block& cur, const std::uint8_t* ref, std::ptrdiff_t step) {
    auto sum = hn::Zero(D64());
    for (int i = 0; i < vectorsInBlock; ++i) {
        const auto a = cur.rows[i], b = loadRows(D8(), ref + i * rowsInVector * step, step);
        // One of the two saturating differences is zero, the other is |a - b|.
        sum = hn::Add(sum, hn::SumsOf8(hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a))));
    }
    return sum;
}

/// Four blocks at once, a sum in each lane.
HWY_INLINE V32x4 fourSads(const Block& cur, const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* c,
                          const std::uint8_t* d, std::ptrdiff_t step) {
    const D64 d64;
    const hn::Repartition<std::int32_t, D64> d32;
    // Two blocks' numbers share 64-bit lanes, so that the same additions serve all four.
    const auto pair = [&](const std::uint8_t* low, const std::uint8_t* high) HWY_ATTR {
        return hn::Or(partSads(cur, low, step), hn::ShiftLeft<32>(partSads(cur, high, step)));
    };
    const auto ab = pair(a, b), cd = pair(c, d);
    return foldTo128(hn::Add(hn::BitCast(d32, hn::InterleaveLower(d64, ab, cd)),
                             hn::BitCast(d32, hn::InterleaveUpper(d64, ab, cd))));
}

void sadList(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* const* refs, std::ptrdiff_t refStep,
             int n, std::int32_t* sads) {
    const Block block(cur, curStep);
    const D32x4 d32;
    for (; n >= 4; n -= 4, refs += 4, sads += 4)
        hn::StoreU(fourSads(block, refs[0], refs[1], refs[2], refs[3], refStep), d32, sads);
    if (n == 0) return;
    if (n == 1) {
        const auto sums = foldTo128(partSads(block, refs[0], refStep));
        sads[0] = static_cast<std::int32_t>(hn::GetLane(hn::SumOfLanes(hn::Full128<std::uint64_t>(), sums)));
        return;
    }
    std::int32_t rest[4];
    hn::StoreU(fourSads(block, refs[0], refs[1], refs[n - 1], refs[n - 1], refStep), d32, rest);
    for (int i = 0; i < n; ++i) sads[i] = rest[i];
}

#endif  // HWY_TARGET == HWY_SCALAR

Sad8x8List sadListOfThisTarget() {
    return &sadList;
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {

HWY_EXPORT(sadList);
HWY_EXPORT(sadListOfThisTarget);

Sad8x8List sad8x8List() noexcept {
    // Asked through a call: the dispatch table's own entry may still be the one that looks the machine over first.
    return HWY_DYNAMIC_DISPATCH(sadListOfThisTarget)();
}

Status sad8x8(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* ref, std::ptrdiff_t refStep,
              std::int32_t& sad) noexcept {
    if (cur == nullptr || ref == nullptr) return Status::nullPointer;
    HWY_DYNAMIC_DISPATCH(sadList)(cur, curStep, &ref, refStep, 1, &sad);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
