#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"
#include "orvel/primitives/stores.h"

// Progressive 4:2:2 <-> 4:2:0. A picture of W x H luma samples, W and H >= 2, has a packed view of 2W bytes by H rows
// and chroma views of floor(W/2) samples by at least floor(H/2) rows (4:2:0); only these first rows are touched. Planes
// always come as Y, Cb, Cr; luma is copied. Odd W as in yuv422.h. Odd H: the last row is neither read nor written, the
// answer is Status::reducedSize. Views do not overlap.
//
// A 4:2:0 chroma sample lies half way between its two lines (MPEG-2 frame pictures): going down it is their mean,
// (a + b + 1) >> 1, going up it is repeated, so that down(up(chroma)) = chroma.

namespace Orvel::primitives {

Status uyvyToPlanar420(const ConstViewU8& packed, const ViewU8& y, const ViewU8& cb, const ViewU8& cr,
                       Stores stores = Stores::cached) noexcept;
Status yuyvToPlanar420(const ConstViewU8& packed, const ViewU8& y, const ViewU8& cb, const ViewU8& cr,
                       Stores stores = Stores::cached) noexcept;
Status planar420ToUyvy(const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr, const ViewU8& packed,
                       Stores stores = Stores::cached) noexcept;
Status planar420ToYuyv(const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr, const ViewU8& packed,
                       Stores stores = Stores::cached) noexcept;

/// The chroma views of the result have at least 2 * floor(H/2) rows.
Status planar420ToPlanar422(const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr, const ViewU8& dstY,
                            const ViewU8& dstCb, const ViewU8& dstCr, Stores stores = Stores::cached) noexcept;

}  // namespace Orvel::primitives
