#include "orvel/primitives/norm_diff.h"

#include "orvel/primitives/checks.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/norm_diff.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/row_loop_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

std::uint64_t sumOfDifferences(ConstViewU8 a, ConstViewU8 b) {
    std::uint64_t total = 0;
    for (int y = 0; y < a.height; ++y) {
        const std::uint8_t *pa = a.row(y), *pb = b.row(y);
        int x = 0;
#if HWY_TARGET != HWY_SCALAR
        const hn::ScalableTag<std::uint8_t> d;
        const hn::Repartition<std::uint64_t, decltype(d)> d64;
        auto sum = hn::Zero(d64);
        for (const int n = static_cast<int>(hn::Lanes(d)); x + n <= a.width; x += n) {
            const auto va = hn::LoadU(d, pa + x), vb = hn::LoadU(d, pb + x);
            sum = hn::Add(sum, hn::SumsOf8(hn::Or(hn::SaturatedSub(va, vb), hn::SaturatedSub(vb, va))));
        }
        total += hn::GetLane(hn::SumOfLanes(d64, sum));
#endif
        for (; x < a.width; ++x) total += static_cast<unsigned>(pa[x] < pb[x] ? pb[x] - pa[x] : pa[x] - pb[x]);
    }
    return total;
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {

HWY_EXPORT(sumOfDifferences);

Status normDiffL1(ConstViewU8 a, ConstViewU8 b, double& norm) noexcept {
    if (const Status fault = checkSameSize(a, b); fault != Status::ok) return fault;
    norm = static_cast<double>(HWY_DYNAMIC_DISPATCH(sumOfDifferences)(a, b));
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
