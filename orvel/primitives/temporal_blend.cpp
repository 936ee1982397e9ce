#include "orvel/primitives/temporal_blend.h"

#include <algorithm>

#include "orvel/primitives/checks.h"
#include "orvel/primitives/temporal_blend_levels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/temporal_blend.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/row_loop_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

/// A number of the levels of as many blocks as the lanes cover.
template <int side, const BlendLevel::Lanes BlendLevel::*number, class D>
HWY_INLINE hn::Vec<D> lanesOf(D d, const std::uint8_t* levels) {
#if HWY_TARGET != HWY_SCALAR
    constexpr int lanes = static_cast<int>(hn::MaxLanes(D()));
    if constexpr (lanes > side) {
        const hn::Half<D> half;
        const auto upper = lanesOf<side, number>(half, levels + lanes / 2 / side);
        return hn::Combine(d, upper, lanesOf<side, number>(half, levels));
    }
#endif
    return hn::LoadU(d, (blendLevels[*levels].*number).data());
}

/// Formula: see BlendLevel.
template <int side>
HWY_INLINE void blendSquares(const ConstViewU8& cur, const ConstViewU8& pred, const std::uint8_t* levels,
                             const ViewU8& dst) {
    forEachRun<std::int16_t>(dst.width, [&](auto d, int x) HWY_ATTR {
        const hn::Rebind<std::uint8_t, decltype(d)> d8;
        const std::uint8_t* const level = levels + x / side;
        const auto reach = lanesOf<side, &BlendLevel::reach>(d, level),
                   most = lanesOf<side, &BlendLevel::most>(d, level);
        const auto gain = lanesOf<side, &BlendLevel::gain>(d, level);
        const auto rounding = lanesOf<side, &BlendLevel::rounding>(d, level);
        for (int y = 0; y < side; ++y) {
            const auto c = hn::PromoteTo(d, hn::LoadU(d8, cur.row(y) + x));
            const auto difference = hn::Sub(hn::PromoteTo(d, hn::LoadU(d8, pred.row(y) + x)), c);
            const auto share = hn::Min(hn::Max(hn::Sub(reach, hn::Abs(difference)), hn::Zero(d)), most);
            const auto step = hn::Add(hn::Mul(hn::Mul(share, difference), gain), rounding);
            hn::StoreU(hn::DemoteTo(d8, hn::Add(c, hn::ShiftRight<8>(step))), d8, dst.row(y) + x);
        }
    });
}

void blendBlocks(const ConstViewU8& cur, const ConstViewU8& pred, const std::uint8_t* levels, const ViewU8& dst) {
    if (dst.height == 8) return blendSquares<8>(cur, pred, levels, dst);
    blendSquares<4>(cur, pred, levels, dst);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {

HWY_EXPORT(blendBlocks);

Status temporalBlend(ConstViewU8 cur, ConstViewU8 pred, std::span<const std::uint8_t> levels, ViewU8 dst) noexcept {
    if (const Status fault = checkSameSize(dst, cur, pred); fault != Status::ok) return fault;
    const auto side = static_cast<std::size_t>(dst.height);
    if ((side != 4 && side != 8) || levels.size() > static_cast<std::size_t>(dst.width) / side) return Status::badSize;
    if (std::any_of(levels.begin(), levels.end(), [](int level) { return level >= temporalBlendLevels; }))
        return Status::badArgument;
    const auto blocks = [&](auto view) { return view.topLeft(static_cast<int>(levels.size() * side), view.height); };
    if (!levels.empty()) HWY_DYNAMIC_DISPATCH(blendBlocks)(blocks(cur), blocks(pred), levels.data(), blocks(dst));
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
