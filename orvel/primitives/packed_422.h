#pragma once
#include <cstdint>

#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"

// What the conversions from and to packed 4:2:2 share.

namespace Orvel::primitives {

/// Order of a pixel pair's bytes: U Y V Y or Y U Y V.
enum class PackedLayout : std::uint8_t { uyvy, yuyv };

template <class... Views>
constexpr bool anyNull(const Views&... views) noexcept {
    return (... || (views.base == nullptr));
}

/// A packed view holds 2 bytes for each luma sample; both views have at least minimumHeight rows of 2 pixels.
template <class P, class L>
constexpr bool packedFits(const PlaneView<P>& packed, const PlaneView<L>& y, int minimumHeight) noexcept {
    return y.width >= 2 && y.height >= minimumHeight && packed.width == std::int64_t(2) * y.width &&
           packed.height == y.height;
}

/// The chroma views are half as wide as the luma (rounded down) and hold at least the given number of rows.
template <class C, class L>
constexpr bool chromaFits(const PlaneView<C>& cb, const PlaneView<C>& cr, const PlaneView<L>& y, int rows) noexcept {
    return sameSize(cb, cr) && cb.width == y.width / 2 && cb.height >= rows;
}

/// Answer for a picture of which the first done rows were converted.
constexpr Status answerFor(int done, int height) noexcept {
    return done == height ? Status::ok : Status::reducedSize;
}

}  // namespace Orvel::primitives
