#include "orvel/primitives/temporal_blend.h"

#include <algorithm>

#include "orvel/primitives/checks.h"
#include "orvel/primitives/temporal_blend_columns.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/temporal_blend.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/row_loop_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

/// Formula: see BlendLevel.
void blendColumns(ConstViewU8 cur, ConstViewU8 pred, const BlendColumns& columns, ViewU8 dst) {
    forEachRun<std::int16_t>(dst.width, [&](auto d, int x) HWY_ATTR {
        const hn::Rebind<std::uint8_t, decltype(d)> d8;
        const auto reach = hn::LoadU(d, columns.reach + x), most = hn::LoadU(d, columns.mostShare + x);
        const auto gain = hn::LoadU(d, columns.gain + x), rounding = hn::LoadU(d, columns.rounding + x);
        for (int y = 0; y < dst.height; ++y) {
            const auto c = hn::PromoteTo(d, hn::LoadU(d8, cur.row(y) + x));
            const auto difference = hn::Sub(hn::PromoteTo(d, hn::LoadU(d8, pred.row(y) + x)), c);
            const auto share = hn::Min(hn::Max(hn::Sub(reach, hn::Abs(difference)), hn::Zero(d)), most);
            const auto step = hn::Add(hn::Mul(hn::Mul(share, difference), gain), rounding);
            hn::StoreU(hn::DemoteTo(d8, hn::Add(c, hn::ShiftRight<8>(step))), d8, dst.row(y) + x);
        }
    });
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {

HWY_EXPORT(blendColumns);

namespace {

/// Columns [first, first + count) of a view.
template <class T>
PlaneView<T> columnsOf(PlaneView<T> view, std::size_t first, std::size_t count) noexcept {
    return {view.base + first, view.step, static_cast<int>(count), view.height};
}

}  // namespace

Status temporalBlend(ConstViewU8 cur, ConstViewU8 pred, std::span<const std::uint8_t> levels, ViewU8 dst) noexcept {
    if (const Status fault = checkSameSize(dst, cur, pred); fault != Status::ok) return fault;
    const auto side = static_cast<std::size_t>(dst.height);
    if (side > BlendColumns::most || side % BlendColumns::group != 0 ||
        levels.size() > static_cast<std::size_t>(dst.width) / side)
        return Status::badSize;
    if (std::any_of(levels.begin(), levels.end(), [](int level) { return level >= temporalBlendLevels; }))
        return Status::badArgument;
    const std::size_t blocksAtOnce = BlendColumns::most / side;
    for (std::size_t block = 0; block < levels.size(); block += blocksAtOnce) {
        const auto run = levels.subspan(block, std::min(blocksAtOnce, levels.size() - block));
        const std::size_t first = block * side, count = run.size() * side;
        HWY_DYNAMIC_DISPATCH(blendColumns)
        (columnsOf(cur, first, count), columnsOf(pred, first, count), BlendColumns(run, dst.height),
         columnsOf(dst, first, count));
    }
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
