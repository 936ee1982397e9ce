#include "orvel/primitives/interpolate_luma.h"

#include "orvel/primitives/clamped_window.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/interpolate_luma.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/luma_filter_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

/// One block, `lanes` columns at a time. A sample at a fraction is one of four or the average of two of them: the whole
/// sample G, the half sample b right of it, h below it and j in the middle (the standard's names). Fraction 3 lies
/// nearer to the next whole sample, so G and h are then taken one further to the right, G and b one further down.
/// samples: those of the block, with 2 more before and 3 more behind in each direction that has a fraction.
template <int lanes>
void interpolateColumns(const std::uint8_t* samples, std::ptrdiff_t step, int fx, int fy, ViewU8 dst) {
    const hn::CappedTag<std::int16_t, lanes> d16;
    const hn::Rebind<std::uint8_t, decltype(d16)> d8;
    const int n = static_cast<int>(hn::Lanes(d16));

    bool first = true;
    const auto take = [&](const auto& sample) HWY_ATTR {
        for (int y = 0; y < dst.height; ++y)
            for (int x = 0; x < dst.width; x += n) {
                std::uint8_t* out = dst.row(y) + x;
                const auto v = sample(x, y);
                hn::StoreU(first ? v : hn::AverageRound(v, hn::LoadU(d8, out)), d8, out);
            }
        first = false;
    };
    const auto at = [&](int x, int y) { return samples + y * step + x; };
    const int right = fx == 3, below = fy == 3;

    if ((fx == 0 && fy != 2) || (fy == 0 && fx != 2))
        take([&](int x, int y) HWY_ATTR { return hn::LoadU(d8, at(x + right, y + below)); });
    if (fx != 0 && fy != 2)
        take([&](int x, int y) HWY_ATTR { return halfSample(d16, sixTapSum(d16, at(x - 2, y + below), 1)); });
    if (fy != 0 && fx != 2)
        take([&](int x, int y) HWY_ATTR { return halfSample(d16, sixTapSum(d16, at(x + right, y - 2), step)); });
    if ((fx == 2 && fy != 0) || (fy == 2 && fx != 0)) {
        std::int16_t sums[21 * 16];
        for (int y = 0; y < dst.height + 5; ++y)
            for (int x = 0; x < dst.width; x += n)
                hn::StoreU(sixTapSum(d16, at(x - 2, y - 2), 1), d16, sums + y * 16 + x);
        take([&](int x, int y) HWY_ATTR { return centreSample(d16, sums + y * 16 + x, 16); });
    }
}

void interpolateBlock(const std::uint8_t* samples, std::ptrdiff_t step, int fx, int fy, ViewU8 dst) {
    if (dst.width == 4) return interpolateColumns<4>(samples, step, fx, fy, dst);
    interpolateColumns<8>(samples, step, fx, fy, dst);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {

HWY_EXPORT(interpolateBlock);

namespace {
constexpr bool isBlockSide(int side) noexcept {
    return side == 4 || side == 8 || side == 16;
}
}  // namespace

Status interpolateLuma(ConstViewU8 frame, int blockX, int blockY, int mvx, int mvy, ViewU8 dst) noexcept {
    if (frame.base == nullptr || dst.base == nullptr) return Status::nullPointer;
    if (!frame.valid() || !isBlockSide(dst.width) || !isBlockSide(dst.height)) return Status::badSize;
    const int fx = mvx & 3, fy = mvy & 3;
    const int beforeX = fx == 0 ? 0 : 2, beforeY = fy == 0 ? 0 : 2, moreX = fx == 0 ? 0 : 5, moreY = fy == 0 ? 0 : 5;
    const std::int64_t x = std::int64_t{blockX} + (mvx >> 2) - beforeX, y = std::int64_t{blockY} + (mvy >> 2) - beforeY;
    const ClampedWindow<21, 21> window(frame, x, y, dst.width + moreX, dst.height + moreY);
    const std::uint8_t* samples = window.view().row(beforeY) + beforeX;
    HWY_DYNAMIC_DISPATCH(interpolateBlock)(samples, window.view().step, fx, fy, dst);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
