#include "orvel/primitives/yuv422.h"

#include "orvel/primitives/join_rows.h"
#include "orvel/primitives/packed_422.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/yuv422.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/packed_422_inl.h"
#include "orvel/primitives/stores_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

template <PackedLayout layout, Stores stores>
HWY_INLINE void unpackRow(const std::uint8_t* packed, std::uint8_t* y, std::uint8_t* cb, std::uint8_t* cr, int width) {
    forEachRun<std::uint8_t>(width / 2, [=](auto d, int pair) HWY_ATTR {
        prefetchAhead(packed + 4 * pair, 4 * hn::Lanes(d));  // costs nothing in the cache
        const auto pairs = loadSplit<layout>(d, packed + 4 * pair);
        storeLuma<stores>(d, pairs, y + 2 * pair);
        storeChroma<stores>(d, pairs.chroma0, pairs.chroma1, cb + pair, cr + pair);
    });
    unpackOddPixel<layout>(packed, y, width);
}

template <PackedLayout layout>
HWY_INLINE void unpackLayout(const ConstViewU8& packed, const ViewU8& y, const ViewU8& cb, const ViewU8& cr,
                             Stores stores) {
    const auto rows = [&](auto how) HWY_ATTR {
        for (int i = 0; i < y.height; ++i)
            unpackRow<layout, how()>(packed.row(i), y.row(i), cb.row(i), cr.row(i), y.width);
    };
    withStores(stores, rows, y, cb, cr);
}

void unpackRows(PackedLayout layout, const ConstViewU8& packed, const ViewU8& y, const ViewU8& cb, const ViewU8& cr,
                Stores stores) {
    const auto unpack =
        layout == PackedLayout::uyvy ? unpackLayout<PackedLayout::uyvy> : unpackLayout<PackedLayout::yuyv>;
    unpack(packed, y, cb, cr, stores);
}

template <PackedLayout layout>
HWY_INLINE void packLayout(const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr, const ViewU8& packed,
                           Stores stores) {
    const auto rows = [&](auto how) HWY_ATTR {
        for (int i = 0; i < y.height; ++i)
            packRow<layout, how()>(y.row(i), cb.row(i), cr.row(i), packed.row(i), y.width);
    };
    withStores(stores, rows, packed);
}

void packRows(PackedLayout layout, const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr,
              const ViewU8& packed, Stores stores) {
    const auto pack = layout == PackedLayout::uyvy ? packLayout<PackedLayout::uyvy> : packLayout<PackedLayout::yuyv>;
    pack(y, cb, cr, packed, stores);
}

template <Stores stores>
HWY_INLINE void swapRow(const std::uint16_t* packed, std::uint16_t* dst, int width) {
    forEachLine<std::uint16_t, movingBytes<stores>>(width, [=](auto d, int x, auto vectors) HWY_ATTR {
        const int n = static_cast<int>(hn::Lanes(d));
        if constexpr (stores == Stores::streaming)
            prefetchAhead(reinterpret_cast<const std::uint8_t*>(packed + x), 2 * vectors() * hn::Lanes(d));
        hn::Vec<decltype(d)> v[vectors()];
        for (int i = 0; i < vectors(); ++i) v[i] = hn::LoadU(d, packed + x + i * n);
        for (int i = 0; i < vectors(); ++i)
            put<stores>(hn::Or(hn::ShiftLeft<8>(v[i]), hn::ShiftRight<8>(v[i])), d, dst + x + i * n);
    });
}

void swapRows(const ConstViewU8& packed, const ViewU8& dst, Stores stores) {
    const auto rows = [&](auto how) HWY_ATTR {
        for (int i = 0; i < dst.height; ++i)
            swapRow<how()>(reinterpret_cast<const std::uint16_t*>(packed.row(i)),
                           reinterpret_cast<std::uint16_t*>(dst.row(i)), dst.width / 2);
    };
    withStores(stores, rows, dst);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {
HWY_EXPORT(unpackRows);
HWY_EXPORT(packRows);
HWY_EXPORT(swapRows);

namespace {

template <class Packed, class Plane>
Status check(const Packed& packed, const Plane& y, const Plane& cb, const Plane& cr) {
    if (anyNull(packed, y, cb, cr)) return Status::nullPointer;
    const bool fits = packedFits(packed, y, 1) && chromaFits(cb, cr, y, y.height) && cb.height == y.height;
    return fits ? Status::ok : Status::badSize;
}

/// Rows of odd width end with a pixel of its own kind.
template <class Body, class... T>
void onRows(bool evenWidth, const Body& body, const PlaneView<T>&... views) {
    evenWidth ? onJoinedRows(body, views...) : body(views...);
}

Status unpack(PackedLayout layout, const ConstViewU8& packed, const ViewU8& y, const ViewU8& cb, const ViewU8& cr,
              Stores stores) {
    if (const Status fault = check(packed, y, cb, cr); fault != Status::ok) return fault;
    const auto rows = [=](const auto&... views) { HWY_DYNAMIC_DISPATCH(unpackRows)(layout, views..., stores); };
    onRows(y.width % 2 == 0, rows, packed, y, cb, cr);
    return Status::ok;
}

Status pack(PackedLayout layout, const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr,
            const ViewU8& packed, Stores stores) {
    if (const Status fault = check(packed, y, cb, cr); fault != Status::ok) return fault;
    const auto rows = [=](const auto&... views) { HWY_DYNAMIC_DISPATCH(packRows)(layout, views..., stores); };
    onRows(y.width % 2 == 0, rows, y, cb, cr, packed);
    return Status::ok;
}

}  // namespace

Status uyvyToPlanar422(const ConstViewU8& packed, const ViewU8& y, const ViewU8& cb, const ViewU8& cr,
                       Stores stores) noexcept {
    return unpack(PackedLayout::uyvy, packed, y, cb, cr, stores);
}
Status yuyvToPlanar422(const ConstViewU8& packed, const ViewU8& y, const ViewU8& cb, const ViewU8& cr,
                       Stores stores) noexcept {
    return unpack(PackedLayout::yuyv, packed, y, cb, cr, stores);
}
Status planar422ToUyvy(const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr, const ViewU8& packed,
                       Stores stores) noexcept {
    return pack(PackedLayout::uyvy, y, cb, cr, packed, stores);
}
Status planar422ToYuyv(const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr, const ViewU8& packed,
                       Stores stores) noexcept {
    return pack(PackedLayout::yuyv, y, cb, cr, packed, stores);
}

Status swapChromaLuma(const ConstViewU8& packed, const ViewU8& dst, Stores stores) noexcept {
    if (anyNull(packed, dst)) return Status::nullPointer;
    if (!dst.valid() || !sameSize(packed, dst) || dst.width < 4 || dst.width % 2 != 0) return Status::badSize;
    const auto rows = [stores](const auto&... views) { HWY_DYNAMIC_DISPATCH(swapRows)(views..., stores); };
    onJoinedRows(rows, packed, dst);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
