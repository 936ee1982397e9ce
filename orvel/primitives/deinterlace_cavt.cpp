#include "orvel/primitives/deinterlace_cavt.h"

#include <cstring>

#include "orvel/primitives/cavt_strength.h"
#include "orvel/primitives/checks.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "orvel/primitives/deinterlace_cavt.cpp"
#include <hwy/foreach_target.h>  // re-includes this file once per target
#include <hwy/highway.h>
#include "orvel/primitives/cavt_core_inl.h"

HWY_BEFORE_NAMESPACE();
namespace Orvel::primitives::HWY_NAMESPACE {

/// Stores resultOf(pair) for each step of the chunk.
template <class Result>
HWY_INLINE void finishChunk(const Chunk& chunk, std::uint8_t* out, const Result& resultOf) {
    const int step = 2 * pairsPerStep();
    int x = chunk.begin;
    for (; x + step <= chunk.end; x += step) storeColumns(resultOf((x - chunk.from) / 2), out + x);
    if (x == chunk.end) return;
    alignas(64) std::uint8_t last[2 * maxPairs];
    storeColumns(resultOf((x - chunk.from) / 2), last);
    std::memcpy(out + x, last, std::size_t(chunk.end - x));
}

void cavtPairs(ConstViewU8 src, ViewU8 dst, unsigned threshold, int firstPair, int lastPair) {
    const WordTag d;
    const FieldRows kept(src, 0), other(src, 1);
    const std::uint16_t strength = threshold == 0 ? 0 : cavtStrength(threshold);
    CavtTerms terms;
    for (int y = 2 * firstPair + 1; y < 2 * lastPair; y += 2) {
        std::memcpy(dst.row(y - 1), src.row(y - 1), std::size_t(dst.width));
        const CavtRows<1> rows = cavtRows<1>(kept, {other}, y);
        std::uint8_t* out = dst.row(y);
        forEachChunk(dst.width, [&](const Chunk& chunk) HWY_ATTR {
            makeTerms<1>(rows, chunk, terms);
            if (threshold == 0) {
                const auto spatial = [&](const std::int16_t* v, const std::int16_t* c)
                                         HWY_ATTR { return hn::Sub(hn::LoadU(d, v), hn::LoadU(d, c)); };
                finishChunk(chunk, out, [&](int pair) HWY_ATTR {
                    return Columns{spatial(terms.value.even() + pair, terms.correction.even() + pair),
                                   spatial(terms.value.odd() + pair, terms.correction.odd() + pair)};
                });
            } else {
                finishChunk(chunk, out, [&](int pair) HWY_ATTR { return adapted(terms, pair, strength); });
            }
        });
    }
}

}  // namespace Orvel::primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Orvel::primitives {
HWY_EXPORT(cavtPairs);

Status deinterlaceCavtRows(ConstViewU8 src, ViewU8 dst, unsigned threshold, int firstPair, int lastPair) noexcept {
    if (const Status fault = checkSameSize(dst, src); fault != Status::ok) return fault;
    if (dst.height % 2 != 0 || !holdsBand(dst.height / 2, firstPair, lastPair)) return Status::badSize;
    HWY_DYNAMIC_DISPATCH(cavtPairs)(src, dst, threshold, firstPair, lastPair);
    return Status::ok;
}

}  // namespace Orvel::primitives
#endif  // HWY_ONCE
