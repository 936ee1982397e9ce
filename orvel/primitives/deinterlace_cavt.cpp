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

constexpr int rowsAtOnce = cavtRowsAtOnce<1>;

/// A chunk of one generated row.
HWY_INLINE void makeRow(const CavtTerms& terms, Chunk chunk, unsigned threshold, std::uint8_t* out) {
    // Steps but the row's last one are whole.
    const std::ptrdiff_t whole = chunk.end - 2 * pairsPerStep();
    const auto put = [&](std::ptrdiff_t pair, StepBytes columns) HWY_ATTR {
        const std::ptrdiff_t x = chunk.from + 2 * pair;
        if (x <= whole) return storeStep(columns, out + x);
        alignas(64) std::uint8_t last[2 * maxPairs];
        storeStep(columns, last);
        std::memcpy(out + x, last, std::size_t(chunk.end - x));
    };
    if (threshold != 0) return forEachAdapted(terms, chunk, scaledStrength<1>(cavtStrength(threshold)), put);
    for (std::ptrdiff_t pair = (chunk.begin - chunk.from) / 2; 2 * pair < chunk.end - chunk.from;
         pair += pairsPerStep())
        put(pair, inColumnOrder(candidatesAt(terms, pair).spatial));
}

void cavtPairs(ConstViewU8 src, ViewU8 dst, unsigned threshold, int firstPair, int lastPair) {
    const FieldRows kept(src, 0), other(src, 1), copied(dst, 0), made(dst, 1);
    CavtRowsTerms<1> terms;
    for (int pair = firstPair; pair < lastPair; pair += rowsAtOnce) {
        const int y = 2 * pair + 1, rows = std::min(rowsAtOnce, lastPair - pair);
        const CavtRows<1> sources = cavtRows<1>(kept, {other}, y);
        for (int i = 0; i < rows; ++i)
            std::memcpy(dst.row(y - 1 + 2 * i), src.row(y - 1 + 2 * i), std::size_t(dst.width));
        forEachChunk(dst.width, [&](Chunk chunk) HWY_ATTR {
            Upcoming<4 * rowsAtOnce> upcoming;
            for (int i = 0, n = 0; i < rowsAtOnce; ++i) {
                const int next = y + 2 * (rowsAtOnce + i);
                for (const std::uint8_t* row :
                     {kept.row(next + 3), other.row(next + 2), copied.row(next - 1), made.row(next)})
                    upcoming.rows[std::size_t(n++)] = row + chunk.from;
            }
            makeTerms<1>(sources, chunk, upcoming, terms);
            for (int i = 0; i < rows; ++i) makeRow(terms[i], chunk, threshold, dst.row(y + 2 * i));
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
