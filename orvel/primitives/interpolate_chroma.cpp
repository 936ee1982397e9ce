#include "orvel/primitives/interpolate_chroma.h"

#include <cstring>

#include "orvel/primitives/clamped_window.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/interpolate_chroma.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/row_loop_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

/// The weighted mean of four neighbours in runs of lanes columns; dx and dy are eighths. load(d8, x, y) gives the
/// samples from (x, y) of the window on, store(d8, v, x, y) takes a result.
///
/// Weighing along the rows first loses nothing: both weights are whole numbers, and 8 * 8 * 255 + 32 fits 16 bits.
template <int lanes, class Load, class Store>
HWY_INLINE void weighNeighbours(int width, int height, int dx, int dy, const Load& load, const Store& store) {
    const hn::CappedTag<std::uint8_t, lanes> d8;
    const hn::Rebind<std::uint16_t, decltype(d8)> d16;
    const hn::Rebind<std::int16_t, decltype(d8)> narrow;
    const auto weight = [&](int eighths) HWY_ATTR { return hn::Set(d16, static_cast<std::uint16_t>(eighths)); };
    const auto left = weight(8 - dx), right = weight(dx), upper = weight(8 - dy), lower = weight(dy);
    const auto alongRow = [&](int x, int y) HWY_ATTR {
        return hn::Add(hn::Mul(hn::PromoteTo(d16, load(d8, x, y)), left),
                       hn::Mul(hn::PromoteTo(d16, load(d8, x + 1, y)), right));
    };
    const auto half = hn::Set(d16, 32);
    for (int x = 0; x < width; x += static_cast<int>(hn::Lanes(d8))) {
        auto above = alongRow(x, 0);
        for (int y = 0; y < height; ++y) {
            const auto below = alongRow(x, y + 1);
            const auto sum = hn::Add(hn::Add(hn::Mul(above, upper), hn::Mul(below, lower)), half);
            store(d8, hn::DemoteTo(d8, hn::BitCast(narrow, hn::ShiftRight<6>(sum))), x, y);
            above = below;
        }
    }
}

template <int lanes>
void interpolatePlane(ConstViewU8 window, int dx, int dy, ViewU8 dst) {
    weighNeighbours<lanes>(
        dst.width, dst.height, dx, dy, [&](auto d, int x, int y) HWY_ATTR { return hn::LoadU(d, window.row(y) + x); },
        [&](auto d, auto v, int x, int y) HWY_ATTR { hn::StoreU(v, d, dst.row(y) + x); });
}

/// Both planes of blocks that are 4 wide, side by side in one vector.
void interpolateFourWide(ConstViewU8 windowU, ConstViewU8 windowV, int dx, int dy, ViewU8 dstU, ViewU8 dstV) {
#if HWY_TARGET == HWY_SCALAR
    interpolatePlane<1>(windowU, dx, dy, dstU);
    interpolatePlane<1>(windowV, dx, dy, dstV);
#else
    weighNeighbours<8>(
        4, dstU.height, dx, dy,
        [&](auto d, int x, int y) HWY_ATTR {
            const hn::Half<decltype(d)> four;
            return hn::Combine(d, hn::LoadU(four, windowV.row(y) + x), hn::LoadU(four, windowU.row(y) + x));
        },
        [&](auto d, auto v, int x, int y) HWY_ATTR {
            const hn::Half<decltype(d)> four;
            hn::StoreU(hn::LowerHalf(four, v), four, dstU.row(y) + x);
            hn::StoreU(hn::UpperHalf(four, v), four, dstV.row(y) + x);
        });
#endif
}

void interpolateBlocks(ConstViewU8 windowU, ConstViewU8 windowV, int dx, int dy, ViewU8 dstU, ViewU8 dstV) {
    if (dstU.width == 4) return interpolateFourWide(windowU, windowV, dx, dy, dstU, dstV);
    const auto plane = dstU.width == 8 ? interpolatePlane<8> : interpolatePlane<2>;
    plane(windowU, dx, dy, dstU);
    plane(windowV, dx, dy, dstV);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {

HWY_EXPORT(interpolateBlocks);

namespace {

constexpr bool isBlockSide(int side) noexcept {
    return side == 2 || side == 4 || side == 8;
}

template <std::size_t width>
void copyRows(ConstViewU8 src, ViewU8 dst) noexcept {
    for (int y = 0; y < dst.height; ++y) std::memcpy(dst.row(y), src.row(y), width);
}

void copyBlock(ConstViewU8 src, ViewU8 dst) noexcept {
    if (dst.width == 4) return copyRows<4>(src, dst);
    if (dst.width == 8) return copyRows<8>(src, dst);
    copyRows<2>(src, dst);
}

}  // namespace

Status interpolateChroma(ConstViewU8 frameU, ConstViewU8 frameV, int blockX, int blockY, int mvx, int mvy, ViewU8 dstU,
                         ViewU8 dstV) noexcept {
    if (frameU.base == nullptr || frameV.base == nullptr || dstU.base == nullptr || dstV.base == nullptr)
        return Status::nullPointer;
    if (!frameU.valid() || !sameSize(frameU, frameV) || !sameSize(dstU, dstV) || !isBlockSide(dstU.width) ||
        !isBlockSide(dstU.height))
        return Status::badSize;
    const std::int64_t x = std::int64_t{blockX} + (mvx >> 2), y = std::int64_t{blockY} + (mvy >> 2);
    const int dx = 2 * (mvx & 3), dy = 2 * (mvy & 3);
    const bool whole = dx == 0 && dy == 0;
    const int width = dstU.width + !whole, height = dstU.height + !whole;  // one neighbour more to the right and below
    const ClampedWindow<9, 9> windowU(frameU, x, y, width, height), windowV(frameV, x, y, width, height);
    if (whole) {
        copyBlock(windowU.view(), dstU);
        copyBlock(windowV.view(), dstV);
        return Status::ok;
    }
    HWY_DYNAMIC_DISPATCH(interpolateBlocks)(windowU.view(), windowV.view(), dx, dy, dstU, dstV);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
