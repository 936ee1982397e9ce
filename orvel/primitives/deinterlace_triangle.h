#pragma once
#include <cstdint>

#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

// Vertical three-tap filter: the centre row has the given weight, the rows above and below share the rest equally.
// Results are truncated. layout says which border rows are picture edges, as bits: 1 the upper, 4 the centre, 16 the
// lower one. An edge row gives the whole rest to its only neighbour; a border row whose bit is clear is filtered like
// any other and reads the row beyond the view, which the caller then owns.
//
// Makes rows [first, last) of dst, the whole destination plane. Bands may run on any threads in any order with the same
// bytes. Not in place.
// @return nullPointer; badSize when the views differ, have no columns or fewer than 3 rows, or dst has no such rows;
// badArgument when the weight exceeds 1 or layout has none of its bits.

/// weight is of 256: (2 weight s(y) + (256 - weight)(s(y-1) + s(y+1))) >> 9, an edge (weight s + (256 - weight) n)
/// >> 8.
Status deinterlaceTriangleRows(ConstViewU8 src, ViewU8 dst, std::uint32_t weight, int layout, int first,
                               int last) noexcept;
/// weight is of 65536; with w = 65536 - weight: ((w >> 1)(s(y-1) + s(y+1)) + weight s(y)) >> 16, an edge
/// (weight s + w n) >> 16. Steps below 3 bytes, bottom-up ones too, are badArgument.
Status deinterlaceTriangleRows(ConstViewU16 src, ViewU16 dst, std::uint32_t weight, int layout, int first,
                               int last) noexcept;

/// All rows of dst, on the calling thread.
inline Status deinterlaceTriangle(ConstViewU8 src, ViewU8 dst, std::uint32_t weight, int layout) noexcept {
    return deinterlaceTriangleRows(src, dst, weight, layout, 0, dst.height);
}
inline Status deinterlaceTriangle(ConstViewU16 src, ViewU16 dst, std::uint32_t weight, int layout) noexcept {
    return deinterlaceTriangleRows(src, dst, weight, layout, 0, dst.height);
}

}  // namespace Orvel::primitives
