#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"
#include "orvel/primitives/stores.h"

// Interlaced 4:2:2 <-> 4:2:0. Rows 0, 2, 4 .. of luma and chroma planes belong to the top field, rows 1, 3, 5 .. to the
// bottom field. A picture of W x H luma samples, W >= 2 and H >= 4, is worked on in groups of four rows; when H is no
// multiple of 4, the rows behind the last whole group are neither read nor written and the answer is
// Status::reducedSize. With n = 2 * floor(H/4), 4:2:0 chroma views are floor(W/2) samples by at least n rows, 4:2:2
// ones by at least 2n rows. Packed views and odd W as in yuv422.h; planes always come as Y, Cb, Cr; luma is copied.
// Views do not overlap.
//
// The weights follow the siting of MPEG-2 field pictures: a chroma sample of the top field lies at 1/4, one of the
// bottom field at 3/4 of the way between two lines of its field.

namespace Orvel::primitives {

/// Chroma row 2k is (3 c(4k) + c(4k+2) + 2) >> 2, row 2k+1 is (c(4k+1) + 3 c(4k+3) + 2) >> 2, c being the rows of
/// 4:2:2. A picture may be converted in bands of whole groups.
Status uyvyToPlanar420Interlaced(const ConstViewU8& packed, const ViewU8& y, const ViewU8& cb, const ViewU8& cr,
                                 Stores stores = Stores::cached) noexcept;

/// With T(k) and B(k) the chroma rows 2k and 2k+1, and k-1, k+1 clamped to the picture, the chroma rows of group k are
/// (7 T(k) + T(k-1) + 4) >> 3, (5 B(k) + 3 B(k-1) + 4) >> 3, (5 T(k) + 3 T(k+1) + 4) >> 3, (7 B(k) + B(k+1) + 4) >> 3.
/// A group needs its neighbours: convert a picture in one call.
Status planar420ToUyvyInterlaced(const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr,
                                 const ViewU8& packed, Stores stores = Stores::cached) noexcept;
/// The same into planes.
Status planar420ToPlanar422Interlaced(const ConstViewU8& y, const ConstViewU8& cb, const ConstViewU8& cr,
                                      const ViewU8& dstY, const ViewU8& dstCb, const ViewU8& dstCr,
                                      Stores stores = Stores::cached) noexcept;

}  // namespace Orvel::primitives
