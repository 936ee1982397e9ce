#include "orvel/primitives/yuv420_interlaced.h"

#include <algorithm>

#include "orvel/primitives/fill.h"
#include "orvel/primitives/packed_422.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/yuv420_interlaced.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/packed_422_inl.h"
#include "orvel/primitives/reduce_rows_inl.h"
#include "orvel/primitives/sample_math_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

constexpr PackedLayout uyvy = PackedLayout::uyvy;

// The filters stay in bytes: halving repeatedly with floor and once, last, with rounding up is the exact rounded
// quotient, since floor((c + floor(x / m)) / 2) = floor((m c + x) / 2m).

/// (3 a + b + 2) >> 2.
template <class V>
HWY_INLINE V threeToOne(V a, V b) {
    return hn::AverageRound(a, floorMean(a, b));
}

/// (7 a + b + 4) >> 3.
template <class V>
HWY_INLINE V sevenToOne(V a, V b) {
    return hn::AverageRound(a, triangleFloorMean(a, a, b));
}

/// (5 a + 3 b + 4) >> 3.
template <class V>
HWY_INLINE V fiveToThree(V a, V b) {
    return hn::AverageRound(a, triangleFloorMean(b, a, b));
}

void reduceInterlaced(const ConstViewU8& packed, const ViewU8& y, const ViewU8& cb, const ViewU8& cr, Stores stores) {
    // The line that weighs three quarters is the upper one in the top field, the lower one in the bottom field.
    const auto rowsOf = [](int k) HWY_ATTR {
        const int group = k / 2 * 4, field = k % 2;
        return RowPair{group + 3 * field, group + 2 - field};
    };
    const auto mean = [](auto closer, auto farther) HWY_ATTR { return threeToOne(closer, farther); };
    reduceRows<uyvy, Pairing::fieldRows>(y.height / 4 * 2, rowsOf, mean, packed, y, cb, cr, stores);
}

/// The two 4:2:0 chroma rows that one row of a picture is made of.
struct ChromaSources {
    int nearest, other;
    bool sevenEighths;  ///< weights 7 and 1, else 5 and 3

    ChromaSources(int y, int groups) {
        const int k = y / 4, line = y % 4, field = line % 2;
        const int neighbour = std::clamp(line < 2 ? k - 1 : k + 1, 0, groups - 1);
        nearest = 2 * k + field;
        other = 2 * neighbour + field;
        sevenEighths = line == 0 || line == 3;
    }
};

/// Calls body(sources, y, filter) for every row of whole groups.
template <class Body>
HWY_INLINE void forEachEnlargedRow(int height, const Body& body) {
    const auto seven = [](auto a, auto b) HWY_ATTR { return sevenToOne(a, b); };
    const auto five = [](auto a, auto b) HWY_ATTR { return fiveToThree(a, b); };
    for (int y = 0; y < height / 4 * 4; ++y) {
        const ChromaSources from(y, height / 4);
        from.sevenEighths ? body(y, from, seven) : body(y, from, five);
    }
}

void enlargeInterlacedToUyvy(const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr, const ViewU8& packed,
                             Stores stores) {
    const auto rows = [&](auto how) HWY_ATTR {
        forEachEnlargedRow(y.height, [&](int row, ChromaSources from, auto filter) HWY_ATTR {
            const std::uint8_t *luma = y.row(row), *u0 = cb.row(from.nearest), *u1 = cb.row(from.other),
                               *v0 = cr.row(from.nearest), *v1 = cr.row(from.other);
            std::uint8_t* out = packed.row(row);
            forEachRun<std::uint8_t, movingBytes<how()>>(y.width / 2, [=](auto d, int pair) HWY_ATTR {
                if constexpr (how() == Stores::streaming) prefetchAhead(luma + 2 * pair, 2 * hn::Lanes(d));
                storePacked<uyvy, how()>(d, luma + 2 * pair, filter(hn::LoadU(d, u0 + pair), hn::LoadU(d, u1 + pair)),
                                         filter(hn::LoadU(d, v0 + pair), hn::LoadU(d, v1 + pair)), out + 4 * pair);
            });
            packOddPixel<uyvy>(luma, out, y.width);
        });
    };
    withStores(stores, rows, packed);
}

template <Stores stores>
HWY_INLINE void enlargeFields(const ConstViewU8& src, const ViewU8& dst, int height) {
    const int width = dst.width;
    forEachEnlargedRow(height, [&](int row, ChromaSources from, auto filter) HWY_ATTR {
        const std::uint8_t *a = src.row(from.nearest), *b = src.row(from.other);
        std::uint8_t* out = dst.row(row);
        forEachRun<std::uint8_t>(width, [=](auto d, int x) HWY_ATTR {
            put<stores>(filter(hn::LoadU(d, a + x), hn::LoadU(d, b + x)), d, out + x);
        });
    });
}

void enlargeInterlacedPlane(const ConstViewU8& src, const ViewU8& dst, int height, Stores stores) {
    withStores(
        stores, [&](auto how) HWY_ATTR { enlargeFields<how()>(src, dst, height); }, dst);
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {
HWY_EXPORT(reduceInterlaced);
HWY_EXPORT(enlargeInterlacedToUyvy);
HWY_EXPORT(enlargeInterlacedPlane);

namespace {

constexpr int minimumHeight = 4;

constexpr int wholeGroups(int height) {
    return height / 4 * 4;
}

template <class Packed, class Plane>
Status check(const Packed& packed, const Plane& y, const Plane& cb, const Plane& cr) {
    if (anyNull(packed, y, cb, cr)) return Status::nullPointer;
    const bool fits = packedFits(packed, y, minimumHeight) && chromaFits(cb, cr, y, wholeGroups(y.height) / 2);
    return fits ? Status::ok : Status::badSize;
}

}  // namespace

Status uyvyToPlanar420Interlaced(const ConstViewU8& packed, const ViewU8& y, const ViewU8& cb, const ViewU8& cr,
                                 Stores stores) noexcept {
    if (const Status fault = check(packed, y, cb, cr); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(reduceInterlaced)(packed, y, cb, cr, stores);
    return answerFor(wholeGroups(y.height), y.height);
}

Status planar420ToUyvyInterlaced(const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr,
                                 const ViewU8& packed, Stores stores) noexcept {
    if (const Status fault = check(packed, y, cb, cr); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(enlargeInterlacedToUyvy)(y, cb, cr, packed, stores);
    return answerFor(wholeGroups(y.height), y.height);
}

Status planar420ToPlanar422Interlaced(const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr,
                                      const ViewU8& dstY, const ViewU8& dstCb, const ViewU8& dstCr,
                                      Stores stores) noexcept {
    if (anyNull(y, cb, cr, dstY, dstCb, dstCr)) return Status::nullPointer;
    const int rows = wholeGroups(y.height);
    const bool fits = sameSize(y, dstY) && y.width >= 2 && y.height >= minimumHeight &&
                      chromaFits(cb, cr, y, rows / 2) && chromaFits(dstCb, dstCr, y, rows);
    if (!fits) return Status::badSize;
    if (const Status fault = copy(y.band(0, rows), dstY.band(0, rows), stores); fault != Status::ok) return fault;
    HWY_DYNAMIC_DISPATCH(enlargeInterlacedPlane)(cb, dstCb, rows, stores);
    HWY_DYNAMIC_DISPATCH(enlargeInterlacedPlane)(cr, dstCr, rows, stores);
    return answerFor(rows, y.height);
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
