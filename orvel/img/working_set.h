#pragma once
#include <cstdint>

#include "orvel/img/img.h"
#include "orvel/primitives/stores.h"
#include "orvel/sys/cache_size.h"

namespace Orvel {

/// Bytes of a picture's pixels, without what lies between the rows.
inline std::int64_t pixelBytes(const Img& img) noexcept {
    std::int64_t bytes = 0;
    for (int p = 0; p < img.numPlanes(); ++p) bytes += std::int64_t{img.getWidth(p)} * img.getBpp(p) * img.getHeight(p);
    return bytes;
}

/// How an operation that goes once over these pictures writes. A copy past the cache gains from about half of the
/// largest cache on: the last call's result is no longer there when the next one overwrites it.
template <class... Pictures>
primitives::Stores storesFor(const Pictures&... pictures) noexcept {
    const auto bytes = static_cast<std::uint64_t>((... + pixelBytes(pictures)));
    return bytes > OrvelSys::lastLevelCacheBytes() / 2 ? primitives::Stores::streaming : primitives::Stores::cached;
}

}  // namespace Orvel
