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
void interpolatePlane(const ConstViewU8& from, int dx, int dy, const ViewU8& dst) {
    weighNeighbours<lanes>(
        dst.width, dst.height, dx, dy, [&](auto d, int x, int y) HWY_ATTR { return hn::LoadU(d, from.row(y) + x); },
        [&](auto d, auto v, int x, int y) HWY_ATTR { hn::StoreU(v, d, dst.row(y) + x); });
}

/// Both planes of 4x4 blocks, side by side in one vector.
void interpolateFourByFour(const ConstViewU8& u, const ConstViewU8& v, int dx, int dy, const ViewU8& dstU,
                           const ViewU8& dstV) {
#if HWY_TARGET == HWY_SCALAR
    interpolatePlane<1>(u, dx, dy, dstU);
    interpolatePlane<1>(v, dx, dy, dstV);
#else
    weighNeighbours<8>(
        4, 4, dx, dy,
        [&](auto d, int x, int y) HWY_ATTR {
            const hn::Half<decltype(d)> four;
            return hn::Combine(d, hn::LoadU(four, v.row(y) + x), hn::LoadU(four, u.row(y) + x));
        },
        [&](auto d, auto blocks, int x, int y) HWY_ATTR {
            const hn::Half<decltype(d)> four;
            hn::StoreU(hn::LowerHalf(four, blocks), four, dstU.row(y) + x);
            hn::StoreU(hn::UpperHalf(four, blocks), four, dstV.row(y) + x);
        });
#endif
}

void interpolateBlocks(const ConstViewU8& u, const ConstViewU8& v, int dx, int dy, const ViewU8& dstU,
                       const ViewU8& dstV) {
    if (dstU.width == 4 && dstU.height == 4) return interpolateFourByFour(u, v, dx, dy, dstU, dstV);
    const auto plane = dstU.width == 8   ? interpolatePlane<8>
                       : dstU.width == 4 ? interpolatePlane<4>
                                         : interpolatePlane<2>;
    plane(u, dx, dy, dstU);
    plane(v, dx, dy, dstV);
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
void copyRows(const ConstViewU8& from, const ViewU8& dst) noexcept {
    for (int y = 0; y < dst.height; ++y) std::memcpy(dst.row(y), from.row(y), width);
}

void copyBlock(const ConstViewU8& from, const ViewU8& dst) noexcept {
    if (dst.width == 4) return copyRows<4>(from, dst);
    if (dst.width == 8) return copyRows<8>(from, dst);
    copyRows<2>(from, dst);
}

/// The blocks from samples that all exist: one column and one row more than the blocks have.
void interpolateInside(const ConstViewU8& u, const ConstViewU8& v, int dx, int dy, const ViewU8& dstU,
                       const ViewU8& dstV) noexcept {
    if (dx != 0 || dy != 0) {
        HWY_DYNAMIC_DISPATCH(interpolateBlocks)(u, v, dx, dy, dstU, dstV);
        return;
    }
    copyBlock(u, dstU);
    copyBlock(v, dstV);
}

}  // namespace

Status interpolateChroma(const ConstViewU8& frameU, const ConstViewU8& frameV, int blockX, int blockY, int mvx, int mvy,
                         const ViewU8& dstU, const ViewU8& dstV) noexcept {
    if (frameU.base == nullptr || frameV.base == nullptr || dstU.base == nullptr || dstV.base == nullptr)
        return Status::nullPointer;
    if (!frameU.valid() || !sameSize(frameU, frameV) || !sameSize(dstU, dstV) || !isBlockSide(dstU.width) ||
        !isBlockSide(dstU.height))
        return Status::badSize;
    const std::int64_t x = std::int64_t{blockX} + (mvx >> 2), y = std::int64_t{blockY} + (mvy >> 2);
    const int dx = 2 * (mvx & 3), dy = 2 * (mvy & 3), width = dstU.width + 1, height = dstU.height + 1;
    if (x >= 0 && y >= 0 && x + width <= frameU.width && y + height <= frameU.height) {
        const auto window = [&](const ConstViewU8& frame) {
            return ConstViewU8{frame.row(static_cast<int>(y)) + x, frame.step, width, height};
        };
        interpolateInside(window(frameU), window(frameV), dx, dy, dstU, dstV);
        return Status::ok;
    }
    const ClampedWindow<9, 9> windowU(frameU, x, y, width, height), windowV(frameV, x, y, width, height);
    interpolateInside(windowU.view(), windowV.view(), dx, dy, dstU, dstV);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
