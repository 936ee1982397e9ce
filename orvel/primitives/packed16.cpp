#include "orvel/primitives/packed16.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/packed16.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/row_loop_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

void packed16ToPlanarRows(ConstViewU16 packed, ViewU16 y, ViewU16 cb, ViewU16 cr) {
    for (int row = 0; row < packed.height; ++row) {
        const std::uint16_t* in = packed.row(row);
        std::uint16_t *outY = y.row(row), *outCb = cb.row(row), *outCr = cr.row(row);
        forEachRun<std::uint16_t>(cb.width, [&](auto d, int x) HWY_ATTR {
            hn::Vec<decltype(d)> u, y0, v, y1;
            hn::LoadInterleaved4(d, in + 4 * x, u, y0, v, y1);
            hn::StoreInterleaved2(y0, y1, d, outY + 2 * x);
            hn::StoreU(u, d, outCb + x);
            hn::StoreU(v, d, outCr + x);
        });
    }
}

void planarToPacked16Rows(ConstViewU16 y, ConstViewU16 cb, ConstViewU16 cr, ViewU16 packed) {
    for (int row = 0; row < packed.height; ++row) {
        const std::uint16_t *inY = y.row(row), *inCb = cb.row(row), *inCr = cr.row(row);
        std::uint16_t* out = packed.row(row);
        forEachRun<std::uint16_t>(cb.width, [&](auto d, int x) HWY_ATTR {
            hn::Vec<decltype(d)> y0, y1;
            hn::LoadInterleaved2(d, inY + 2 * x, y0, y1);
            hn::StoreInterleaved4(hn::LoadU(d, inCb + x), y0, hn::LoadU(d, inCr + x), y1, d, out + 4 * x);
        });
    }
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

Status packed16ToPlanar(ConstViewU16 packed, ViewU16 y, ViewU16 cb, ViewU16 cr) noexcept {
    if (const Status fault = checkLayouts(packed, y, cb, cr); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(packed16ToPlanarRows)(packed, y, cb, cr);
    return Status::ok;
}

Status planarToPacked16(ConstViewU16 y, ConstViewU16 cb, ConstViewU16 cr, ViewU16 packed) noexcept {
    if (const Status fault = checkLayouts(packed, y, cb, cr); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(planarToPacked16Rows)(y, cb, cr, packed);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
