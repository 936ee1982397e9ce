#include "orvel/primitives/arithmetic.h"

#include <algorithm>
#include <array>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/arithmetic.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/row_loop_inl.h"

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
    // One of the two saturating differences is zero, the other is |a - b|.
    forEachPair(a, b, dst, [](auto, auto va, auto vb) HWY_ATTR {
        return hn::Or(hn::SaturatedSub(va, vb), hn::SaturatedSub(vb, va));
    });
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {
namespace {

template <class... Views>
Status check(ViewU8 dst, const Views&... sources) {
    if (dst.base == nullptr || (... || (sources.base == nullptr))) return Status::nullPointer;
    if (!dst.valid() || !(... && sameSize(dst, sources))) return Status::badSize;
    return Status::ok;
}

/// value / 2^scale, halves to the even neighbour.
int scaleToNearestEven(int value, int scale) {
    if (scale <= 0)
        return scale < -8 ? (value != 0 ? 255 : 0) : value << -scale;  // 2^9 already saturates every product
    if (scale > 16) return 0;                                          // 255 * 255 is less than half of 2^17
    const int whole = value >> scale, rest = value & ((1 << scale) - 1), half = 1 << (scale - 1);
    return rest > half || (rest == half && (whole & 1)) ? whole + 1 : whole;
}

}  // namespace

HWY_EXPORT(addConstantRows);
HWY_EXPORT(subtractConstantRows);
HWY_EXPORT(absDiffRows);

Status addConstant(ConstViewU8 src, std::uint8_t value, ViewU8 dst) noexcept {
    if (const Status fault = check(dst, src); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(addConstantRows)(src, value, dst);
    return Status::ok;
}

Status subtractConstant(ConstViewU8 src, std::uint8_t value, ViewU8 dst) noexcept {
    if (const Status fault = check(dst, src); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(subtractConstantRows)(src, value, dst);
    return Status::ok;
}

Status absDiff(ConstViewU8 a, ConstViewU8 b, ViewU8 dst) noexcept {
    if (const Status fault = check(dst, a, b); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(absDiffRows)(a, b, dst);
    return Status::ok;
}

Status multiplyConstant(ConstViewU8 src, std::uint8_t factor, int scale, ViewU8 dst) noexcept {
    if (const Status fault = check(dst, src); fault != Status::ok) return fault;
    // 256 possible samples: a table is exact for every scale and no slower than the memory behind it is worth here.
    std::array<std::uint8_t, 256> table;
    for (int v = 0; v < 256; ++v)
        table[std::size_t(v)] = static_cast<std::uint8_t>(std::min(255, scaleToNearestEven(v * factor, scale)));
    for (int y = 0; y < dst.height; ++y)
        std::transform(src.row(y), src.row(y) + src.width, dst.row(y), [&](std::uint8_t v) { return table[v]; });
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
