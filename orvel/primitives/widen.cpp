#include "orvel/primitives/widen.h"

#include "orvel/primitives/checks.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/widen.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/dealt_blocks_inl.h"
#include "orvel/primitives/row_loop_inl.h"
#include "orvel/primitives/stores_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

/// Calls body(d, in, out) for runs of 16-bit lanes of every row.
template <class From, class To, class Body>
HWY_INLINE void forEachRow(PlaneView<From> src, PlaneView<To> dst, const Body& body) {
    for (int y = 0; y < dst.height; ++y) {
        From* in = src.row(y);
        To* out = dst.row(y);
        forEachRun<std::uint16_t>(dst.width, [&](auto d, int x) HWY_ATTR { body(d, in + x, out + x); });
    }
}

template <class D>
HWY_INLINE auto loadWide(D d, const std::uint8_t* in) {
    return hn::PromoteTo(d, hn::LoadU(hn::Rebind<std::uint8_t, D>(), in));
}

/// v holds no value above 255.
template <class D>
HWY_INLINE void storeNarrow(hn::Vec<D> v, D /*d*/, std::uint8_t* out) {
    const hn::Rebind<std::uint8_t, D> d8;
    hn::StoreU(hn::DemoteTo(d8, hn::BitCast(hn::RebindToSigned<D>(), v)), d8, out);
}

void widenRows(ConstViewU8 src, ViewU16 dst) {
    forEachRow(src, dst, [](auto d, auto in, auto out) HWY_ATTR { hn::StoreU(loadWide(d, in), d, out); });
}

template <Stores stores>
HWY_INLINE void widenShiftedRow(const std::uint8_t* in, std::uint16_t* out, int width) {
    int x = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::CappedTag<std::uint8_t, movingBytes<stores>> d8;
    const hn::Repartition<std::uint16_t, decltype(d8)> d16;
    const int n = static_cast<int>(hn::Lanes(d8));
    const auto zero = hn::Zero(d8);
    for (; x + n <= width; x += n) {
        const auto high = loadDealtEights(d8, in + x);
        put<stores>(hn::BitCast(d16, hn::InterleaveLower(d8, zero, high)), d16, out + x);
        put<stores>(hn::BitCast(d16, hn::InterleaveUpper(d8, zero, high)), d16, out + x + n / 2);
    }
#endif
    forEachRun<std::uint16_t>(width - x, [=](auto d, int i) HWY_ATTR {
        hn::StoreU(hn::ShiftLeft<8>(loadWide(d, in + x + i)), d, out + x + i);
    });
}

void widenShiftedRows(ConstViewU8 src, ViewU16 dst, Stores stores) {
    const auto rows = [&](auto how) HWY_ATTR {
        for (int y = 0; y < dst.height; ++y) widenShiftedRow<how()>(src.row(y), dst.row(y), dst.width);
    };
    withStores(stores, rows, dst);
}

void narrowRows(ConstViewU16 src, ViewU8 dst) {
    forEachRow(src, dst, [](auto d, auto in, auto out) HWY_ATTR {
        storeNarrow(hn::Min(hn::LoadU(d, in), hn::Set(d, 255)), d, out);
    });
}

void narrowHighByteClearingRows(ViewU16 src, ViewU8 dst) {
    forEachRow(src, dst, [](auto d, auto in, auto out) HWY_ATTR {
        const auto v = hn::LoadU(d, in);
        storeNarrow(hn::ShiftRight<8>(v), d, out);
        hn::StoreU(hn::And(v, hn::Set(d, 0xFF00)), d, in);
    });
}

void shiftLeftRows(ConstViewU16 src, int bits, ViewU16 dst) {
    forEachRow(src, dst, [bits](auto d, auto in, auto out) HWY_ATTR {
        hn::StoreU(hn::ShiftLeftSame(hn::LoadU(d, in), bits), d, out);
    });
}

void shiftRightRows(ConstViewU16 src, int bits, ViewU16 dst) {
    forEachRow(src, dst, [bits](auto d, auto in, auto out) HWY_ATTR {
        hn::StoreU(hn::ShiftRightSame(hn::LoadU(d, in), bits), d, out);
    });
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {
namespace {

Status checkShift(ConstViewU16 src, int bits, ViewU16 dst) {
    if (const Status fault = checkSameSize(dst, src); fault != Status::ok) return fault;
    return bits < 0 || bits > 15 ? Status::badArgument : Status::ok;
}

}  // namespace

HWY_EXPORT(widenRows);
HWY_EXPORT(widenShiftedRows);
HWY_EXPORT(narrowRows);
HWY_EXPORT(narrowHighByteClearingRows);
HWY_EXPORT(shiftLeftRows);
HWY_EXPORT(shiftRightRows);

Status widen(ConstViewU8 src, ViewU16 dst) noexcept {
    if (const Status fault = checkSameSize(dst, src); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(widenRows)(src, dst);
    return Status::ok;
}

Status widenShifted(ConstViewU8 src, ViewU16 dst, Stores stores) noexcept {
    if (const Status fault = checkSameSize(dst, src); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(widenShiftedRows)(src, dst, stores);
    return Status::ok;
}

Status narrow(ConstViewU16 src, ViewU8 dst) noexcept {
    if (const Status fault = checkSameSize(dst, src); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(narrowRows)(src, dst);
    return Status::ok;
}

Status narrowHighByteClearing(ViewU16 src, ViewU8 dst) noexcept {
    if (const Status fault = checkSameSize(dst, src); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(narrowHighByteClearingRows)(src, dst);
    return Status::ok;
}

Status shiftLeft(ConstViewU16 src, int bits, ViewU16 dst) noexcept {
    if (const Status fault = checkShift(src, bits, dst); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(shiftLeftRows)(src, bits, dst);
    return Status::ok;
}

Status shiftRight(ConstViewU16 src, int bits, ViewU16 dst) noexcept {
    if (const Status fault = checkShift(src, bits, dst); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(shiftRightRows)(src, bits, dst);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
