#include "orvel/primitives/yuv420.h"

#include "orvel/primitives/join_rows.h"
#include "orvel/primitives/packed_422.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/yuv420.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/copy_rows_inl.h"
#include "orvel/primitives/packed_422_inl.h"
#include "orvel/primitives/reduce_rows_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

template <PackedLayout layout>
HWY_INLINE void reduceToMeans(const ConstViewU8& packed, const ViewU8& y, const ViewU8& cb, const ViewU8& cr,
                              Stores stores) {
    const auto rowsOf = [](int k) HWY_ATTR { return RowPair{2 * k, 2 * k + 1}; };
    const auto mean = [](auto a, auto b) HWY_ATTR { return hn::AverageRound(a, b); };
    reduceRows<layout, Pairing::neighbours>(y.height / 2, rowsOf, mean, packed, y, cb, cr, stores);
}

/// One packed row at a time: the chroma row is still in the nearest cache when it is needed again, and a single stream
/// of stores runs faster than two side by side.
template <PackedLayout layout>
HWY_INLINE void enlargeRows(const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr, const ViewU8& packed,
                            Stores stores) {
    const auto rows = [&](auto how) HWY_ATTR {
        for (int i = 0; i < y.height / 2 * 2; ++i)
            packRow<layout, how()>(y.row(i), cb.row(i / 2), cr.row(i / 2), packed.row(i), y.width);
    };
    withStores(stores, rows, packed);
}

void reducePicture(PackedLayout layout, const ConstViewU8& packed, const ViewU8& y, const ViewU8& cb, const ViewU8& cr,
                   Stores stores) {
    const auto reduce =
        layout == PackedLayout::uyvy ? reduceToMeans<PackedLayout::uyvy> : reduceToMeans<PackedLayout::yuyv>;
    reduce(packed, y, cb, cr, stores);
}

void enlargePicture(PackedLayout layout, const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr,
                    const ViewU8& packed, Stores stores) {
    const auto rows = layout == PackedLayout::uyvy ? enlargeRows<PackedLayout::uyvy> : enlargeRows<PackedLayout::yuyv>;
    rows(y, cb, cr, packed, stores);
}

/// Rows 2k and 2k + 1 of dst become row k of src.
void repeatRows(const ConstViewU8& src, const ViewU8& dst, int rows, Stores stores) {
    const auto pairs = [&](auto how) HWY_ATTR {
        for (int k = 0; k < rows / 2; ++k) copyRow<how()>(src.row(k), dst.width, dst.row(2 * k), dst.row(2 * k + 1));
    };
    withStores(stores, pairs, dst);
}

void copyLuma(const ConstViewU8& src, const ViewU8& dst, Stores stores) {
    copyRows(src, dst, stores);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {
HWY_EXPORT(reducePicture);
HWY_EXPORT(enlargePicture);
HWY_EXPORT(repeatRows);
HWY_EXPORT(copyLuma);

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

Status reduce(PackedLayout layout, const ConstViewU8& packed, const ViewU8& y, const ViewU8& cb, const ViewU8& cr,
              Stores stores) {
    if (const Status fault = check(packed, y, cb, cr); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(reducePicture)(layout, packed, y, cb, cr, stores);
    return answerFor(evenPart(y.height), y.height);
}

Status enlarge(PackedLayout layout, const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr,
               const ViewU8& packed, Stores stores) {
    if (const Status fault = check(packed, y, cb, cr); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(enlargePicture)(layout, y, cb, cr, packed, stores);
    return answerFor(evenPart(y.height), y.height);
}

}  // namespace

Status uyvyToPlanar420(const ConstViewU8& packed, const ViewU8& y, const ViewU8& cb, const ViewU8& cr,
                       Stores stores) noexcept {
    return reduce(PackedLayout::uyvy, packed, y, cb, cr, stores);
}
Status yuyvToPlanar420(const ConstViewU8& packed, const ViewU8& y, const ViewU8& cb, const ViewU8& cr,
                       Stores stores) noexcept {
    return reduce(PackedLayout::yuyv, packed, y, cb, cr, stores);
}
Status planar420ToUyvy(const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr, const ViewU8& packed,
                       Stores stores) noexcept {
    return enlarge(PackedLayout::uyvy, y, cb, cr, packed, stores);
}
Status planar420ToYuyv(const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr, const ViewU8& packed,
                       Stores stores) noexcept {
    return enlarge(PackedLayout::yuyv, y, cb, cr, packed, stores);
}

Status planar420ToPlanar422(const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr, const ViewU8& dstY,
                            const ViewU8& dstCb, const ViewU8& dstCr, Stores stores) noexcept {
    if (anyNull(y, cb, cr, dstY, dstCb, dstCr)) return Status::nullPointer;
    const int rows = evenPart(y.height);
    const bool fits = sameSize(y, dstY) && y.width >= 2 && y.height >= minimumHeight &&
                      chromaFits(cb, cr, y, rows / 2) && chromaFits(dstCb, dstCr, y, rows);
    if (!fits) return Status::badSize;
    const auto copy = [stores](const ConstViewU8& from, const ViewU8& to) {
        HWY_DYNAMIC_DISPATCH(copyLuma)(from, to, stores);
    };
    onJoinedRows(copy, y.band(0, rows), dstY.band(0, rows));
    HWY_DYNAMIC_DISPATCH(repeatRows)(cb, dstCb, rows, stores);
    HWY_DYNAMIC_DISPATCH(repeatRows)(cr, dstCr, rows, stores);
    return answerFor(rows, y.height);
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
