#include "orvel/primitives/mirror.h"

#include "orvel/primitives/fill.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/mirror.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/row_loop_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

/// Lane type for pixels of so many bytes; three bytes travel as three vectors of bytes.
template <int bytes>
using LaneOf =
    std::conditional_t<bytes == 2, std::uint16_t, std::conditional_t<bytes == 4, std::uint32_t, std::uint8_t>>;

template <class D>
HWY_INLINE hn::Vec<D> reversed(D d, hn::Vec<D> v) {
#if HWY_TARGET == HWY_SCALAR
    (void)d;
    return v;
#else
    if constexpr (sizeof(hn::TFromD<D>) > 1) {
        return hn::Reverse(d, v);
    } else if constexpr (hn::MaxLanes(D()) == 1) {
        return v;
    } else {
        // There is no Reverse of bytes: turn the bytes of each block, then the blocks.
        constexpr std::size_t block = hn::MaxLanes(D()) < 16 ? hn::MaxLanes(D()) : 16;
        alignas(16) static constexpr std::uint8_t down[16] = {15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0};
        if constexpr (block < 16) {
            return hn::TableLookupBytes(v, hn::LoadU(d, down + 16 - block));
        } else {
            return hn::ReverseBlocks(d, hn::TableLookupBytes(v, hn::LoadDup128(d, down)));
        }
    }
#endif
}

template <class D>
struct ThreeBytePixels {
    hn::Vec<D> first, second, third;
};

/// The pixels that start at p, as many as d has lanes, last one first.
template <int bytes, class D>
HWY_INLINE auto loadReversed(D d, const std::uint8_t* p) {
    if constexpr (bytes == 3) {
        hn::Vec<D> first, second, third;
        hn::LoadInterleaved3(d, p, first, second, third);
        return ThreeBytePixels<D>{reversed(d, first), reversed(d, second), reversed(d, third)};
    } else {
        return reversed(d, hn::LoadU(d, reinterpret_cast<const LaneOf<bytes>*>(p)));
    }
}

template <int bytes, class D, class Pixels>
HWY_INLINE void storePixels(D d, Pixels pixels, std::uint8_t* p) {
    if constexpr (bytes == 3)
        hn::StoreInterleaved3(pixels.first, pixels.second, pixels.third, d, p);
    else
        hn::StoreU(pixels, d, reinterpret_cast<LaneOf<bytes>*>(p));
}

template <int bytes>
HWY_INLINE void mirrorColumns(ConstViewU8 src, ViewU8 dst) {
    for (int y = 0; y < dst.height; ++y) {
        const std::uint8_t* end = src.row(y) + src.width;
        std::uint8_t* out = dst.row(y);
        forEachRun<LaneOf<bytes>>(dst.width / bytes, [=](auto d, int x) HWY_ATTR {
            const int behind = x + static_cast<int>(hn::Lanes(d));
            storePixels<bytes>(d, loadReversed<bytes>(d, end - bytes * behind), out + bytes * x);
        });
    }
}

/// Exchanges the first count pixels of a with the last ones of b (both rows hold width bytes), in reverse order. a and
/// b are different rows, or the same one and count is at most half of it.
template <int bytes>
HWY_INLINE void exchangeReversed(std::uint8_t* a, std::uint8_t* b, int width, int count) {
    forEachRun<LaneOf<bytes>>(count, [=](auto d, int x) HWY_ATTR {
        std::uint8_t *left = a + bytes * x, *right = b + width - bytes * (x + static_cast<int>(hn::Lanes(d)));
        const auto fromLeft = loadReversed<bytes>(d, left), fromRight = loadReversed<bytes>(d, right);
        storePixels<bytes>(d, fromRight, left);
        storePixels<bytes>(d, fromLeft, right);
    });
}

template <int bytes>
HWY_INLINE void mirrorColumnsInPlace(ViewU8 plane) {
    for (int y = 0; y < plane.height; ++y)
        exchangeReversed<bytes>(plane.row(y), plane.row(y), plane.width, plane.width / bytes / 2);
}

template <int bytes>
HWY_INLINE void turnInPlace(ViewU8 plane) {
    const int half = plane.height / 2;
    for (int y = 0; y < half; ++y)
        exchangeReversed<bytes>(plane.row(y), plane.row(plane.height - 1 - y), plane.width, plane.width / bytes);
    if (plane.height % 2 != 0) mirrorColumnsInPlace<bytes>({plane.row(half), plane.step, plane.width, 1});
}

void exchangeRows(ViewU8 plane) {
    for (int y = 0; y < plane.height / 2; ++y) {
        std::uint8_t *a = plane.row(y), *b = plane.row(plane.height - 1 - y);
        forEachRun<std::uint8_t>(plane.width, [=](auto d, int x) HWY_ATTR {
            const auto upper = hn::LoadU(d, a + x), lower = hn::LoadU(d, b + x);
            hn::StoreU(lower, d, a + x);
            hn::StoreU(upper, d, b + x);
        });
    }
}

/// Calls body with bytesPerPixel, 1 to 4, as a constant.
template <class Body>
HWY_INLINE void withPixelSize(int bytesPerPixel, const Body& body) {
    switch (bytesPerPixel) {
        case 1:
            return body(std::integral_constant<int, 1>());
        case 2:
            return body(std::integral_constant<int, 2>());
        case 3:
            return body(std::integral_constant<int, 3>());
        default:
            return body(std::integral_constant<int, 4>());
    }
}

void mirrorLeftRight(ConstViewU8 src, int bytesPerPixel, ViewU8 dst) {
    withPixelSize(bytesPerPixel, [=](auto bytes) HWY_ATTR { mirrorColumns<bytes>(src, dst); });
}

void mirrorLeftRightInPlace(ViewU8 plane, int bytesPerPixel) {
    withPixelSize(bytesPerPixel, [=](auto bytes) HWY_ATTR { mirrorColumnsInPlace<bytes>(plane); });
}

void mirrorBothInPlace(ViewU8 plane, int bytesPerPixel) {
    withPixelSize(bytesPerPixel, [=](auto bytes) HWY_ATTR { turnInPlace<bytes>(plane); });
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {
namespace {

Status checkPixels(ViewU8 plane, int bytesPerPixel, MirrorAxis axis) {
    const bool knownSize = bytesPerPixel >= 1 && bytesPerPixel <= 4;
    if (!plane.valid() || (knownSize && plane.width % bytesPerPixel != 0)) return Status::badSize;
    const bool knownAxis = axis == MirrorAxis::leftRight || axis == MirrorAxis::topBottom || axis == MirrorAxis::both;
    return knownSize && knownAxis ? Status::ok : Status::badArgument;
}

ConstViewU8 bottomUp(ConstViewU8 view) {
    return {view.row(view.height - 1), -view.step, view.width, view.height};
}

}  // namespace

HWY_EXPORT(mirrorLeftRight);
HWY_EXPORT(mirrorLeftRightInPlace);
HWY_EXPORT(mirrorBothInPlace);
HWY_EXPORT(exchangeRows);

Status mirror(ConstViewU8 src, int bytesPerPixel, ViewU8 dst, MirrorAxis axis) noexcept {
    if (src.base == nullptr || dst.base == nullptr) return Status::nullPointer;
    if (!sameSize(src, dst)) return Status::badSize;
    if (const Status fault = checkPixels(dst, bytesPerPixel, axis); fault != Status::ok) return fault;
    const ConstViewU8 rows = axis == MirrorAxis::leftRight ? src : bottomUp(src);
    if (axis == MirrorAxis::topBottom) return copy(rows, dst);
    HWY_DYNAMIC_DISPATCH(mirrorLeftRight)(rows, bytesPerPixel, dst);
    return Status::ok;
}

Status mirrorInPlace(ViewU8 plane, int bytesPerPixel, MirrorAxis axis) noexcept {
    if (plane.base == nullptr) return Status::nullPointer;
    if (const Status fault = checkPixels(plane, bytesPerPixel, axis); fault != Status::ok) return fault;
    switch (axis) {
        case MirrorAxis::leftRight:
            HWY_DYNAMIC_DISPATCH(mirrorLeftRightInPlace)(plane, bytesPerPixel);
            break;
        case MirrorAxis::topBottom:
            HWY_DYNAMIC_DISPATCH(exchangeRows)(plane);
            break;
        case MirrorAxis::both:
            HWY_DYNAMIC_DISPATCH(mirrorBothInPlace)(plane, bytesPerPixel);
            break;
    }
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
