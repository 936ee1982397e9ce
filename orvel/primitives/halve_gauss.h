#pragma once
#include "orvel/primitives/plane_view.h"
#include "orvel/primitives/status.h"

namespace Orvel::primitives {

/// One step of a Gaussian pyramid: a plane of 8-bit samples, smoothed and halved both ways.
///
///   d(x, y) = (sum of k[i] k[j] s(2x + i - 2, 2y + j - 2) + 128) >> 8,  k = 1 4 6 4 1,  i, j = 0 .. 4
///
/// with samples outside the plane mirrored at its edge, which is not repeated (.. 2 1 | 0 1 2 ..). The samples of a
/// pixel (pixelBytes of them: 1, 3 or 4) are filtered apart. The widths of the views count samples, so src has W *
/// pixelBytes and dst ceil(W / 2) * pixelBytes by ceil(H / 2) of them. Not in place.
///
/// Makes the rows [first, last) of dst. Bands may run on any threads in any order with the same bytes; each filters
/// three rows of src anew, so that short ones cost more. Needs no memory but the stack.
/// @return nullPointer; badSize when src is empty or a side of it 2^30 or longer, or when dst has another size or no
/// such rows; badArgument for other pixels.
Status halveGaussRows(ConstViewU8 src, ViewU8 dst, int pixelBytes, int first, int last) noexcept;

}  // namespace Orvel::primitives
