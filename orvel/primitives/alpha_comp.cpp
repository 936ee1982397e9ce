#include "orvel/primitives/alpha_comp.h"

#include "orvel/primitives/checks.h"
#include "orvel/primitives/join_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/alpha_comp.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/byte_products_inl.h"
#include "orvel/primitives/row_loop_inl.h"
#include "orvel/primitives/stores_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

/// dst = blend(d, over, under), whole cache lines at a time.
template <class T, class Blend>
HWY_INLINE void forEachPair(const PlaneView<const T>& over, const PlaneView<const T>& under, const PlaneView<T>& dst,
                            Stores stores, const Blend& blend) {
    const auto rows = [&](auto how) HWY_ATTR {
        for (int y = 0; y < dst.height; ++y) {
            const T *a = over.row(y), *b = under.row(y);
            T* out = dst.row(y);
            forEachLine<T, movingBytes<how()>>(dst.width, [&](auto d, int x, auto count) HWY_ATTR {
                const int n = static_cast<int>(hn::Lanes(d));
                if constexpr (how() == Stores::streaming && count() > 1)
                    for (const T* from : {a, b}) prefetchAhead(reinterpret_cast<const std::uint8_t*>(from + x), 64);
                hn::Vec<decltype(d)> blended[count()];
                for (int i = 0; i < count(); ++i)
                    blended[i] = blend(d, hn::LoadU(d, a + x + i * n), hn::LoadU(d, b + x + i * n));
                for (int i = 0; i < count(); ++i) put<how()>(blended[i], d, out + x + i * n);
            });
        }
    };
    withStores(stores, rows, dst);
}

/// a * weight + b * (255 - weight) + 128 in 16 bits.
template <class D16, class V16 = hn::Vec<D16>>
HWY_INLINE V16 weightedSum(D16 d, V16 a, V16 b, std::uint8_t weight) {
    const V16 sum = hn::Add(hn::Mul(a, hn::Set(d, weight)), hn::Mul(b, hn::Set(d, std::uint16_t(255 - weight))));
    return hn::Add(sum, hn::Set(d, 128));
}

/// The blend of single samples and of short vectors.
template <class D, class V>
HWY_INLINE V blendPlain(D d, V a, V b, std::uint8_t weight) {
    // With t the weighted sum, (t + (t >> 8)) >> 8 is the rounded quotient by 255; it equals t * 257 >> 16.
    if constexpr (hn::MaxLanes(D()) == 1) {
        const hn::Rebind<std::uint16_t, D> d16;
        const auto t = weightedSum(d16, hn::PromoteTo(d16, a), hn::PromoteTo(d16, b), weight);
        return hn::DemoteTo(d, hn::BitCast(hn::Rebind<std::int16_t, D>(), hn::MulHigh(t, hn::Set(d16, 257))));
    } else {
        // Even and odd samples apart: no sample changes its place.
        const hn::RepartitionToWide<D> d16;
        const auto wideA = hn::BitCast(d16, a), wideB = hn::BitCast(d16, b), low = hn::Set(d16, 255);
        const auto even = weightedSum(d16, hn::And(wideA, low), hn::And(wideB, low), weight);
        const auto odd = weightedSum(d16, hn::ShiftRight<8>(wideA), hn::ShiftRight<8>(wideB), weight);
        return hn::OddEven(hn::BitCast(d, hn::Add(odd, hn::ShiftRight<8>(odd))),
                           hn::BitCast(d, hn::MulHigh(even, hn::Set(d16, 257))));
    }
}

#if ORVEL_BYTE_PRODUCTS
/// The same for vectors of at least 16 bytes: both products and their sum by one instruction, on samples less 128,
/// whose weighted sum is 255 * 128 less and fits 16 bits. What is missing to t is then 32768, the sum's top bit
/// flipped.
template <class D, class V>
HWY_INLINE V blendLong(D d, V a, V b, std::uint8_t weight) {
    const hn::RebindToSigned<D> ds;
    const hn::RepartitionToWide<D> d16;
    const hn::RebindToSigned<decltype(d16)> ds16;
    const auto weights = hn::BitCast(d, hn::Set(d16, static_cast<std::uint16_t>((255 - weight) << 8 | weight)));
    const auto lessA = hn::Xor(a, hn::Set(d, 128)), lessB = hn::Xor(b, hn::Set(d, 128));
    const auto quotient = [&](auto pairs) HWY_ATTR {
        const auto t = hn::Xor(hn::BitCast(d16, sumPairProducts(weights, hn::BitCast(ds, pairs))), hn::Set(d16, 32768));
        return hn::BitCast(ds16, hn::MulHigh(t, hn::Set(d16, 257)));
    };
    return packBlocks(quotient(hn::InterleaveLower(d, lessA, lessB)), quotient(hn::InterleaveUpper(d, lessA, lessB)));
}
#endif

void alphaComp8Rows(const ConstViewU8& over, std::uint8_t weight, const ConstViewU8& under, const ViewU8& dst,
                    Stores stores) {
    forEachPair(over, under, dst, stores, [weight](auto d, auto a, auto b) HWY_ATTR {
#if ORVEL_BYTE_PRODUCTS
        if constexpr (hn::MaxLanes(d) >= 16) return blendLong(d, a, b, weight);
#endif
        return blendPlain(d, a, b, weight);
    });
}

void alphaComp16Rows(const ConstViewU16& over, std::uint16_t weight, const ConstViewU16& under, const ViewU16& dst,
                     Stores stores) {
    // The smaller sample plus its weighted distance to the larger one: everything but the product fits 16 bits, and of
    // the product p the rounded quotient by 65535 is (t + (t >> 16)) >> 16 with t = p + 32768.
    forEachPair(over, under, dst, stores, [weight](auto d, auto a, auto b) HWY_ATTR {
        const hn::RebindToSigned<decltype(d)> ds;
        const auto larger = hn::Max(a, b), smaller = hn::Min(a, b), distance = hn::Sub(larger, smaller);
        const auto share =
            hn::IfThenElse(hn::Eq(larger, a), hn::Set(d, weight), hn::Set(d, std::uint16_t(65535 - weight)));
        const auto low = hn::BitCast(ds, hn::Mul(distance, share));
        // The upper half of t: the lower half of p carries when its top bit is set.
        const auto high = hn::Sub(hn::BitCast(ds, hn::MulHigh(distance, share)), hn::ShiftRight<15>(low));
        // The lower half of t is low with its top bit flipped, so that a signed comparison sees its unsigned order.
        const auto carry = hn::VecFromMask(ds, hn::Gt(low, hn::Xor(high, hn::Set(ds, 0x7FFF))));
        return hn::Add(smaller, hn::BitCast(d, hn::Sub(high, carry)));
    });
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {

HWY_EXPORT(alphaComp8Rows);
HWY_EXPORT(alphaComp16Rows);

Status alphaComp(const ConstViewU8& over, std::uint8_t weight, const ConstViewU8& under, const ViewU8& dst,
                 Stores stores) noexcept {
    if (const Status fault = checkSameSize(dst, over, under); fault != Status::ok) return fault;
    const auto rows = [=](const ConstViewU8& a, const ConstViewU8& b, const ViewU8& to) {
        HWY_DYNAMIC_DISPATCH(alphaComp8Rows)(a, weight, b, to, stores);
    };
    onJoinedRows(rows, over, under, dst);
    return Status::ok;
}

Status alphaComp(const ConstViewU16& over, std::uint16_t weight, const ConstViewU16& under, const ViewU16& dst,
                 Stores stores) noexcept {
    if (const Status fault = checkSameSize(dst, over, under); fault != Status::ok) return fault;
    const auto rows = [=](const ConstViewU16& a, const ConstViewU16& b, const ViewU16& to) {
        HWY_DYNAMIC_DISPATCH(alphaComp16Rows)(a, weight, b, to, stores);
    };
    onJoinedRows(rows, over, under, dst);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
