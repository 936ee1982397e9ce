#include "orvel/primitives/packed16.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/packed16.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/dealt_blocks_inl.h"
#include "orvel/primitives/packed_422_inl.h"
#include "orvel/primitives/stores_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

/// Pixel pairs taken apart.
template <class D>
struct SplitWords {
    hn::Vec<D> y0, y1, cb, cr;
};

template <class D>
HWY_INLINE SplitWords<D> loadSplitWords(D d, const std::uint16_t* packed) {
    const std::size_t n = hn::Lanes(d);
    const auto v0 = hn::LoadU(d, packed), v1 = hn::LoadU(d, packed + n);
    const auto v2 = hn::LoadU(d, packed + 2 * n), v3 = hn::LoadU(d, packed + 3 * n);
    const auto chroma0 = evenLanes(d, v1, v0), chroma1 = evenLanes(d, v3, v2);
    return {oddLanes(d, v1, v0), oddLanes(d, v3, v2), evenLanes(d, chroma1, chroma0), oddLanes(d, chroma1, chroma0)};
}

template <Stores stores>
HWY_INLINE void unpackRow(const std::uint16_t* packed, std::uint16_t* y, std::uint16_t* cb, std::uint16_t* cr,
                          int pairs) {
    const hn::ScalableTag<std::uint16_t> d;
    const int n = static_cast<int>(hn::Lanes(d));
    const auto storeLuma = [=](const auto& words, auto tag, int x) HWY_ATTR {
        put<stores>(words.y0, tag, y + 2 * x);
        put<stores>(words.y1, tag, y + 2 * x + hn::Lanes(tag));
    };
    int done = 0;
    // Two vectors of each plane, so that stores past the cache fill whole lines of it.
    for (; done + 2 * n <= pairs; done += 2 * n) {
        const auto first = loadSplitWords(d, packed + 4 * done), second = loadSplitWords(d, packed + 4 * (done + n));
        storeLuma(first, d, done);
        storeLuma(second, d, done + n);
        put<stores>(first.cb, d, cb + done);
        put<stores>(second.cb, d, cb + done + n);
        put<stores>(first.cr, d, cr + done);
        put<stores>(second.cr, d, cr + done + n);
    }
    forEachRun<std::uint16_t>(pairs - done, [=](auto tag, int i) HWY_ATTR {
        const int x = done + i;
        const auto words = loadSplitWords(tag, packed + 4 * x);
        storeLuma(words, tag, x);
        put<stores>(words.cb, tag, cb + x);
        put<stores>(words.cr, tag, cr + x);
    });
}

void packed16ToPlanarRows(ConstViewU16 packed, ViewU16 y, ViewU16 cb, ViewU16 cr, Stores stores) {
    const auto rows = [&](auto how) HWY_ATTR {
        for (int i = 0; i < packed.height; ++i)
            unpackRow<how()>(packed.row(i), y.row(i), cb.row(i), cr.row(i), cb.width);
    };
    withStores(stores, rows, y, cb, cr);
}

template <Stores stores>
HWY_INLINE void packRow(const std::uint16_t* y, const std::uint16_t* cb, const std::uint16_t* cr, std::uint16_t* packed,
                        int pairs) {
    int done = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<std::uint16_t> d;
    const hn::Repartition<std::uint8_t, decltype(d)> d8;
    const int n = static_cast<int>(hn::Lanes(d));
    const auto store = [=](auto chroma, const std::uint16_t* in, std::uint16_t* out) HWY_ATTR {
        const auto luma = hn::BitCast(d, loadDealtEights(d8, reinterpret_cast<const std::uint8_t*>(in)));
        put<stores>(hn::InterleaveLower(d, chroma, luma), d, out);
        put<stores>(hn::InterleaveUpper(d, chroma, luma), d, out + n);
    };
    for (; done + n <= pairs; done += n) {
        const auto u = dealtFours(d, hn::LoadU(d, cb + done)), v = dealtFours(d, hn::LoadU(d, cr + done));
        store(hn::InterleaveLower(d, u, v), y + 2 * done, packed + 4 * done);
        store(hn::InterleaveUpper(d, u, v), y + 2 * done + n, packed + 4 * done + 2 * n);
    }
#endif
    forEachRun<std::uint16_t>(pairs - done, [=](auto tag, int i) HWY_ATTR {
        const int x = done + i;
        hn::Vec<decltype(tag)> y0, y1;
        hn::LoadInterleaved2(tag, y + 2 * x, y0, y1);
        hn::StoreInterleaved4(hn::LoadU(tag, cb + x), y0, hn::LoadU(tag, cr + x), y1, tag, packed + 4 * x);
    });
}

void planarToPacked16Rows(ConstViewU16 y, ConstViewU16 cb, ConstViewU16 cr, ViewU16 packed, Stores stores) {
    const auto rows = [&](auto how) HWY_ATTR {
        for (int i = 0; i < packed.height; ++i) packRow<how()>(y.row(i), cb.row(i), cr.row(i), packed.row(i), cb.width);
    };
    withStores(stores, rows, packed);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {
namespace {

Status checkLayouts(ConstViewU16 packed, ConstViewU16 y, ConstViewU16 cb, ConstViewU16 cr) {
    if (packed.base == nullptr || y.base == nullptr || cb.base == nullptr || cr.base == nullptr)
        return Status::nullPointer;
    const bool fits = packed.valid() && packed.width % 4 == 0 && y.width == packed.width / 2 &&
                      y.height == packed.height && cb.width == packed.width / 4 && cb.height == packed.height &&
                      sameSize(cb, cr);
    return fits ? Status::ok : Status::badSize;
}

}  // namespace

HWY_EXPORT(packed16ToPlanarRows);
HWY_EXPORT(planarToPacked16Rows);

Status packed16ToPlanar(ConstViewU16 packed, ViewU16 y, ViewU16 cb, ViewU16 cr, Stores stores) noexcept {
    if (const Status fault = checkLayouts(packed, y, cb, cr); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(packed16ToPlanarRows)(packed, y, cb, cr, stores);
    return Status::ok;
}

Status planarToPacked16(ConstViewU16 y, ConstViewU16 cb, ConstViewU16 cr, ViewU16 packed, Stores stores) noexcept {
    if (const Status fault = checkLayouts(packed, y, cb, cr); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(planarToPacked16Rows)(y, cb, cr, packed, stores);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
