#include "orvel/primitives/yuv420.h"

#include <cstring>

#include "orvel/primitives/fill.h"
#include "orvel/primitives/packed_422.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/yuv420.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/packed_422_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

/// One pass over two packed rows makes their luma and the chroma row between them.
template <PackedLayout layout>
HWY_INLINE void reduceRows(ConstViewU8 packed, ViewU8 y, ViewU8 cb, ViewU8 cr) {
    for (int k = 0; k < y.height / 2; ++k) {
        const std::uint8_t *in0 = packed.row(2 * k), *in1 = packed.row(2 * k + 1);
        std::uint8_t *y0 = y.row(2 * k), *y1 = y.row(2 * k + 1), *u = cb.row(k), *v = cr.row(k);
        forEachRun<std::uint8_t>(y.width / 2, [=](auto d, int pair) HWY_ATTR {
            const auto upper = loadSplit<layout>(d, in0 + 4 * pair), lower = loadSplit<layout>(d, in1 + 4 * pair);
            storeLuma(d, upper, y0 + 2 * pair);
            storeLuma(d, lower, y1 + 2 * pair);
            storeChroma(d, hn::AverageRound(upper.chroma0, lower.chroma0),
                        hn::AverageRound(upper.chroma1, lower.chroma1), u + pair, v + pair);
        });
        unpackOddPixel<layout>(in0, y0, y.width);
        unpackOddPixel<layout>(in1, y1, y.width);
    }
}

/// One packed row at a time: the chroma row is still in the nearest cache when it is needed again, and a single stream
/// of stores runs faster than two side by side.
template <PackedLayout layout>
HWY_INLINE void enlargeRows(ConstViewU8 y, ConstViewU8 cb, ConstViewU8 cr, ViewU8 packed) {
    for (int i = 0; i < y.height / 2 * 2; ++i)
        packRow<layout>(y.row(i), cb.row(i / 2), cr.row(i / 2), packed.row(i), y.width);
}

void reducePicture(PackedLayout layout, ConstViewU8 packed, ViewU8 y, ViewU8 cb, ViewU8 cr) {
    const auto rows = layout == PackedLayout::uyvy ? reduceRows<PackedLayout::uyvy> : reduceRows<PackedLayout::yuyv>;
    rows(packed, y, cb, cr);
}

void enlargePicture(PackedLayout layout, ConstViewU8 y, ConstViewU8 cb, ConstViewU8 cr, ViewU8 packed) {
    const auto rows = layout == PackedLayout::uyvy ? enlargeRows<PackedLayout::uyvy> : enlargeRows<PackedLayout::yuyv>;
    rows(y, cb, cr, packed);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {
HWY_EXPORT(reducePicture);
HWY_EXPORT(enlargePicture);

namespace {

constexpr int minimumHeight = 2;

constexpr int evenPart(int height) {
    return height / 2 * 2;
}

template <class Packed, class Plane>
Status check(const Packed& packed, const Plane& y, const Plane& cb, const Plane& cr) {
    if (anyNull(packed, y, cb, cr)) return Status::nullPointer;
    const bool fits = packedFits(packed, y, minimumHeight) && chromaFits(cb, cr, y, y.height / 2);
    return fits ? Status::ok : Status::badSize;
}

Status reduce(PackedLayout layout, ConstViewU8 packed, ViewU8 y, ViewU8 cb, ViewU8 cr) {
    if (const Status fault = check(packed, y, cb, cr); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(reducePicture)(layout, packed, y, cb, cr);
    return answerFor(evenPart(y.height), y.height);
}

Status enlarge(PackedLayout layout, ConstViewU8 y, ConstViewU8 cb, ConstViewU8 cr, ViewU8 packed) {
    if (const Status fault = check(packed, y, cb, cr); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(enlargePicture)(layout, y, cb, cr, packed);
    return answerFor(evenPart(y.height), y.height);
}

/// Rows 2k and 2k + 1 of dst become row k of src. Each source row is still in the cache when it is copied again.
void repeatRows(ConstViewU8 src, ViewU8 dst, int rows) {
    for (int y = 0; y < rows; ++y) std::memcpy(dst.row(y), src.row(y / 2), std::size_t(dst.width));
}

}  // namespace

Status uyvyToPlanar420(ConstViewU8 packed, ViewU8 y, ViewU8 cb, ViewU8 cr) noexcept {
    return reduce(PackedLayout::uyvy, packed, y, cb, cr);
}
Status yuyvToPlanar420(ConstViewU8 packed, ViewU8 y, ViewU8 cb, ViewU8 cr) noexcept {
    return reduce(PackedLayout::yuyv, packed, y, cb, cr);
}
Status planar420ToUyvy(ConstViewU8 y, ConstViewU8 cb, ConstViewU8 cr, ViewU8 packed) noexcept {
    return enlarge(PackedLayout::uyvy, y, cb, cr, packed);
}
Status planar420ToYuyv(ConstViewU8 y, ConstViewU8 cb, ConstViewU8 cr, ViewU8 packed) noexcept {
    return enlarge(PackedLayout::yuyv, y, cb, cr, packed);
}

Status planar420ToPlanar422(ConstViewU8 y, ConstViewU8 cb, ConstViewU8 cr, ViewU8 dstY, ViewU8 dstCb,
                            ViewU8 dstCr) noexcept {
    if (anyNull(y, cb, cr, dstY, dstCb, dstCr)) return Status::nullPointer;
    const int rows = evenPart(y.height);
    const bool fits = sameSize(y, dstY) && y.width >= 2 && y.height >= minimumHeight &&
                      chromaFits(cb, cr, y, rows / 2) && chromaFits(dstCb, dstCr, y, rows);
    if (!fits) return Status::badSize;
    if (const Status fault = copy(y.band(0, rows), dstY.band(0, rows)); fault != Status::ok) return fault;
    repeatRows(cb, dstCb, rows);
    repeatRows(cr, dstCr, rows);
    return answerFor(rows, y.height);
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
