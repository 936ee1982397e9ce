#include "orvel/primitives/yuv420.h"

#include "orvel/primitives/join_rows.h"
#include "orvel/primitives/packed_422.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/yuv420.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/packed_422_inl.h"
#include "orvel/primitives/reduce_rows_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

/// Copies width bytes to each of the rows out.
template <Stores stores, class... Out>
HWY_INLINE void copyRow(const std::uint8_t* src, int width, Out*... out) {
    forEachLine<std::uint8_t>(width, [=](auto d, int x, auto vectors) HWY_ATTR {
        const int n = static_cast<int>(hn::Lanes(d));
        if constexpr (stores == Stores::streaming) prefetchAhead(src + x, vectors() * hn::Lanes(d));
        hn::Vec<decltype(d)> v[vectors()];
        for (int i = 0; i < vectors(); ++i) v[i] = hn::LoadU(d, src + x + i * n);
        const auto putTo = [&](std::uint8_t* to) HWY_ATTR {
            for (int i = 0; i < vectors(); ++i) put<stores>(v[i], d, to + x + i * n);
        };
        (..., putTo(out));
    });
}

template <PackedLayout layout>
HWY_INLINE void reduceToMeans(ConstViewU8 packed, ViewU8 y, ViewU8 cb, ViewU8 cr, Stores stores) {
    const auto rowsOf = [](int k) HWY_ATTR { return RowPair{2 * k, 2 * k + 1}; };
    const auto mean = [](auto a, auto b) HWY_ATTR { return hn::AverageRound(a, b); };
    reduceRows<layout, Pairing::neighbours>(y.height / 2, rowsOf, mean, packed, y, cb, cr, stores);
}

/// One packed row at a time: the chroma row is still in the nearest cache when it is needed again, and a single stream
/// of stores runs faster than two side by side.
template <PackedLayout layout>
HWY_INLINE void enlargeRows(ConstViewU8 y, ConstViewU8 cb, ConstViewU8 cr, ViewU8 packed, Stores stores) {
    const auto rows = [&](auto how) HWY_ATTR {
        for (int i = 0; i < y.height / 2 * 2; ++i)
            packRow<layout, how()>(y.row(i), cb.row(i / 2), cr.row(i / 2), packed.row(i), y.width);
    };
    withStores(stores, rows, packed);
}

void reducePicture(PackedLayout layout, ConstViewU8 packed, ViewU8 y, ViewU8 cb, ViewU8 cr, Stores stores) {
    const auto reduce =
        layout == PackedLayout::uyvy ? reduceToMeans<PackedLayout::uyvy> : reduceToMeans<PackedLayout::yuyv>;
    reduce(packed, y, cb, cr, stores);
}

void enlargePicture(PackedLayout layout, ConstViewU8 y, ConstViewU8 cb, ConstViewU8 cr, ViewU8 packed, Stores stores) {
    const auto rows = layout == PackedLayout::uyvy ? enlargeRows<PackedLayout::uyvy> : enlargeRows<PackedLayout::yuyv>;
    rows(y, cb, cr, packed, stores);
}

/// Rows 2k and 2k + 1 of dst become row k of src.
void repeatRows(ConstViewU8 src, ViewU8 dst, int rows, Stores stores) {
    const auto pairs = [&](auto how) HWY_ATTR {
        for (int k = 0; k < rows / 2; ++k) copyRow<how()>(src.row(k), dst.width, dst.row(2 * k), dst.row(2 * k + 1));
    };
    withStores(stores, pairs, dst);
}

/// src and dst are equally large.
void copyRows(ConstViewU8 src, ViewU8 dst, Stores stores) {
    const auto rows = [&](auto how) HWY_ATTR {
        for (int y = 0; y < dst.height; ++y) copyRow<how()>(src.row(y), dst.width, dst.row(y));
    };
    withStores(stores, rows, dst);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {
HWY_EXPORT(reducePicture);
HWY_EXPORT(enlargePicture);
HWY_EXPORT(repeatRows);
HWY_EXPORT(copyRows);

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

Status reduce(PackedLayout layout, ConstViewU8 packed, ViewU8 y, ViewU8 cb, ViewU8 cr, Stores stores) {
    if (const Status fault = check(packed, y, cb, cr); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(reducePicture)(layout, packed, y, cb, cr, stores);
    return answerFor(evenPart(y.height), y.height);
}

Status enlarge(PackedLayout layout, ConstViewU8 y, ConstViewU8 cb, ConstViewU8 cr, ViewU8 packed, Stores stores) {
    if (const Status fault = check(packed, y, cb, cr); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(enlargePicture)(layout, y, cb, cr, packed, stores);
    return answerFor(evenPart(y.height), y.height);
}

}  // namespace

Status uyvyToPlanar420(ConstViewU8 packed, ViewU8 y, ViewU8 cb, ViewU8 cr, Stores stores) noexcept {
    return reduce(PackedLayout::uyvy, packed, y, cb, cr, stores);
}
Status yuyvToPlanar420(ConstViewU8 packed, ViewU8 y, ViewU8 cb, ViewU8 cr, Stores stores) noexcept {
    return reduce(PackedLayout::yuyv, packed, y, cb, cr, stores);
}
Status planar420ToUyvy(ConstViewU8 y, ConstViewU8 cb, ConstViewU8 cr, ViewU8 packed, Stores stores) noexcept {
    return enlarge(PackedLayout::uyvy, y, cb, cr, packed, stores);
}
Status planar420ToYuyv(ConstViewU8 y, ConstViewU8 cb, ConstViewU8 cr, ViewU8 packed, Stores stores) noexcept {
    return enlarge(PackedLayout::yuyv, y, cb, cr, packed, stores);
}

Status planar420ToPlanar422(ConstViewU8 y, ConstViewU8 cb, ConstViewU8 cr, ViewU8 dstY, ViewU8 dstCb, ViewU8 dstCr,
                            Stores stores) noexcept {
    if (anyNull(y, cb, cr, dstY, dstCb, dstCr)) return Status::nullPointer;
    const int rows = evenPart(y.height);
    const bool fits = sameSize(y, dstY) && y.width >= 2 && y.height >= minimumHeight &&
                      chromaFits(cb, cr, y, rows / 2) && chromaFits(dstCb, dstCr, y, rows);
    if (!fits) return Status::badSize;
    ConstViewU8 luma = y.band(0, rows);
    ViewU8 dstLuma = dstY.band(0, rows);
    joinRows(luma, dstLuma);
    HWY_DYNAMIC_DISPATCH(copyRows)(luma, dstLuma, stores);
    HWY_DYNAMIC_DISPATCH(repeatRows)(cb, dstCb, rows, stores);
    HWY_DYNAMIC_DISPATCH(repeatRows)(cr, dstCr, rows, stores);
    return answerFor(rows, y.height);
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
