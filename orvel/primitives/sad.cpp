#include "orvel/primitives/sad.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/sad.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/byte_differences_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

std::int32_t sadOne(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* ref, std::ptrdiff_t refStep) {
    int sum = 0;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            const int difference = cur[y * curStep + x] - ref[y * refStep + x];
            sum += difference < 0 ? -difference : difference;
        }
    return sum;
}

void sadList(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* const* refs, std::ptrdiff_t refStep,
             int n, std::int32_t* sads) {
    for (int i = 0; i < n; ++i) sads[i] = sadOne(cur, curStep, refs[i], refStep);
}

#else

// Two rows of a block in a vector. Twice as long ones save no time: rows are read one by one in any case, and joining
// four of them costs what the longer vector saves.
using D8 = hn::Full128<std::uint8_t>;
using D64 = hn::Full128<std::uint64_t>;
using D32 = hn::Full128<std::int32_t>;

/// A block held in registers.
struct Block {
    HWY_INLINE Block(const std::uint8_t* p, std::ptrdiff_t step) {
        const hn::Half<D8> row;
        for (int i = 0; i < 4; ++i)
            rows[i] = hn::Combine(D8(), hn::LoadU(row, p + (2 * i + 1) * step), hn::LoadU(row, p + 2 * i * step));
    }
    hn::Vec<D8> rows[4];
};

/// Two numbers whose sum is the block's difference from the one at ref.
HWY_INLINE hn::Vec<D64> halfSads(const Block& cur, const std::uint8_t* ref, std::ptrdiff_t step) {
    const Block other(ref, step);
    const auto rows = [&](int i) HWY_ATTR { return sumsOf8Differences(cur.rows[i], other.rows[i]); };
    return hn::Add(hn::Add(rows(0), rows(1)), hn::Add(rows(2), rows(3)));
}

std::int32_t sadOne(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* ref, std::ptrdiff_t refStep) {
    const auto halves = halfSads(Block(cur, curStep), ref, refStep);
    const auto sum = hn::Add(halves, hn::InterleaveUpper(D64(), halves, halves));
    return static_cast<std::int32_t>(hn::GetLane(sum));
}

/// Four blocks at once, a sum in each lane.
HWY_INLINE hn::Vec<D32> fourSads(const Block& cur, const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* c,
                                 const std::uint8_t* d, std::ptrdiff_t step) {
    // Two blocks' numbers share 64-bit lanes, so that the same additions serve all four.
    const auto pair = [&](const std::uint8_t* low, const std::uint8_t* high) HWY_ATTR {
        return hn::Or(halfSads(cur, low, step), hn::ShiftLeft<32>(halfSads(cur, high, step)));
    };
    const auto ab = pair(a, b), cd = pair(c, d);
    return hn::BitCast(D32(), hn::Add(hn::InterleaveLower(D64(), ab, cd), hn::InterleaveUpper(D64(), ab, cd)));
}

void sadList(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* const* refs, std::ptrdiff_t refStep,
             int n, std::int32_t* sads) {
    const Block block(cur, curStep);
    for (; n >= 4; n -= 4, refs += 4, sads += 4)
        hn::StoreU(fourSads(block, refs[0], refs[1], refs[2], refs[3], refStep), D32(), sads);
    if (n == 0) return;
    if (n == 1) {
        sads[0] = sadOne(cur, curStep, refs[0], refStep);
        return;
    }
    std::int32_t rest[4];
    hn::StoreU(fourSads(block, refs[0], refs[1], refs[n - 1], refs[n - 1], refStep), D32(), rest);
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

HWY_EXPORT(sadOne);
HWY_EXPORT(sadListOfThisTarget);

Sad8x8List sad8x8List() noexcept {
    // Asked through a call: the dispatch table's own entry may still be the one that looks the machine over first.
    return HWY_DYNAMIC_DISPATCH(sadListOfThisTarget)();
}

Status sad8x8(const std::uint8_t* cur, std::ptrdiff_t curStep, const std::uint8_t* ref, std::ptrdiff_t refStep,
              std::int32_t& sad) noexcept {
    if (cur == nullptr || ref == nullptr) return Status::nullPointer;
    sad = HWY_DYNAMIC_DISPATCH(sadOne)(cur, curStep, ref, refStep);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
