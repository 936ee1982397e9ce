#include "orvel/primitives/arithmetic.h"

#include <algorithm>

#include "orvel/primitives/checks.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/arithmetic.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/row_loop_inl.h"
#include "orvel/primitives/sample_math_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

/// dst = op(d, a, b) on whole vectors of bytes, row by row.
template <class Op>
HWY_INLINE void forEachPair(ConstViewU8 a, ConstViewU8 b, ViewU8 dst, const Op& op) {
    for (int y = 0; y < dst.height; ++y) {
        const std::uint8_t *pa = a.row(y), *pb = b.row(y);
        std::uint8_t* out = dst.row(y);
        forEachRun<std::uint8_t>(dst.width, [&](auto d, int x) HWY_ATTR {
            hn::StoreU(op(d, hn::LoadU(d, pa + x), hn::LoadU(d, pb + x)), d, out + x);
        });
    }
}

void addConstantRows(ConstViewU8 src, std::uint8_t value, ViewU8 dst) {
    forEachPair(src, src, dst,
                [value](auto d, auto v, auto) HWY_ATTR { return hn::SaturatedAdd(v, hn::Set(d, value)); });
}

void subtractConstantRows(ConstViewU8 src, std::uint8_t value, ViewU8 dst) {
    forEachPair(src, src, dst,
                [value](auto d, auto v, auto) HWY_ATTR { return hn::SaturatedSub(v, hn::Set(d, value)); });
}

void absDiffRows(ConstViewU8 a, ConstViewU8 b, ViewU8 dst) {
    forEachPair(a, b, dst, [](auto, auto va, auto vb) HWY_ATTR { return absDifference(va, vb); });
}

/// finish(d, product) makes of each 16-bit product what is stored, clamped to 255.
template <class Finish>
HWY_INLINE void forEachProduct(ConstViewU8 src, std::uint8_t factor, ViewU8 dst, const Finish& finish) {
    for (int y = 0; y < dst.height; ++y) {
        const std::uint8_t* in = src.row(y);
        std::uint8_t* out = dst.row(y);
        forEachRun<std::uint16_t>(dst.width, [&](auto d, int x) HWY_ATTR {
            const hn::Rebind<std::uint8_t, decltype(d)> d8;
            const auto product = hn::Mul(hn::PromoteTo(d, hn::LoadU(d8, in + x)), hn::Set(d, factor));
            const auto clamped = hn::Min(finish(d, product), hn::Set(d, 255));
            hn::StoreU(hn::DemoteTo(d8, hn::BitCast(hn::RebindToSigned<decltype(d)>(), clamped)), d8, out + x);
        });
    }
}

/// min(255, src * factor * 2^bits), bits in 0..8.
void multiplyUpRows(ConstViewU8 src, std::uint8_t factor, int bits, ViewU8 dst) {
    forEachProduct(src, factor, dst, [bits](auto d, auto product) HWY_ATTR {
        return hn::ShiftLeftSame(hn::Min(product, hn::Set(d, 255)), bits);  // clamped first, or 16 bits were too few
    });
}

/// min(255, src * factor / 2^bits), bits in 1..16, halves to the even neighbour.
void multiplyDownRows(ConstViewU8 src, std::uint8_t factor, int bits, ViewU8 dst) {
    const auto rest = static_cast<std::uint16_t>((1u << bits) - 1), half = static_cast<std::uint16_t>(1u << (bits - 1));
    forEachProduct(src, factor, dst, [=](auto d, auto product) HWY_ATTR {
        const auto whole = hn::ShiftRight<1>(hn::ShiftRightSame(product, bits - 1));
        // An odd quotient raises the rest by one, so that it already passes the half when it is the half.
        const auto raised = hn::Add(hn::And(product, hn::Set(d, rest)), hn::And(whole, hn::Set(d, 1)));
        return hn::Sub(whole, hn::VecFromMask(d, hn::Gt(raised, hn::Set(d, half))));
    });
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {

HWY_EXPORT(addConstantRows);
HWY_EXPORT(subtractConstantRows);
HWY_EXPORT(absDiffRows);
HWY_EXPORT(multiplyUpRows);
HWY_EXPORT(multiplyDownRows);

Status addConstant(ConstViewU8 src, std::uint8_t value, ViewU8 dst) noexcept {
    if (const Status fault = checkSameSize(dst, src); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(addConstantRows)(src, value, dst);
    return Status::ok;
}

Status subtractConstant(ConstViewU8 src, std::uint8_t value, ViewU8 dst) noexcept {
    if (const Status fault = checkSameSize(dst, src); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(subtractConstantRows)(src, value, dst);
    return Status::ok;
}

Status absDiff(ConstViewU8 a, ConstViewU8 b, ViewU8 dst) noexcept {
    if (const Status fault = checkSameSize(dst, a, b); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(absDiffRows)(a, b, dst);
    return Status::ok;
}

Status multiplyConstant(ConstViewU8 src, std::uint8_t factor, int scale, ViewU8 dst) noexcept {
    if (const Status fault = checkSameSize(dst, src); fault != Status::ok) return fault;
    if (scale > 16) {  // 255 * 255 is less than half of 2^17
        factor = 0;
        scale = 0;
    }
    if (scale > 0)
        HWY_DYNAMIC_DISPATCH(multiplyDownRows)(src, factor, scale, dst);
    else
        HWY_DYNAMIC_DISPATCH(multiplyUpRows)(src, factor, -std::max(scale, -8), dst);  // 2^8 saturates all but 0
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
